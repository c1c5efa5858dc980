#include "pion/http/writer.h"

#include <array>
#include <charconv>
#include <locale>

namespace pion::http {

namespace asio = boost::asio;
using boost::system::error_code;

writer::writer(tcp::connection_ptr connection, finished_handler_type finished)
    : connection_(std::move(connection)), finished_(std::move(finished)) {
  // The locale of the process may group the digits of numbers.
  stream_.imbue(std::locale::classic());
}

void writer::clear() {
  stream_.str(std::string());
  streamed_ = false;
  copies_.clear();
  content_.clear();
  content_length_ = 0;
}

void writer::write(const void* data, std::size_t size) {
  flush_stream();
  copies_.emplace_back(static_cast<const char*>(data), size);
  content_.push_back(asio::buffer(copies_.back()));
  content_length_ += size;
}

void writer::write_no_copy(const void* data, std::size_t size) {
  flush_stream();
  content_.push_back(asio::buffer(data, size));
  content_length_ += size;
}

std::size_t writer::get_content_length() {
  flush_stream();
  return content_length_;
}

void writer::flush_stream() {
  if (!streamed_) return;
  copies_.push_back(std::move(stream_).str());
  stream_.str(std::string());
  streamed_ = false;
  content_.push_back(asio::buffer(copies_.back()));
  content_length_ += copies_.back().size();
}

std::function<void(const error_code&, std::size_t)> writer::finishing() {
  return [self = shared_from_this()](const error_code& error, std::size_t) {
    if (self->finished_) self->finished_(error);
  };
}

void writer::start_send(part what, std::function<void(const error_code&, std::size_t)> handler) {
  send_part(what, std::move(handler));
}

std::vector<asio::const_buffer> writer::prepare(part what) {
  flush_stream();
  if (what != part::whole) {
    sending_chunks_ = true;
    // Without chunks only the end of the connection can tell the end of the message.
    if (!supports_chunks_) connection_->set_lifecycle(tcp::connection::LIFECYCLE_CLOSE);
  }
  std::vector<asio::const_buffer> buffers;
  buffers.reserve(content_.size() + 4);
  if (!sent_headers_) {
    sent_headers_ = true;
    prepare_headers(head_);
    buffers.push_back(asio::buffer(head_));
  }
  if (what == part::whole || !supports_chunks_) {
    buffers.insert(buffers.end(), content_.begin(), content_.end());
  } else {
    prepare_chunk(what, buffers);
  }
  return buffers;
}

void writer::prepare_chunk(part what, std::vector<asio::const_buffer>& buffers) {
  static constexpr std::string_view line_end = "\r\n";
  static constexpr std::string_view last_chunk = "0\r\n\r\n";
  if (content_length_ > 0) {
    std::array<char, 2 * sizeof(std::size_t)> digits;
    const auto end =
        std::to_chars(digits.data(), digits.data() + digits.size(), content_length_, 16);
    chunk_head_.assign(digits.data(), end.ptr).append(line_end);
    buffers.push_back(asio::buffer(chunk_head_));
    buffers.insert(buffers.end(), content_.begin(), content_.end());
    buffers.push_back(asio::buffer(line_end));
  }
  if (what == part::last_chunk) buffers.push_back(asio::buffer(last_chunk));
}

}  // namespace pion::http
