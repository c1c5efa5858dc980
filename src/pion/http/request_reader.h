#pragma once

#include <functional>
#include <memory>

#include "pion/http/message.h"
#include "pion/http/reader.h"

namespace pion::http {

class request_reader;
using request_reader_ptr = std::shared_ptr<request_reader>;

/// Reads one request from a connection and hands it over.
class request_reader : public reader, public std::enable_shared_from_this<request_reader> {
 public:
  /// Takes the request, the connection and the error.
  using finished_handler_type = std::function<void(const request_ptr&, const tcp::connection_ptr&,
                                                   const boost::system::error_code&)>;

  static request_reader_ptr create(tcp::connection_ptr connection, finished_handler_type finished);

 private:
  request_reader(tcp::connection_ptr connection, finished_handler_type finished);

  void read_bytes() override;
  void finished_reading(const boost::system::error_code& error) override;
  message& get_message() override { return *request_; }

  const request_ptr request_;
  const finished_handler_type finished_;
};

}  // namespace pion::http
