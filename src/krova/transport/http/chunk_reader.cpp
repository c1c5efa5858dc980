#include "krova/transport/http/chunk_reader.h"

#include <utility>

namespace pion::http {

chunk_reader::chunk_reader(const tcp::connection_ptr& connection, const request_ptr& request,
                           bool is_request)
    : reader(is_request, connection), request_(request) {}

chunk_reader::~chunk_reader() = default;

void chunk_reader::set_finished_handler(finished_handler_type finished) {
  finished_ = std::move(finished);
}

void chunk_reader::read_content() {
  skip_header_parsing(*request_);
  receive();
}

void chunk_reader::read_bytes() {
  get_connection()->async_read_some(
      [self = shared_from_this()](const boost::system::error_code& error, std::size_t bytes) {
        self->consume_bytes(error, bytes);
      });
}

void chunk_reader::finished_reading(const boost::system::error_code& error) {
  // Taken off first: the handler usually holds what holds this reader.
  const finished_handler_type finished = std::exchange(finished_, finished_handler_type());
  if (finished) finished(*request_, get_connection(), error);
}

message& chunk_reader::get_message() { return *request_; }

}  // namespace pion::http
