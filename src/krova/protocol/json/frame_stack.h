// The state of a parse: a stack of frames that tokens are handed to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "krova/data/value.h"
#include "krova/messages.h"
#include "krova/protocol/json/token.h"
#include "krova/protocol/json/value_builder.h"

namespace Krova::Protocol::Json {

class FrameStack;
struct RequestRecord;

/// What a frame does with each kind of token. A function that isn't named reports the token as
/// invalid, so a kind of frame names only what it accepts.
struct FrameFunctions {
  void (*onNull)(FrameStack&) = &RejectNull;
  void (*onBool)(FrameStack&, bool) = &RejectBool;
  void (*onLong)(FrameStack&, std::int64_t) = &RejectLong;
  void (*onDouble)(FrameStack&, double) = &RejectDouble;
  void (*onString)(FrameStack&, std::string_view) = &RejectString;
  void (*onStartObject)(FrameStack&) = &RejectStartObject;
  void (*onEndObject)(FrameStack&) = &RejectEndObject;
  void (*onStartArray)(FrameStack&) = &RejectStartArray;
  void (*onEndArray)(FrameStack&) = &RejectEndArray;

  static void RejectNull(FrameStack& frames);
  static void RejectBool(FrameStack& frames, bool value);
  static void RejectLong(FrameStack& frames, std::int64_t value);
  static void RejectDouble(FrameStack& frames, double value);
  static void RejectString(FrameStack& frames, std::string_view text);
  static void RejectStartObject(FrameStack& frames);
  static void RejectEndObject(FrameStack& frames);
  static void RejectStartArray(FrameStack& frames);
  static void RejectEndArray(FrameStack& frames);
};

/// What a frame works on; its functions know which of the two it is.
union FrameTarget {
  /// An object outside the stack, which outlives the parse.
  void* object = nullptr;
  /// Where the children of a compound value begin.
  ValueBuilder::Mark mark;
};

/// One open construct of the text. Thousands of frames per kilobyte are possible, so a frame is
/// small: it shares its functions with its like, and values that wait are the builder's.
struct Frame {
  const FrameFunctions* functions;
  FrameTarget target;
};

/// Takes tokens and hands each to the frame on top. The frames hold the whole state, so that
/// nesting costs only heap.
///
/// After the first fault the stack is dropped and a frame that accepts nothing takes its place:
/// each later token is reported too.
///
/// Texts must stay in memory and unchanged as long as tokens are handed in.
class FrameStack {
 public:
  /// \param bottom  The frame that the first token goes to.
  explicit FrameStack(const Frame& bottom) : frames_{bottom} {}
  FrameStack(const FrameStack&) = delete;
  FrameStack& operator=(const FrameStack&) = delete;

  void Null() { Functions().onNull(*this); }
  void Bool(bool value) { Functions().onBool(*this, value); }
  void Long(std::int64_t value) { Functions().onLong(*this, value); }
  void Double(double value) { Functions().onDouble(*this, value); }
  void String(std::string_view text) { Functions().onString(*this, text); }
  void StartObject() { Functions().onStartObject(*this); }
  void EndObject() { Functions().onEndObject(*this); }
  void StartArray() { Functions().onStartArray(*this); }
  void EndArray() { Functions().onEndArray(*this); }

  // What the functions of frames use.

  void Push(const FrameFunctions& functions, FrameTarget target = {}) {
    frames_.push_back({&functions, target});
  }
  void Pop() { frames_.pop_back(); }
  /// The frame on top goes on as one of another kind, with the same target.
  void Become(const FrameFunctions& functions) { frames_.back().functions = &functions; }
  FrameTarget& Target() { return frames_.back().target; }
  template <typename Object>
  Object& TargetAs() {
    return *static_cast<Object*>(Target().object);
  }
  ValueBuilder& Values() { return values_; }

  /// Records a fault and drops the stack.
  void Fail(BaseMessage message);
  void Reject(Token token);

  // The outcome.

  bool HasFailed() const { return fault_ != nullptr; }
  /// All faults in the order of their tokens, as message structures. Tokens of one kind that were
  /// reported share a structure, so a long text full of them costs 16 bytes for each.
  Data::ValueList Faults() const;

 private:
  const FrameFunctions& Functions() const { return *frames_.back().functions; }

  std::deque<Frame> frames_;
  ValueBuilder values_;
  std::unique_ptr<BaseMessage> fault_;
  /// The tokens after the first fault.
  std::vector<Token> rejected_;
};

}  // namespace Krova::Protocol::Json
