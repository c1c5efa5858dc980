#include "pion/http/reader.h"

#include <utility>

namespace pion::http {

using boost::system::error_code;

reader::reader(bool is_request, tcp::connection_ptr connection)
    : parser(is_request), connection_(std::move(connection)) {}

void reader::receive() {
  connection_->set_lifecycle(tcp::connection::LIFECYCLE_CLOSE);
  const std::string_view unread = connection_->take_unread();
  if (!unread.empty() || is_finished()) {
    set_read_buffer(unread.data(), unread.size());
    consume_bytes();
    return;
  }
  read_bytes_with_timeout();
}

void reader::read_bytes_with_timeout() {
  connection_->set_read_timeout(timeout_);
  read_bytes();
}

void reader::consume_bytes(const error_code& error, std::size_t bytes) {
  if (error) {
    // Nobody is there any more, or was too slow: whoever answers all the same answers nobody.
    connection_->end();
    fail(error, false);
    return;
  }
  set_read_buffer(connection_->get_read_buffer().data(), bytes);
  consume_bytes();
}

void reader::consume_bytes() {
  error_code error;
  const boost::tribool result = parse(get_message(), error);
  if (boost::indeterminate(result)) {
    read_bytes_with_timeout();
  } else if (result) {
    finish_message();
  } else {
    fail(error, true);
  }
}

void reader::finish_message() {
  const message& read = get_message();
  const bool content_unread =
      is_headers_only() && (read.is_chunked() || read.get_content_length() > 0);
  const std::string_view rest = get_unread();
  if (!rest.empty()) connection_->save_read_pos(rest.data(), rest.data() + rest.size());
  connection_->set_input_pending(content_unread || !rest.empty());
  // An unread content can't be told from the next request: who wants to go on has to read it.
  if (content_unread || !read.check_keep_alive()) {
    connection_->set_lifecycle(tcp::connection::LIFECYCLE_CLOSE);
  } else {
    connection_->set_lifecycle(rest.empty() ? tcp::connection::LIFECYCLE_KEEPALIVE
                                            : tcp::connection::LIFECYCLE_PIPELINED);
  }
  finished_reading(error_code());
}

void reader::fail(const error_code& error, bool input_pending) {
  connection_->set_lifecycle(tcp::connection::LIFECYCLE_CLOSE);
  connection_->set_input_pending(input_pending);
  get_message().set_is_valid(false);
  finished_reading(error);
}

}  // namespace pion::http
