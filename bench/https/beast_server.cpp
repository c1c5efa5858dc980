// A plain server over Boost.Beast with one thread, as its manual has it: https_beast_server PEM
// BODY. Answers every request with the body and ends the connection. Prints its port, and serves
// until its standard input ends.
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl.hpp>
#include <chrono>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "tls_settings.h"

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using asio::ip::tcp;
using beast::error_code;

constexpr std::chrono::seconds kTimeout{30};

class Session : public std::enable_shared_from_this<Session> {
 public:
  Session(tcp::socket socket, asio::ssl::context& context, const std::string& body)
      : stream_(std::move(socket), context), body_(body) {}

  void Run() {
    // Without it the goodbye waits for the acknowledgement of the answer, 40 ms.
    beast::get_lowest_layer(stream_).socket().set_option(tcp::no_delay(true));
    beast::get_lowest_layer(stream_).expires_after(kTimeout);
    stream_.async_handshake(asio::ssl::stream_base::server,
                            [self = shared_from_this()](error_code error) {
                              if (!error) self->Read();
                            });
  }

 private:
  void Read() {
    http::async_read(stream_, buffer_, request_,
                     [self = shared_from_this()](error_code error, std::size_t) {
                       if (!error) self->Answer();
                     });
  }

  void Answer() {
    response_.result(http::status::ok);
    response_.set(http::field::content_type, "application/json");
    response_.body() = body_;
    response_.keep_alive(false);
    response_.prepare_payload();
    http::async_write(stream_, response_,
                      [self = shared_from_this()](error_code error, std::size_t) {
                        if (!error) self->End();
                      });
  }

  void End() {
    stream_.async_shutdown([self = shared_from_this()](error_code) {});
  }

  beast::ssl_stream<beast::tcp_stream> stream_;
  const std::string& body_;
  beast::flat_buffer buffer_;
  http::request<http::string_body> request_;
  http::response<http::string_body> response_;
};

class Listener {
 public:
  Listener(asio::io_context& io, asio::ssl::context& context, std::string body)
      : acceptor_(io, {asio::ip::address_v4::any(), 0}), context_(context), body_(std::move(body)) {
    Accept();
  }
  std::uint16_t Port() const { return acceptor_.local_endpoint().port(); }

 private:
  void Accept() {
    acceptor_.async_accept([this](error_code error, tcp::socket socket) {
      if (!error) std::make_shared<Session>(std::move(socket), context_, body_)->Run();
      Accept();
    });
  }

  tcp::acceptor acceptor_;
  asio::ssl::context& context_;
  const std::string body_;
};

void Serve(const std::string& pem, const std::string& body) {
  asio::io_context io{1};
  asio::ssl::context context(asio::ssl::context::tls_server);
  Bench::UseCertificate(context.native_handle(), pem);
  Bench::SetCurveAndCiphers(context.native_handle());
  Listener listener(io, context, body);
  std::cout << listener.Port() << std::endl;
  std::thread end([&io] {
    for (std::string line; std::getline(std::cin, line);) {
    }
    io.stop();
  });
  io.run();
  end.join();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: https_beast_server PEM BODY\n";
    return 2;
  }
  try {
    Serve(argv[1], argv[2]);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
