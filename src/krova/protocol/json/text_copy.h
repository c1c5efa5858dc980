// A copy of a JSON text that may be parsed in place.
#pragma once

#include <cstddef>
#include <memory>
#include <streambuf>
#include <string_view>

namespace Krova::Protocol::Json {

/// The text, and behind it as many null bytes as the parser may look at beyond its end.
class TextCopy {
 public:
  explicit TextCopy(std::string_view text);
  /// Takes all that \p source has to give; an exception of the source is passed on.
  explicit TextCopy(std::streambuf& source);

  char* Data() { return bytes_.get(); }
  std::size_t Size() const { return size_; }

 private:
  void Grow(std::size_t capacity);
  void Terminate();

  std::unique_ptr<char[]> bytes_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace Krova::Protocol::Json
