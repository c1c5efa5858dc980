#pragma once

#include <chrono>
#include <memory>

#include "pion/http/parser.h"
#include "pion/tcp/connection.h"

namespace pion::http {

/// Reads one message from a connection. finished_reading() is called exactly once for each
/// receive(), with the message valid and no error, or with what went wrong: an error of the
/// parser's category for a malformed message, else the error of the connection (its end, or
/// operation_aborted when the time was over).
///
/// Whoever calls receive() sees to it that the reader lives until then; the handler that
/// read_bytes() gives to the connection usually holds it.
class reader : public parser {
 public:
  static constexpr std::chrono::seconds DEFAULT_READ_TIMEOUT{10};

  /// Starts reading: what the connection's buffer still holds first, then from the socket. A
  /// content that is complete, since there is none, finishes inside the call.
  void receive();

  /// How long each single read may wait; zero means for ever.
  void set_timeout(std::chrono::milliseconds limit) { timeout_ = limit; }

  const tcp::connection_ptr& get_connection() const { return connection_; }

 protected:
  reader(bool is_request, tcp::connection_ptr connection);

  /// Parses \p bytes bytes of the connection's buffer, the handler of a read.
  void consume_bytes(const boost::system::error_code& error, std::size_t bytes);
  /// Parses what the read buffer holds, then finishes or reads on.
  void consume_bytes();

  /// Issues one read on the connection whose handler calls consume_bytes(error, bytes).
  virtual void read_bytes() = 0;
  /// Takes the end of the message; called on the thread that read its last piece.
  virtual void finished_reading(const boost::system::error_code& error) = 0;
  virtual message& get_message() = 0;

 private:
  void read_bytes_with_timeout();
  void finish_message();
  void fail(const boost::system::error_code& error, bool input_pending);

  tcp::connection_ptr connection_;
  std::chrono::milliseconds timeout_ = DEFAULT_READ_TIMEOUT;
};

}  // namespace pion::http
