#pragma once

#include <cstddef>
#include <memory>
#include <streambuf>
#include <string>
#include <string_view>

namespace Krova::Transport::Http {

/// The bytes of a request or of an answer, in one piece. What is written is appended; what was
/// written and not read yet is the read area. A reader who comes to the end has emptied the buffer:
/// a request needn't be there once more while it is parsed.
class StreamBuffer : public std::streambuf {
 public:
  StreamBuffer() = default;
  StreamBuffer(const StreamBuffer&) = delete;
  StreamBuffer& operator=(const StreamBuffer&) = delete;

  /// Everything that was written, or nothing once it was read to the end. Valid until the next
  /// write or read.
  std::string_view GetText() const { return text_; }

 protected:
  int_type underflow() override;
  int_type overflow(int_type byte) override;
  std::streamsize xsputn(const char* data, std::streamsize size) override;

 private:
  void Append(const char* data, std::size_t size);

  std::string text_;
};

using StreamBufferPointer = std::shared_ptr<StreamBuffer>;

}  // namespace Krova::Transport::Http
