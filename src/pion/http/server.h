#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "pion/http/message.h"
#include "pion/http/parser.h"
#include "pion/http/reader.h"
#include "pion/http/resource_table.h"
#include "pion/tcp/server.h"

namespace pion::http {

/// Reads requests and hands each to the handler of its resource.
///
/// A handler answers through a response_writer whose finished handler calls the connection's
/// finish(); it may keep the connection and answer later, from any thread. A std::exception that
/// leaves it is answered with 500; any other one, and std::bad_alloc, ends the connection without
/// an answer. A request that names no resource gets 404, a malformed one 400. Nothing is answered
/// to a client that is too slow or goes away.
///
/// The configuration belongs before start(), but for the resources.
class server : public tcp::server {
 public:
  using request_handler_t = std::function<void(const request_ptr&, const tcp::connection_ptr&)>;
  /// The third argument is what the exception told.
  using error_handler_t =
      std::function<void(const request_ptr&, const tcp::connection_ptr&, const std::string&)>;

  server(scheduler& threads, const boost::asio::ip::tcp::endpoint& endpoint);
  ~server() override;

  /// The handler serves the resource and all below it. One trailing slash of the name doesn't
  /// count; of several registrations of a name the first wins.
  void add_resource(std::string_view resource, request_handler_t handler);
  void remove_resource(std::string_view resource);
  /// Stops the server if it listens, and forgets all resources.
  void clear();

  /// The handlers that replace the built-in answers.
  void set_bad_request_handler(request_handler_t handler) { bad_request_ = std::move(handler); }
  void set_not_found_handler(request_handler_t handler) { not_found_ = std::move(handler); }
  void set_error_handler(error_handler_t handler) { server_error_ = std::move(handler); }

  /// The bytes of a request's content that are kept; the rest is read and dropped.
  void set_max_content_length(std::size_t length) { max_content_length_ = length; }

  /// Call the handlers right after a request's headers. The content stays on the connection; the
  /// handler reads it, or answers without, and then the connection ends with the answer.
  void set_dispatch_after_headers(bool after_headers) { dispatch_after_headers_ = after_headers; }

  /// How long each single read of a request may wait, the one for its first byte too.
  void set_read_timeout(std::chrono::milliseconds limit) { read_timeout_ = limit; }

 protected:
  void handle_connection(const tcp::connection_ptr& connection) override;

 private:
  void on_request(const request_ptr& request, const tcp::connection_ptr& connection,
                  const boost::system::error_code& error);
  void dispatch(const request_ptr& request, const tcp::connection_ptr& connection);
  void call_handler(const request_handler_t& handler, const request_ptr& request,
                    const tcp::connection_ptr& connection);

  resource_table<request_handler_t> resources_;
  request_handler_t bad_request_;
  request_handler_t not_found_;
  error_handler_t server_error_;
  std::size_t max_content_length_ = parser::DEFAULT_CONTENT_MAX;
  bool dispatch_after_headers_ = false;
  std::chrono::milliseconds read_timeout_ = reader::DEFAULT_READ_TIMEOUT;
};

}  // namespace pion::http
