#include "krova/protocol/json/json_writer.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "krova/protocol/json/number_text.h"
#include "krova/protocol/json/plain_run.h"

namespace Krova::Protocol::Json {
namespace {

/// The longest escape, "\u001F".
constexpr std::size_t kEscapeSize = 6;
/// What a step in a string may write: an escape for each byte, and a copy that none of it stays of.
constexpr std::size_t kStepSize = kRunStep * kEscapeSize + kRunStep;

/// For each byte what follows the backslash; null for plain bytes, which have none.
constexpr std::array<char, 256> MakeEscapes() {
  std::array<char, 256> escapes{};
  for (std::size_t byte = 0; byte < 0x20; ++byte) escapes[byte] = 'u';
  escapes['\b'] = 'b';
  escapes['\t'] = 't';
  escapes['\n'] = 'n';
  escapes['\f'] = 'f';
  escapes['\r'] = 'r';
  escapes['"'] = '"';
  escapes['\\'] = '\\';
  return escapes;
}

constexpr std::array<char, 256> kEscapes = MakeEscapes();

/// Writes what stands for a byte that isn't plain. \return The place behind it.
char* WriteEscape(char byte, char* to) {
  constexpr std::string_view kHex = "0123456789ABCDEF";
  const auto code = static_cast<unsigned char>(byte);
  *to++ = '\\';
  *to++ = kEscapes[code];
  if (kEscapes[code] != 'u') return to;
  *to++ = '0';
  *to++ = '0';
  *to++ = kHex[code >> 4];
  *to++ = kHex[code & 0xF];
  return to;
}

/// Writes one byte of a string. \return The place behind it.
char* WriteByte(char byte, char* to) {
  if (kEscapes[static_cast<unsigned char>(byte)] != 0) return WriteEscape(byte, to);
  *to++ = byte;
  return to;
}

/// Writes kRunStep bytes of a string. \return The place behind them.
char* WriteStep(const char* from, char* to) {
  std::uint64_t rest = ReadStep(from);
  std::uint64_t marks = MarkSpecial(rest);
  std::size_t size = kRunStep;
  while (marks != 0) {
    const int plain = std::countr_zero(marks) / 8;
    // Copied with what won't stay of it: quicker than copying just the plain bytes.
    std::memcpy(to, &rest, sizeof rest);
    rest >>= 8 * plain;
    to = WriteEscape(static_cast<char>(rest), to + plain);
    // By two shifts, since one mustn't take all bits.
    rest >>= 8;
    marks = marks >> 8 * plain >> 8;
    size -= static_cast<std::size_t>(plain) + 1;
  }
  std::memcpy(to, &rest, sizeof rest);
  return to + size;
}

}  // namespace

JsonWriter::JsonWriter(std::streambuf& sink) : sink_(sink) {}

void JsonWriter::Key(std::string_view key) {
  Separate();
  Quote(key);
  Put(':');
  needsComma_ = false;
}

void JsonWriter::Integer(std::int64_t value) {
  Separate();
  at_ = FormatInteger(value, Reserve(kNumberSize));
  needsComma_ = true;
}

void JsonWriter::Double(double value) {
  Separate();
  at_ = FormatDouble(value, Reserve(kNumberSize));
  needsComma_ = true;
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

/// \param word  Short and without anything to escape.
void JsonWriter::Word(std::string_view word) {
  Separate();
  at_ = std::copy(word.begin(), word.end(), Reserve(word.size()));
  needsComma_ = true;
}

void JsonWriter::Quote(std::string_view text) {
  const char* from = text.data();
  const char* const end = from + text.size();
  Put('"');
  while (from != end) {
    char* to = Reserve(kStepSize);
    // As many steps as there is surely room for.
    const char* const lastStep = block_.data() + kBlockSize - kStepSize;
    while (to <= lastStep && static_cast<std::size_t>(end - from) >= kRunStep) {
      to = WriteStep(from, to);
      from += kRunStep;
    }
    while (to <= lastStep && from != end) to = WriteByte(*from++, to);
    at_ = to;
  }
  Put('"');
}

void JsonWriter::Separate() {
  if (needsComma_) Put(',');
}

void JsonWriter::Put(char byte) {
  *Reserve(1) = byte;
  ++at_;
}

char* JsonWriter::Reserve(std::size_t size) {
  if (static_cast<std::size_t>(block_.data() + kBlockSize - at_) < size) Flush();
  return at_;
}

void JsonWriter::Flush() {
  sink_.sputn(block_.data(), at_ - block_.data());
  at_ = block_.data();
}

}  // namespace Krova::Protocol::Json
