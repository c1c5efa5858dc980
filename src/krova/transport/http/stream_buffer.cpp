#include "krova/transport/http/stream_buffer.h"

namespace Krova::Transport::Http {

StreamBuffer::int_type StreamBuffer::underflow() {
  // An assignment would keep the room.
  std::string().swap(text_);
  setg(nullptr, nullptr, nullptr);
  return traits_type::eof();
}

StreamBuffer::int_type StreamBuffer::overflow(int_type byte) {
  if (traits_type::eq_int_type(byte, traits_type::eof())) return traits_type::not_eof(byte);
  const char written = traits_type::to_char_type(byte);
  Append(&written, 1);
  return byte;
}

std::streamsize StreamBuffer::xsputn(const char* data, std::streamsize size) {
  Append(data, static_cast<std::size_t>(size));
  return size;
}

void StreamBuffer::Append(const char* data, std::size_t size) {
  const std::ptrdiff_t read = gptr() - eback();
  text_.append(data, size);
  // The text may have moved.
  setg(text_.data(), text_.data() + read, text_.data() + text_.size());
}

}  // namespace Krova::Transport::Http
