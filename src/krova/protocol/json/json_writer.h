// Writes compact JSON text, token by token.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <streambuf>
#include <string_view>

namespace Krova::Protocol::Json {

/// Appends JSON text without any white space to a stream buffer. Commas and colons come by
/// themselves; the caller sees to it that what is opened is closed, and that a key stands before
/// each member's value.
///
/// The text reaches the sink in blocks; the last ones when the writer ends. The sink must outlive
/// it. Any depth costs the same: the writer keeps no stack.
class JsonWriter {
 public:
  explicit JsonWriter(std::streambuf& sink);
  JsonWriter(const JsonWriter&) = delete;
  JsonWriter& operator=(const JsonWriter&) = delete;
  ~JsonWriter() { Flush(); }

  void StartObject() { Open('{'); }
  void EndObject() { Close('}'); }
  void StartArray() { Open('['); }
  void EndArray() { Close(']'); }
  /// \param key  Any bytes, as in String.
  void Key(std::string_view key);

  void Null() { Word("null"); }
  void Bool(bool value) { Word(value ? "true" : "false"); }
  void Integer(std::int64_t value);
  /// By the double rule, see FormatDouble.
  void Double(double value);
  /// \param text  Any bytes; they aren't checked to be UTF-8. Escaped are the control bytes below
  ///     0x20, the double quote and the backslash; all else is passed through.
  void String(std::string_view text);

 private:
  static constexpr std::size_t kBlockSize = 4096;

  void Open(char bracket);
  void Close(char bracket);
  void Word(std::string_view word);
  void Quote(std::string_view text);
  void Separate();
  void Put(char byte);
  /// Makes room for \p size bytes, which is less than a block has.
  /// \return Where they go; at_ is then moved behind them by the caller.
  char* Reserve(std::size_t size);
  void Flush();

  std::streambuf& sink_;
  /// Whether the next key or element follows another one of the same compound.
  bool needsComma_ = false;
  std::array<char, kBlockSize> block_;
  char* at_ = block_.data();
};

}  // namespace Krova::Protocol::Json
