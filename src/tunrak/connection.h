// One connection to a server, from the bare socket to requests inside TLS.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "tunrak/http.h"

namespace Tunrak::Http {

/// "host:port", with an IPv6 address in brackets.
std::string HostAndPort(const std::string& host, std::int32_t port);

/// Grows by one layer with each call: Connect, then a tunnel, then TLS. All calls block, none for
/// longer than the limit without a byte from the peer. Every call throws Exception with the peer
/// and the failed step in its text.
class Connection {
 public:
  /// \param idleLimit  How long a step waits for the peer.
  explicit Connection(std::chrono::milliseconds idleLimit);
  /// Says goodbye inside TLS, without waiting for the peer's.
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  void Connect(const std::string& host, std::int32_t port, bool probe);
  void OpenTunnel(const std::string& peer, const std::string& path);
  void StartTls(Ssl::Context& context, const std::string& peer, const std::string& host,
                const std::string& thumbprint);

  enum class Outcome { kAnswered, kClosedBeforeAnswer };

  /// Sends a request and reads its answer.
  /// \return kClosedBeforeAnswer if the peer has ended the connection and no byte of an answer has
  ///         come; the connection is of no further use.
  Outcome Exchange(const std::string& peer, const Request& request, Response& response);

  /// \return True when the connection serves a further request.
  bool IsReusable() const { return reusable_; }

 private:
  class Bytes;
  struct Ended;

  template <typename Start>
  boost::system::error_code Await(Start start);
  std::size_t ReadSome(boost::asio::mutable_buffer room, boost::system::error_code& error);
  std::size_t WriteSome(boost::asio::const_buffer bytes, boost::system::error_code& error);
  boost::system::error_code Send(const std::string& peer, const Request& request);
  boost::system::error_code Receive(Response& response);

  std::chrono::milliseconds idleLimit_;
  boost::asio::io_context service_;
  boost::beast::tcp_stream socket_;
  std::optional<boost::asio::ssl::stream<boost::beast::tcp_stream&>> tls_;
  boost::beast::flat_buffer buffer_;
  boost::system::error_code awaited_;
  std::size_t transferred_ = 0;
  bool answerBegun_ = false;
  bool reusable_ = false;
};

}  // namespace Tunrak::Http
