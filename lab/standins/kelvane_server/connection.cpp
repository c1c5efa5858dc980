#include "connection.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/ssl/error.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>

#include <algorithm>
#include <chrono>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "tcp_bytes.h"

namespace Lab::Kelvane {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using asio::ip::tcp;
using boost::system::error_code;

constexpr auto kResult = asio::as_tuple(asio::use_awaitable);
constexpr unsigned char kTlsHandshake = 0x16;
constexpr std::uint64_t kLargestRequest = 16 << 20;

class Connection {
 public:
  Connection(tcp::socket socket, unsigned number, const ConnectionFault* fault,
             ConnectionHost& host)
      : stream_(std::move(socket), ContextFor(fault, host)),
        origin_{number, 0},
        fault_(fault),
        host_(host) {
    Socket().set_option(tcp::no_delay(true));
  }

  asio::awaitable<void> Serve() {
    if (Is(ConnectionFault::Kind::kClose)) {
      WriteEnd("closed as planned");
      co_return;
    }
    if (Is(ConnectionFault::Kind::kSilence)) {
      co_await WaitForEnd();
      WriteEnd("silent as planned");
      co_return;
    }
    bool goesOn = co_await OpenTunnel();
    if (goesOn) goesOn = co_await ShakeHands();
    if (goesOn) co_await ServeRequests();
    WriteEnd(end_);
  }

 private:
  static asio::ssl::context& ContextFor(const ConnectionFault* fault, ConnectionHost& host) {
    const bool other = fault != nullptr && fault->kind == ConnectionFault::Kind::kCertificate;
    return other ? host.otherCertificate : host.certificate;
  }

  bool Is(ConnectionFault::Kind kind) const { return fault_ != nullptr && fault_->kind == kind; }

  tcp::socket& Socket() { return stream_.next_layer(); }

  /// Takes what comes and answers nothing, until the client gives up.
  asio::awaitable<void> WaitForEnd() {
    char ignored[4096];
    error_code error;
    while (!error) {
      std::tie(error, std::ignore) =
          co_await Socket().async_read_some(asio::buffer(ignored), kResult);
    }
  }

  /// Answers a CONNECT if there's one in place of TLS. \return True when TLS comes next.
  asio::awaitable<bool> OpenTunnel() {
    unsigned char first = 0;
    const auto [error, count] = co_await Socket().async_receive(asio::buffer(&first, 1),
                                                                tcp::socket::message_peek, kResult);
    if (error) {
      end_ = "ended before a byte came";
      co_return false;
    }
    if (first == kTlsHandshake) co_return true;
    beast::flat_buffer buffer;
    http::request_parser<http::empty_body> parser;
    parser.skip(true);
    const auto [readError, size] =
        co_await http::async_read_header(Socket(), buffer, parser, kResult);
    if (readError) {
      end_ = "neither TLS nor HTTP: " + readError.message();
      co_return false;
    }
    co_return co_await AnswerConnect(parser.get(), buffer.size());
  }

  asio::awaitable<bool> AnswerConnect(const http::request<http::empty_body>& request,
                                      std::size_t behind) {
    unsigned status = Is(ConnectionFault::Kind::kTunnel) ? fault_->status : 200;
    const std::string refusal = WhyNoTunnel(request, behind);
    if (!refusal.empty()) status = 400;
    const auto reason = http::obsolete_reason(static_cast<http::status>(status));
    std::string head = "HTTP/1.1 " + std::to_string(status) + " " + std::string(reason) + "\r\n";
    const bool opens = status / 100 == 2;
    if (!opens) head += "Content-Length: 0\r\nConnection: close\r\n";
    co_await Write(head + "\r\n");
    WriteTunnel(status, refusal);
    end_ = "no tunnel";
    co_return opens;
  }

  /// \return What is wrong with the request for a tunnel; empty for nothing.
  std::string WhyNoTunnel(const http::request<http::empty_body>& request,
                          std::size_t behind) const {
    if (request.method() != http::verb::connect) return "Expected TLS or CONNECT";
    if (host_.tunnelPath.empty()) return "There is no tunnel";
    if (request.target() != host_.tunnelPath) return "Expected the path " + host_.tunnelPath;
    if (request.version() != 11) return "Expected HTTP/1.1";
    if (request.count(http::field::host) != 1 ||
        request[http::field::host].find(':') == std::string_view::npos) {
      return "Expected the header Host: HOST:PORT";
    }
    if (std::distance(request.begin(), request.end()) != 1) return "Unknown headers";
    if (behind != 0) return "Bytes behind the request, before its answer";
    return {};
  }

