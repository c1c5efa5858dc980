#include "agent_connection.h"

#include <array>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/error.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/buffer_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>

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
/// The most that TLS sends at once.
constexpr std::size_t kRecordSize = 16 * 1024;

std::string Reason(const error_code& error) {
  if (error == beast::error::timeout) return "the time limit has passed";
  if (error == http::error::end_of_stream || error == http::error::partial_message ||
      error == asio::ssl::error::stream_truncated || error == asio::error::eof) {
    return "the agent closed the connection before its answer was whole";
  }
  return error.message();
}

/// TLS with a time limit for each step. Messages are read from it and written to it as with a
/// blocking stream: the asynchronous operations of whole messages, each with its own types, would
/// take the compiler half a minute.
class LimitedStream {
 public:
  LimitedStream() {
    // The agent's own certificate says nothing to a certificate store: its thumbprint is the proof,
    // and it is compared right after the handshake.
    tls_.set_verify_mode(asio::ssl::verify_none);
    // The agent takes this group alone; offering another first costs a round trip.
    (void)SSL_CTX_set1_groups_list(tls_.native_handle(), "P-256:X25519:P-384");
  }

  SSL* NativeHandle() { return stream_.native_handle(); }

  asio::ip::tcp::resolver::results_type Resolve(const Endpoint& agent, error_code& error) {
    asio::ip::tcp::resolver resolver(io_);
    return resolver.resolve(agent.host, std::to_string(agent.port), error);
  }

  /// \param limit  For the next steps. Zero: none.
  void Limit(std::chrono::seconds limit) { limit_ = limit; }

  error_code Connect(const asio::ip::tcp::resolver::results_type& addresses) {
    return Await([&](Ended ended) { stream_.next_layer().async_connect(addresses, ended); });
  }

  error_code Handshake() {
    return Await(
        [&](Ended ended) { stream_.async_handshake(asio::ssl::stream_base::client, ended); });
  }

  template <typename Buffers>
  std::size_t read_some(const Buffers& buffers, error_code& error) {
    const asio::mutable_buffer room = *asio::buffer_sequence_begin(buffers);
    error = Await([&](Ended ended) { stream_.async_read_some(room, ended); });
    return transferred_;
  }

  /// A message is many pieces, which leave as one.
  template <typename Buffers>
  std::size_t write_some(const Buffers& buffers, error_code& error) {
    std::array<char, kRecordSize> record;
    const asio::const_buffer bytes(record.data(), asio::buffer_copy(asio::buffer(record), buffers));
    error = Await([&](Ended ended) { stream_.async_write_some(bytes, ended); });
    return transferred_;
  }

  // Beast wants these of a stream, and doesn't call them.
  template <typename Buffers>
  std::size_t read_some(const Buffers& buffers);
  template <typename Buffers>
  std::size_t write_some(const Buffers& buffers);

 private:
  /// What each operation calls at its end.
  struct Ended {
    LimitedStream& stream;

    void operator()(const error_code& error) const { stream.error_ = error; }
    void operator()(const error_code& error, std::size_t bytes) const {
      stream.error_ = error;
      stream.transferred_ = bytes;
    }
    void operator()(const error_code& error, const asio::ip::tcp::endpoint&) const {
      stream.error_ = error;
    }
  };

  template <typename Start>
  error_code Await(Start start) {
    if (limit_ == std::chrono::seconds::zero()) {
      stream_.next_layer().expires_never();
    } else {
      stream_.next_layer().expires_after(limit_);
    }
    transferred_ = 0;
    start(Ended{*this});
    io_.restart();
    io_.run();
    return error_;
  }

  asio::io_context io_;
  asio::ssl::context tls_{asio::ssl::context::tls_client};
  asio::ssl::stream<beast::tcp_stream> stream_{io_, tls_};
  std::chrono::seconds limit_{};
  error_code error_;
  std::size_t transferred_ = 0;
};

}  // namespace

std::string Endpoint::Text() const {
  const bool bracketed = host.find(':') != std::string::npos;
  return (bracketed ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

class AgentConnection::Stream {
 public:
  Stream(const Endpoint& agent, const TimeLimits& limits) : agent_(agent), limits_(limits) {}

  void Connect() {
    error_code error;
    const auto addresses = stream_.Resolve(agent_, error);
    ThrowOn(error, "The name " + agent_.host + " can't be resolved");
    stream_.Limit(limits_.connect);
    ThrowOn(stream_.Connect(addresses), "No connection to " + agent_.Text());
    ThrowOn(stream_.Handshake(), "No TLS connection to " + agent_.Text());
  }

  std::string PeerThumbprint() {
    X509* const certificate = SSL_get0_peer_certificate(stream_.NativeHandle());
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
    stream_.Limit(limits_.connect);
    http::write(stream_, request, error);
    ThrowOn(error, "The request to " + agent_.Text() + " wasn't sent");
  }

  void Receive(bool framed, const std::function<void(std::string_view)>& onBody) {
    parser_.body_limit(boost::none);
    error_code error;
    stream_.Limit(limits_.answer);
    http::read_header(stream_, buffer_, parser_, error);
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
    http::read(stream_, buffer_, parser_, error);
    if (error == http::error::need_buffer) error = {};
    ThrowOn(error, "The answer from " + agent_.Text() + " ended early");
    onBody(std::string_view(piece.data(), piece.size() - body.size));
  }

  static void ThrowOn(const error_code& error, const std::string& what) {
    if (error) throw Failure(ExitCode::kNoConnection, what + ": " + Reason(error) + ".");
  }

  const Endpoint agent_;
  const TimeLimits limits_;
  LimitedStream stream_;
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
