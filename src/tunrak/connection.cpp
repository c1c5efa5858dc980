#include "tunrak/connection.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/ssl/error.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/vector_body.hpp>
#include <boost/beast/http/write.hpp>

#include "tunrak/error_text.h"
#include "tunrak/exception.h"
#include "tunrak/peer_certificate.h"
#include "tunrak/ssl_context.h"

namespace Tunrak::Http {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using boost::system::error_code;

constexpr int kHttp11 = 11;
constexpr std::uint32_t kHeaderLimit = 64 * 1024;
/// The most that TLS sends at once.
constexpr std::size_t kRecordSize = 16 * 1024;

[[noreturn]] void Fail(const std::string& step, const std::string& reason) {
  throw Exception(step + " failed: " + reason + ".");
}

void Check(const error_code& error, const std::string& step) {
  if (error) Fail(step, ErrorText(error));
}

bool IsClosedByPeer(const error_code& error) {
  return error == asio::error::eof || error == http::error::end_of_stream ||
         error == asio::ssl::error::stream_truncated || error == asio::error::connection_reset ||
         error == asio::error::connection_aborted || error == asio::error::broken_pipe;
}

bool IsAddress(const std::string& host) {
  error_code error;
  (void)asio::ip::make_address(host, error);
  return !error;
}

/// The far server is asked for by its name. An address is none.
void NameServer(SSL* ssl, const std::string& host) {
  if (!IsAddress(host)) SSL_set_tlsext_host_name(ssl, host.c_str());
}

template <typename Message>
void TakeHeaders(const Message& message, Response& response) {
  response.status = message.result_int();
  response.reason = std::string(message.reason());
  response.contentType = std::string(message[http::field::content_type]);
  const auto cookies = message.equal_range(http::field::set_cookie);
  for (auto field = cookies.first; field != cookies.second; ++field) {
    response.cookies.emplace_back(field->value());
  }
}

}  // namespace