  void WriteTunnel(unsigned status, const std::string& refusal) {
    Json::Value line;
    line["event"] = "tunnel";
    line["connection"] = origin_.connection;
    line["status"] = status;
    line["outcome"] = refusal.empty() ? "answered" : "refused";
    if (!refusal.empty()) line["text"] = refusal;
    host_.journal.Write(line);
  }

  /// Writes to the plain connection, before TLS.
  asio::awaitable<void> Write(const std::string& bytes) {
    (void)co_await asio::async_write(Socket(), asio::buffer(bytes), kResult);
  }

  asio::awaitable<bool> ShakeHands() {
    const auto [error] = co_await stream_.async_handshake(asio::ssl::stream_base::server, kResult);
    if (error) end_ = "no handshake: " + error.message();
    co_return !error;
  }

  asio::awaitable<void> ServeRequests() {
    beast::flat_buffer buffer;
    bool goesOn = true;
    while (goesOn) {
      http::request_parser<http::string_body> parser;
      parser.body_limit(kLargestRequest);
      const auto [error, size] = co_await http::async_read(stream_, buffer, parser, kResult);
      if (IsEnd(error)) {
        end_ = "ended by the client";
        co_return;
      }
      ++origin_.request;
      const HttpAnswer answer = error ? host_.endpoint.RefuseHttp(error.message(), origin_)
                                      : host_.endpoint.Handle(parser.get(), origin_);
      goesOn = co_await Send(answer);
    }
  }

  static bool IsEnd(const error_code& error) {
    return error == http::error::end_of_stream || error == asio::error::eof ||
           error == asio::error::connection_reset || error == asio::ssl::error::stream_truncated;
  }

  /// Lets an answer out the way that is planned for it. \return True if the connection goes on.
  asio::awaitable<bool> Send(const HttpAnswer& answer) {
    using Kind = OperationFault::Kind;
    const auto is = [&answer](Kind kind) {
      return answer.fault != nullptr && answer.fault->kind == kind;
    };
    if (is(Kind::kSlow)) co_await Sleep(std::chrono::milliseconds(answer.fault->milliseconds));
    std::string_view bytes = answer.bytes;
    if (is(Kind::kCut)) bytes = bytes.substr(0, answer.fault->bytes);
    const std::size_t piece = is(Kind::kPieces) ? answer.fault->bytes : bytes.size();
    const bool sent = co_await SendInPieces(bytes, piece);
    if (!sent) co_return false;
    if (is(Kind::kCut)) {
      // Without the goodbye of TLS, as when a server dies.
      end_ = "cut as planned";
      co_return false;
    }
    if (!answer.close && !is(Kind::kClose)) co_return true;
    (void)co_await stream_.async_shutdown(kResult);
    end_ = "closed by the server";
    co_return false;
  }

  asio::awaitable<bool> SendInPieces(std::string_view bytes, std::size_t piece) {
    for (std::size_t sent = 0; sent < bytes.size(); sent += piece) {
      const std::size_t size = std::min(piece, bytes.size() - sent);
      const auto [error, count] =
          co_await asio::async_write(stream_, asio::buffer(bytes.data() + sent, size), kResult);
      if (error) {
        end_ = "given up by the client within an answer";
        co_return false;
      }
    }
    co_return true;
  }

  asio::awaitable<void> Sleep(std::chrono::milliseconds time) {
    asio::steady_timer timer(Socket().get_executor(), time);
    (void)co_await timer.async_wait(kResult);
  }

  void WriteEnd(const std::string& why) {
    const TcpBytes bytes = CountTcpBytes(Socket().native_handle());
    Json::Value line;
    line["event"] = "connectionEnd";
    line["connection"] = origin_.connection;
    line["requests"] = origin_.request;
    line["text"] = why;
    line["bytesReceived"] = static_cast<Json::UInt64>(bytes.received);
    line["bytesSent"] = static_cast<Json::UInt64>(bytes.sent);
    host_.journal.Write(line);
  }

  asio::ssl::stream<tcp::socket> stream_;
  Origin origin_;
  const ConnectionFault* fault_;
  ConnectionHost& host_;
  std::string end_;  ///< Why it ended, for the journal.
};

}  // namespace

asio::awaitable<void> ServeConnection(tcp::socket socket, unsigned number,
                                      const ConnectionFault* fault, ConnectionHost& host) {
  Connection connection(std::move(socket), number, fault, host);
  co_await connection.Serve();
}

}  // namespace Lab::Kelvane
