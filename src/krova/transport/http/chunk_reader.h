#pragma once

#include <boost/function.hpp>
#include <memory>

#include "pion/http/message.h"
#include "pion/http/reader.h"

namespace pion::http {

/// Reads the content of a request whose headers have been read already.
class chunk_reader : public reader, public std::enable_shared_from_this<chunk_reader> {
 public:
  /// Takes the message, the connection and the error.
  using finished_handler_type = boost::function<void(
      message& read, const tcp::connection_ptr& connection, const boost::system::error_code&)>;

  /// \param is_request  Has to be true: responses can't be read.
  chunk_reader(const tcp::connection_ptr& connection, const request_ptr& request, bool is_request);
  ~chunk_reader() override;

  /// Called once, at the end of the next receive().
  void set_finished_handler(finished_handler_type finished);

  /// Takes the request's headers as parsed and reads its content, from what the connection has left
  /// and then from the socket.
  void read_content();

 protected:
  void read_bytes() override;
  void finished_reading(const boost::system::error_code& error) override;
  message& get_message() override;

 private:
  const request_ptr request_;
  finished_handler_type finished_;
};

}  // namespace pion::http
