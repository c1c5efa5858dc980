#include "krova/protocol/json/text_copy.h"

#include <algorithm>
#include <cstring>

#include "krova/protocol/json/plain_run.h"

namespace Krova::Protocol::Json {

TextCopy::TextCopy(std::string_view text) {
  Grow(text.size());
  std::copy(text.begin(), text.end(), Data());
  size_ = text.size();
  Terminate();
}

TextCopy::TextCopy(std::streambuf& source) {
  Grow(0);
  // A look at the next byte makes the source say how much it has at hand: mostly all.
  while (source.sgetc() != std::streambuf::traits_type::eof()) {
    const std::streamsize atHand = std::max<std::streamsize>(source.in_avail(), 1);
    const std::size_t needed = size_ + static_cast<std::size_t>(atHand);
    if (needed > capacity_) Grow(size_ == 0 ? needed : std::max(needed, 2 * capacity_));
    size_ += static_cast<std::size_t>(source.sgetn(Data() + size_, atHand));
  }
  Terminate();
}

void TextCopy::Grow(std::size_t capacity) {
  auto bytes = std::make_unique_for_overwrite<char[]>(capacity + kRunStep);
  std::copy_n(Data(), size_, bytes.get());
  bytes_ = std::move(bytes);
  capacity_ = capacity;
}

void TextCopy::Terminate() { std::memset(Data() + size_, 0, kRunStep); }

}  // namespace Krova::Protocol::Json
