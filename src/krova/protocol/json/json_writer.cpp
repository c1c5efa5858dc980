#include "krova/protocol/json/json_writer.h"

#include <cstring>

#include "krova/protocol/json/number_text.h"
#include "krova/protocol/json/plain_run.h"

namespace Krova::Protocol::Json {

void JsonWriter::Key(std::string_view key) {
  Separate();
  Quote(key);
  Put(':');
  needsComma_ = false;
}

void JsonWriter::Integer(std::int64_t value) {
  NumberBuffer buffer;
  Bare(FormatInteger(value, buffer));
}

void JsonWriter::Double(double value) {
  NumberBuffer buffer;
  Bare(FormatDouble(value, buffer));
}

void JsonWriter::String(std::string_view text) {
  Separate();
  Quote(text);
  needsComma_ = true;
}

void JsonWriter::Open(char bracket) {
  Separate();
  Put(bracket);
  needsComma_ = false;
}

void JsonWriter::Close(char bracket) {
  Put(bracket);
  needsComma_ = true;
}

void JsonWriter::Bare(std::string_view text) {
  Separate();
  Append(text);
  needsComma_ = true;
}

void JsonWriter::Separate() {
  if (needsComma_) Put(',');
}

void JsonWriter::Quote(std::string_view text) {
  Put('"');
  const char* at = text.data();
  const char* const end = at + text.size();
  while (true) {
    const std::size_t plain = PlainRunLength(at, end);
    Append({at, plain});
    at += plain;
    if (at == end) break;
    Escape(static_cast<unsigned char>(*at++));
  }
  Put('"');
}

void JsonWriter::Escape(unsigned char byte) {
  constexpr std::string_view kShort = "\b\t\n\f\r\"\\";
  constexpr std::string_view kLetters = "btnfr\"\\";
  constexpr std::string_view kHex = "0123456789ABCDEF";
  Put('\\');
  const std::size_t letter = kShort.find(static_cast<char>(byte));
  if (letter != std::string_view::npos) {
    Put(kLetters[letter]);
    return;
  }
  Append("u00");
  Put(kHex[byte >> 4]);
  Put(kHex[byte & 0xF]);
}

void JsonWriter::Put(char byte) {
  if (used_ == kBlockSize) Flush();
  block_[used_++] = byte;
}

void JsonWriter::Append(std::string_view text) {
  if (text.size() > kBlockSize - used_) {
    Flush();
    if (text.size() > kBlockSize) {
      sink_.sputn(text.data(), static_cast<std::streamsize>(text.size()));
      return;
    }
  }
  std::memcpy(block_.data() + used_, text.data(), text.size());
  used_ += text.size();
}

void JsonWriter::Flush() {
  sink_.sputn(block_.data(), static_cast<std::streamsize>(used_));
  used_ = 0;
}

}  // namespace Krova::Protocol::Json
