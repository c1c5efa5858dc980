#include "krova/protocol/json/frame_stack.h"

#include <array>
#include <utility>

#include "krova/data/message_value.h"

namespace Krova::Protocol::Json {
namespace {

constexpr FrameFunctions kRejectAll;

BaseMessage InvalidToken(Token token) {
  return MakeJsonProtocolMessage("krova.protocol.json.invalid.token", TokenWord(token));
}

}  // namespace

void FrameFunctions::RejectNull(FrameStack& frames) { frames.Reject(Token::kNull); }
void FrameFunctions::RejectBool(FrameStack& frames, bool) { frames.Reject(Token::kBool); }
void FrameFunctions::RejectLong(FrameStack& frames, std::int64_t) { frames.Reject(Token::kLong); }
void FrameFunctions::RejectDouble(FrameStack& frames, double) { frames.Reject(Token::kDouble); }
void FrameFunctions::RejectString(FrameStack& frames, std::string_view) {
  frames.Reject(Token::kString);
}
void FrameFunctions::RejectStartObject(FrameStack& frames) { frames.Reject(Token::kStartObject); }
void FrameFunctions::RejectEndObject(FrameStack& frames) { frames.Reject(Token::kEndObject); }
void FrameFunctions::RejectStartArray(FrameStack& frames) { frames.Reject(Token::kStartArray); }
void FrameFunctions::RejectEndArray(FrameStack& frames) { frames.Reject(Token::kEndArray); }

void FrameStack::Fail(BaseMessage message) {
  fault_ = std::make_unique<BaseMessage>(std::move(message));
  frames_.clear();
  frames_.push_back({&kRejectAll, {}});
  values_.Clear();
}

void FrameStack::Reject(Token token) {
  if (HasFailed()) {
    rejected_.push_back(token);
  } else {
    Fail(InvalidToken(token));
  }
}

Data::ValueList FrameStack::Faults() const {
  Data::ValueList faults;
  if (fault_ == nullptr) return faults;
  // Room for the caller's own message, which would else double a long list.
  faults.reserve(rejected_.size() + 2);
  faults.push_back(Data::MessageToValue(*fault_));
  std::array<Data::ValuePointer, static_cast<std::size_t>(Token::kUnknown)> shared;
  for (const Token token : rejected_) {
    Data::ValuePointer& value = shared[static_cast<std::size_t>(token)];
    if (value == nullptr) value = Data::MessageToValue(InvalidToken(token));
    faults.push_back(value);
  }
  return faults;
}

}  // namespace Krova::Protocol::Json
