#include "agent_connection.h"

#include <array>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/error.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl.hpp>

#include "failure.h"
#include "thumbprint.h"

namespace Hvctl {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using boost::system::error_code;

constexpr const char* kPlainType = "application/json";
constexpr const char* kFramedType = "application/vnd.ostrel.krova.framed";
constexpr std::size_t kReadSize = 16 * 1024;

std::string Reason(const error_code& error) {
  if (error == beast::error::timeout) return "the time limit has passed";
  if (error == http::error::end_of_stream || error == http::error::partial_message ||
      error == asio::ssl::error::stream_truncated || error == asio::error::eof) {
    return "the agent closed the connection before its answer was whole";
  }
  return error.message();
}

}  // namespace

std::string Endpoint::Text() const {
  const bool bracketed = host.find(':') != std::string::npos;
  return (bracketed ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

class AgentConnection::Stream {
 public:
  Stream(const Endpoint& agent, const TimeLimits& limits) : agent_(agent), limits_(limits) {
    // The agent's own certificate says nothing to a certificate store: its thumbprint is the proof,
    // and it is compared right after the handshake.
    tls_.set_verify_mode(asio::ssl::verify_none);
    // The agent takes this group alone; offering another first costs a round trip.
    (void)SSL_CTX_set1_groups_list(tls_.native_handle(), "P-256:X25519:P-384");
  }

  void Connect() {
    asio::ip::tcp::resolver resolver(io_);
    error_code error;
    const auto addresses = resolver.resolve(agent_.host, std::to_string(agent_.port), error);
    ThrowOn(error, "The name " + agent_.host + " can't be resolved");
    Limit(limits_.connect);
    beast::get_lowest_layer(stream_).async_connect(
        addresses, [&error](const error_code& result, const auto&) { error = result; });
    Run();
    ThrowOn(error, "No connection to " + agent_.Text());
    Limit(limits_.connect);
    stream_.async_handshake(asio::ssl::stream_base::client,
                            [&error](const error_code& result) { error = result; });
    Run();
    ThrowOn(error, "No TLS connection to " + agent_.Text());
  }

  std::string PeerThumbprint() {
    X509* const certificate = SSL_get0_peer_certificate(stream_.native_handle());
    if (certificate == nullptr) {
      throw Failure(ExitCode::kNotTrusted, agent_.Text() + " has shown no certificate.");
    }
    return ThumbprintOf(certificate);
  }

  void Send(const std::string& body, bool framed) {
    http::request<http::string_body> request(http::verb::post, "/api", 11);
    request.set(http::field::host, agent_.Text());
    request.set(http::field::content_type, kPlainType);
    request.set(http::field::accept, framed ? kFramedType : kPlainType);
    request.set(http::field::connection, "close");
    request.body() = body;
    request.prepare_payload();
    error_code error;
    Limit(limits_.connect);
    http::async_write(stream_, request,
                      [&error](const error_code& result, std::size_t) { error = result; });
    Run();
    ThrowOn(error, "The request to " + agent_.Text() + " wasn't sent");
  }

  void Receive(bool framed, const std::function<void(std::string_view)>& onBody) {
    parser_.body_limit(boost::none);
    error_code error;
    Limit(limits_.answer);
    http::async_read_header(stream_, buffer_, parser_,
                            [&error](const error_code& result, std::size_t) { error = result; });
    Run();
    ThrowOn(error, "No answer from " + agent_.Text());
    CheckHeader(framed);
    while (!parser_.is_done()) ReadPiece(onBody);
  }

 private:
  void CheckHeader(bool framed) const {
    const auto& answer = parser_.get();
    if (answer.result() != http::status::ok) {
      throw Failure(ExitCode::kApiError, agent_.Text() + " answered with HTTP status " +
                                             std::to_string(answer.result_int()) +
                                             ". Is it the agent?");
    }
    if (answer[http::field::content_type] != (framed ? kFramedType : kPlainType)) {
      throw Failure(ExitCode::kApiError,
                    agent_.Text() + " answered with another kind of text. Is it the agent?");
    }
  }

  void ReadPiece(const std::function<void(std::string_view)>& onBody) {
    std::array<char, kReadSize> piece;
    auto& body = parser_.get().body();
    body.data = piece.data();
    body.size = piece.size();
    error_code error;
    Limit(limits_.answer);
    http::async_read(stream_, buffer_, parser_,
                     [&error](const error_code& result, std::size_t) { error = result; });
    Run();
    if (error == http::error::need_buffer) error = {};
    ThrowOn(error, "The answer from " + agent_.Text() + " ended early");
    onBody(std::string_view(piece.data(), piece.size() - body.size));
  }

  void Limit(std::chrono::seconds limit) {
    if (limit == std::chrono::seconds::zero()) {
      beast::get_lowest_layer(stream_).expires_never();
    } else {
      beast::get_lowest_layer(stream_).expires_after(limit);
    }
  }

  void Run() {
    io_.restart();
    io_.run();
  }

  static void ThrowOn(const error_code& error, const std::string& what) {
    if (error) throw Failure(ExitCode::kNoConnection, what + ": " + Reason(error) + ".");
  }

  const Endpoint agent_;
  const TimeLimits limits_;
  asio::io_context io_;
  asio::ssl::context tls_{asio::ssl::context::tls_client};
  beast::ssl_stream<beast::tcp_stream> stream_{io_, tls_};
  beast::flat_buffer buffer_;
  http::response_parser<http::buffer_body> parser_;
};

AgentConnection::AgentConnection(const Endpoint& agent, const TimeLimits& limits,
                                 const TrustCheck& trust)
    : stream_(std::make_unique<Stream>(agent, limits)) {
  stream_->Connect();
  trust(stream_->PeerThumbprint());
}

AgentConnection::~AgentConnection() = default;

void AgentConnection::Post(const std::string& body, bool framed,
                           const std::function<void(std::string_view)>& onBody) {
  stream_->Send(body, framed);
  stream_->Receive(framed, onBody);
}

}  // namespace Hvctl
