#include "krova/protocol/json/token_reader.h"

#include <rapidjson/reader.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "krova/protocol/json/number_text.h"
#include "krova/protocol/json/plain_run.h"

namespace Krova::Protocol::Json {
namespace {

/// UTF-8 whose validation passes everything, a run of plain bytes at a time. The parser calls
/// Validate at each byte of a string that it doesn't handle itself.
struct PlainRuns : rapidjson::UTF8<> {
  static bool Validate(rapidjson::InsituStringStream& in, rapidjson::InsituStringStream& out) {
    // The null bytes behind the text end every run.
    std::size_t plain = kRunStep;
    while (plain == kRunStep) {
      plain = CountPlain(in.src_);
      if (out.dst_ != in.src_) Move(in.src_, out.dst_, plain);
      in.src_ += plain;
      out.dst_ += plain;
    }
    return true;
  }

  /// For texts that aren't parsed in place, which the parser's templates name.
  template <typename InputStream, typename OutputStream>
  static bool Validate(InputStream& in, OutputStream& out) {
    out.Put(in.Take());
    return true;
  }

 private:
  /// Moves the first \p count of kRunStep bytes towards the front. A whole step is the faster way,
  /// but must not reach bytes that are still to be read.
  static void Move(const char* from, char* to, std::size_t count) {
    if (count == kRunStep || from - to >= static_cast<std::ptrdiff_t>(kRunStep)) {
      std::uint64_t step;
      static_assert(sizeof step == kRunStep);
      std::memcpy(&step, from, sizeof step);
      std::memcpy(to, &step, sizeof step);
      return;
    }
    for (std::size_t i = 0; i < count; ++i) to[i] = from[i];
  }
};

/// The base has what the parser's templates name and never call, since all numbers come as text.
class TokenHandler : public rapidjson::BaseReaderHandler<PlainRuns, TokenHandler> {
 public:
  explicit TokenHandler(FrameStack& frames) : frames_(frames) {}

  bool Null() { return Accept(&FrameStack::Null); }
  bool Bool(bool value) {
    frames_.Bool(value);
    return true;
  }
  bool String(const char* text, rapidjson::SizeType length, bool) {
    frames_.String({text, length});
    return true;
  }
  bool Key(const char* text, rapidjson::SizeType length, bool copy) {
    return String(text, length, copy);
  }
  bool StartObject() { return Accept(&FrameStack::StartObject); }
  bool EndObject(rapidjson::SizeType) { return Accept(&FrameStack::EndObject); }
  bool StartArray() { return Accept(&FrameStack::StartArray); }
  bool EndArray(rapidjson::SizeType) { return Accept(&FrameStack::EndArray); }

  /// As text, a number shows its kind, and a double is read exactly.
  bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
    const std::string_view number(text, length);
    if (IsIntegerText(number)) {
      frames_.Long(ParseInteger(number));
    } else {
      frames_.Double(ParseDouble(number));
    }
    return true;
  }

 private:
  bool Accept(void (FrameStack::*token)()) {
    (frames_.*token)();
    return true;
  }

  FrameStack& frames_;
};

}  // namespace

bool ReadTokens(TextCopy& text, FrameStack& frames) {
  constexpr unsigned kFlags = rapidjson::kParseInsituFlag | rapidjson::kParseIterativeFlag |
                              rapidjson::kParseStopWhenDoneFlag |
                              rapidjson::kParseNumbersAsStringsFlag |
                              rapidjson::kParseValidateEncodingFlag;
  rapidjson::InsituStringStream stream(text.Data());
  TokenHandler handler(frames);
  rapidjson::GenericReader<PlainRuns, PlainRuns> reader;
  return !reader.Parse<kFlags>(stream, handler).IsError();
}

}  // namespace Krova::Protocol::Json
