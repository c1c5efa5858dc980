#include "files/text_reader.h"

#include <unistd.h>

#include <cstddef>
#include <memory>

namespace Lab {
namespace {

constexpr char kEndOfText = 26;

/// Hands out a file character by character, as text.
class TextReader {
 public:
  explicit TextReader(int descriptor) : descriptor_(descriptor) {}
  TextReader(const TextReader&) = delete;
  TextReader& operator=(const TextReader&) = delete;
  ~TextReader() { close(descriptor_); }

  /// \return How many characters were read, 0 at the end, -1 after a failure of the first one.
  ssize_t Read(char* buffer, std::size_t size) {
    std::size_t count = 0;
    for (; count < size; ++count) {
      char next = 0;
      const ssize_t got = NextOfText(next);
      if (got < 0 && count == 0) return -1;
      if (got <= 0) break;
      buffer[count] = next;
    }
    return static_cast<ssize_t>(count);
  }

 private:
  ssize_t NextOfText(char& next) {
    if (ended_) return 0;
    const ssize_t got = NextOfFile(next);
    if (got <= 0) return got;
    if (next == kEndOfText) {
      ended_ = true;
      return 0;
    }
    char following = 0;
    if (next == '\r' && NextOfFile(following) == 1) {
      if (following == '\n') {
        next = '\n';
      } else {
        --at_;
      }
    }
    return 1;
  }

  ssize_t NextOfFile(char& next) {
    if (at_ == filled_) {
      const ssize_t got = read(descriptor_, block_, sizeof(block_));
      if (got <= 0) return got;
      filled_ = static_cast<std::size_t>(got);
      at_ = 0;
    }
    next = block_[at_++];
    return 1;
  }

  int descriptor_;
  char block_[4096] = {};
  std::size_t at_ = 0;
  std::size_t filled_ = 0;
  bool ended_ = false;
};

ssize_t ReadText(void* reader, char* buffer, std::size_t size) {
  return static_cast<TextReader*>(reader)->Read(buffer, size);
}

int CloseText(void* reader) {
  delete static_cast<TextReader*>(reader);
  return 0;
}

}  // namespace

std::FILE* OpenTextReader(int descriptor) {
  auto reader = std::make_unique<TextReader>(descriptor);
  std::FILE* const stream = fopencookie(
      reader.get(), "r", {.read = ReadText, .write = nullptr, .seek = nullptr, .close = CloseText});
  if (stream != nullptr) (void)reader.release();
  return stream;
}

}  // namespace Lab
