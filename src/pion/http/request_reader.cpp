#include "pion/http/request_reader.h"

#include <utility>

namespace pion::http {

request_reader_ptr request_reader::create(tcp::connection_ptr connection,
                                          finished_handler_type finished) {
  return request_reader_ptr(new request_reader(std::move(connection), std::move(finished)));
}

request_reader::request_reader(tcp::connection_ptr connection, finished_handler_type finished)
    : reader(true, std::move(connection)),
      request_(std::make_shared<request>()),
      finished_(std::move(finished)) {}

void request_reader::read_bytes() {
  get_connection()->async_read_some(
      [self = shared_from_this()](const boost::system::error_code& error, std::size_t bytes) {
        self->consume_bytes(error, bytes);
      });
}

void request_reader::finished_reading(const boost::system::error_code& error) {
  finished_(request_, get_connection(), error);
}

}  // namespace pion::http
