#pragma once

#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <cstddef>
#include <deque>
#include <functional>
#include <ios>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "pion/http/message.h"
#include "pion/tcp/connection.h"

namespace pion::http {

/// Collects the content of a message and sends it, whole or in chunks. The first send puts the
/// status line and the headers in front, in one write with the content; `Content-Length` and
/// `Connection` are fixed then.
///
/// One send at a time, from one thread at a time. Handlers take the error and the number of bytes
/// and run on a thread of the scheduler, never inside the call; if the connection isn't open they
/// get connection_reset. The forms without a handler keep the writer alive and call the finished
/// handler given at its creation; with a handler the caller keeps the writer, and the finished
/// handler isn't called.
class writer : public std::enable_shared_from_this<writer> {
 public:
  using finished_handler_type = std::function<void(const boost::system::error_code&)>;

  virtual ~writer() = default;
  writer(const writer&) = delete;
  writer& operator=(const writer&) = delete;

  /// Drops the content that was written, not the headers.
  void clear();

  /// Formats \p data as text, in the classic locale.
  template <typename T>
  void write(const T& data) {
    stream_ << data;
    streamed_ = true;
  }
  /// Applies a manipulator such as std::hex, which stays in force.
  void write(std::ios_base& (*manipulator)(std::ios_base&)) { stream_ << manipulator; }
  /// Copies \p size bytes.
  void write(const void* data, std::size_t size);
  /// Refers to the caller's bytes, which have to stay until the send has ended.
  void write_no_copy(const std::string& data) { write_no_copy(data.data(), data.size()); }
  void write_no_copy(const void* data, std::size_t size);

  /// The bytes written so far and not cleared.
  std::size_t get_content_length();

  /// Sends everything as one message.
  void send() { start_send(part::whole, finishing()); }
  template <typename Handler>
  void send(Handler handler) {
    send_part(part::whole, std::move(handler));
  }
  /// Sends what was written as one chunk. If that is nothing, only headers that are still due go
  /// out.
  template <typename Handler>
  void send_chunk(Handler handler) {
    send_part(part::chunk, std::move(handler));
  }
  /// Sends what was written, if anything, and the end of the chunks.
  void send_final_chunk() { start_send(part::last_chunk, finishing()); }
  template <typename Handler>
  void send_final_chunk(Handler handler) {
    send_part(part::last_chunk, std::move(handler));
  }

  const tcp::connection_ptr& get_connection() const { return connection_; }

  /// Whether the receiver understands chunks. If not, the chunks' content goes out as it is, and
  /// the end of the connection is the end of the message.
  bool supports_chunked_messages() const { return supports_chunks_; }
  void supports_chunked_messages(bool supports) { supports_chunks_ = supports; }
  /// True from the first chunk on.
  bool sending_chunked_message() const { return sending_chunks_; }

 protected:
  writer(tcp::connection_ptr connection, finished_handler_type finished);

  /// Puts the first line and the headers of the message, with the empty line behind them, into
  /// \p head. The connection's lifecycle is settled.
  virtual void prepare_headers(std::string& head) = 0;

 private:
  enum class part { whole, chunk, last_chunk };

  template <typename Handler>
  void send_part(part what, Handler handler) {
    if (!connection_->is_open()) {
      connection_->post_failure(boost::asio::error::connection_reset, std::move(handler));
      return;
    }
    auto buffers = prepare(what);
    if (what != part::chunk && !connection_->get_keep_alive()) {
      connection_->async_write_last(std::move(buffers), std::move(handler));
    } else {
      connection_->async_write(std::move(buffers), std::move(handler));
    }
  }
  std::function<void(const boost::system::error_code&, std::size_t)> finishing();
  void start_send(part what,
                  std::function<void(const boost::system::error_code&, std::size_t)> handler);
  std::vector<boost::asio::const_buffer> prepare(part what);
  void prepare_chunk(part what, std::vector<boost::asio::const_buffer>& buffers);
  void flush_stream();

  tcp::connection_ptr connection_;
  finished_handler_type finished_;
  std::ostringstream stream_;
  bool streamed_ = false;
  std::deque<std::string> copies_;
  std::vector<boost::asio::const_buffer> content_;
  std::size_t content_length_ = 0;
  std::string head_;
  std::string chunk_head_;
  bool sent_headers_ = false;
  bool sending_chunks_ = false;
  bool supports_chunks_ = true;
};

template <typename T>
const std::shared_ptr<writer>& operator<<(const std::shared_ptr<writer>& to, const T& data) {
  to->write(data);
  return to;
}
inline const std::shared_ptr<writer>& operator<<(const std::shared_ptr<writer>& to,
                                                 std::ios_base& (*manipulator)(std::ios_base&)) {
  to->write(manipulator);
  return to;
}

}  // namespace pion::http