std::string HostAndPort(const std::string& host, std::int32_t port) {
  const bool bracketed = host.find(':') != std::string::npos;
  return (bracketed ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

/// What an asynchronous operation calls at its end. One type for all of them, and blocking streams
/// on top of the few on plain bytes: each pair of types costs the compiler a second.
struct Connection::Ended {
  Connection& connection;

  void operator()(const error_code& error) const { connection.awaited_ = error; }
  void operator()(const error_code& error, std::size_t bytes) const {
    connection.awaited_ = error;
    connection.transferred_ = bytes;
  }
  void operator()(const error_code& error, const asio::ip::tcp::endpoint&) const {
    connection.awaited_ = error;
  }
};

Connection::Connection(std::chrono::milliseconds idleLimit)
    : idleLimit_(idleLimit), socket_(service_) {}

Connection::~Connection() {
  if (tls_ && reusable_) {
    // The goodbye fits into the socket's buffer, or it doesn't go out at all.
    tls_->async_shutdown(Ended{*this});
    service_.restart();
    service_.poll();
  }
  // Whatever still waits ends before what it refers to.
  socket_.close();
  service_.restart();
  try {
    service_.run();
  } catch (const std::exception&) {
    // Nobody is left to be told.
    return;
  }
}

/// Starts an asynchronous operation and waits for its end.
template <typename Start>
error_code Connection::Await(Start start) {
  awaited_.clear();
  transferred_ = 0;
  socket_.expires_after(idleLimit_);
  start(Ended{*this});
  service_.restart();
  service_.run();
  return awaited_;
}

std::size_t Connection::ReadSome(asio::mutable_buffer room, error_code& error) {
  error = Await([&](Ended ended) {
    if (tls_) {
      tls_->async_read_some(room, ended);
    } else {
      socket_.async_read_some(room, ended);
    }
  });
  return transferred_;
}

std::size_t Connection::WriteSome(asio::const_buffer bytes, error_code& error) {
  error = Await([&](Ended ended) {
    if (tls_) {
      tls_->async_write_some(bytes, ended);
    } else {
      socket_.async_write_some(bytes, ended);
    }
  });
  return transferred_;
}

/// The connection as a blocking stream, which messages are read from and written to.
class Connection::Bytes {
 public:
  explicit Bytes(Connection& connection) : connection_(connection) {}

  template <typename Buffers>
  std::size_t read_some(const Buffers& buffers, error_code& error) {
    return connection_.ReadSome(*asio::buffer_sequence_begin(buffers), error);
  }

  /// A message is many pieces, which leave as one.
  template <typename Buffers>
  std::size_t write_some(const Buffers& buffers, error_code& error) {
    std::array<char, kRecordSize> record;
    return connection_.WriteSome(
        asio::buffer(record, asio::buffer_copy(asio::buffer(record), buffers)), error);
  }

  // Beast wants these of a stream, and doesn't call them.
  template <typename Buffers>
  std::size_t read_some(const Buffers& buffers);
  template <typename Buffers>
  std::size_t write_some(const Buffers& buffers);

 private:
  Connection& connection_;
};

void Connection::Connect(const std::string& host, std::int32_t port, bool probe) {
  const std::string step = "Connecting to " + HostAndPort(host, port);
  error_code error;
  asio::ip::tcp::resolver resolver(service_);
  const auto addresses =
      resolver.resolve(host, std::to_string(port), asio::ip::resolver_base::numeric_service, error);
  Check(error, step);
  error = Await([&](Ended ended) { socket_.async_connect(addresses, ended); });
  Check(error, step);
  // Requests go out in one piece each, and nothing is gained by waiting for more.
  socket_.socket().set_option(asio::ip::tcp::no_delay(true), error);
  socket_.socket().set_option(asio::socket_base::keep_alive(probe), error);
  reusable_ = true;
}

void Connection::OpenTunnel(const std::string& peer, const std::string& path) {
  const std::string step = "Opening the tunnel " + path + " of " + peer;
  http::request<http::empty_body> request(http::verb::connect, path, kHttp11);
  request.set(http::field::host, peer);
  Bytes bytes(*this);
  error_code error;
  http::write(bytes, request, error);
  Check(error, step);

  http::response_parser<http::empty_body> parser;
  parser.header_limit(kHeaderLimit);
  // Behind the header's empty line the connection is the far server's, whatever the header says.
  parser.skip(true);
  http::read_header(bytes, buffer_, parser, error);
  Check(error, step);
  const auto& answer = parser.get();
  if (http::to_status_class(answer.result_int()) != http::status_class::successful) {
    Fail(step, "the proxy answered " + std::to_string(answer.result_int()) + " " +
                   std::string(answer.reason()));
  }
  if (buffer_.size() != 0) Fail(step, "the server spoke before it was spoken to");
}

void Connection::StartTls(Ssl::Context& context, const std::string& peer, const std::string& host,
                          const std::string& thumbprint) {
  tls_.emplace(socket_, context.native);
  SSL* const ssl = tls_->native_handle();
  NameServer(ssl, host);
  const Ssl::CertificateCheck check(ssl, host, IsAddress(host), thumbprint);
  reusable_ = false;
  const error_code error =
      Await([&](Ended ended) { tls_->async_handshake(asio::ssl::stream_base::client, ended); });
  if (error) Fail("TLS handshake with " + peer, check.HandshakeFailure(ErrorText(error)));
  check.Compare(peer);
  reusable_ = true;
}

error_code Connection::Send(const std::string& peer, const Request& request) {
  http::request<http::string_body> message(http::verb::post, request.path, kHttp11);
  message.set(http::field::host, peer);
  message.set(http::field::user_agent, "tunrak/6.0");
  for (const auto& [name, value] : request.headers) message.set(name, value);
  message.body() = request.content;
  message.prepare_payload();
  Bytes bytes(*this);
  error_code error;
  http::write(bytes, message, error);
  return error;
}

error_code Connection::Receive(Response& response) {
  http::response_parser<http::vector_body<char>> parser;
  parser.header_limit(kHeaderLimit);
  parser.body_limit(kContentLimit);
  Bytes bytes(*this);
  error_code error;
  while (!error && !parser.is_done()) {
    http::read_some(bytes, buffer_, parser, error);
    answerBegun_ = answerBegun_ || buffer_.size() != 0 || parser.got_some();
  }
  if (error) return error;
  reusable_ = parser.keep_alive();
  TakeHeaders(parser.get(), response);
  response.content = std::move(parser.get().body());
  return {};
}

Connection::Outcome Connection::Exchange(const std::string& peer, const Request& request,
                                         Response& response) {
  reusable_ = false;
  answerBegun_ = false;
  error_code error = Send(peer, request);
  if (!error) error = Receive(response);
  if (IsClosedByPeer(error) && !answerBegun_) return Outcome::kClosedBeforeAnswer;
  Check(error, "The request to " + peer + request.path);
  return Outcome::kAnswered;
}

}  // namespace Tunrak::Http
