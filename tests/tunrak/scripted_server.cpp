#include "scripted_server.h"

#include <openssl/evp.h>

#include <atomic>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

#include "test_certificate.h"

namespace Tunrak::Testing {
namespace {

namespace asio = boost::asio;
using asio::use_awaitable;
using asio::ip::tcp;
using TlsStream = asio::ssl::stream<tcp::socket&>;

std::string Sha1(const std::string& bytes) {
  unsigned char digest[EVP_MAX_MD_SIZE] = {};
  unsigned size = 0;
  EVP_Digest(bytes.data(), bytes.size(), digest, &size, EVP_sha1(), nullptr);
  std::string text;
  for (unsigned i = 0; i < size; ++i) {
    char byte[4] = {};
    (void)std::snprintf(byte, sizeof byte, "%s%02X", i == 0 ? "" : ":", digest[i]);
    text += byte;
  }
  return text;
}

std::size_t ContentLength(const std::string& header) {
  constexpr const char* kName = "Content-Length: ";
  const std::size_t at = header.find(kName);
  return at == std::string::npos ? 0 : std::strtoul(header.c_str() + at + 16, nullptr, 10);
}

}  // namespace

class ScriptedServer::Play {
 public:
  explicit Play(std::vector<ConnectionScript> script)
      : script_(std::move(script)),
        acceptor_(service_, {asio::ip::address_v4::loopback(), 0}),
        port_(acceptor_.local_endpoint().port()),
        tls_(asio::ssl::context::tls_server) {
    tls_.use_certificate_chain(asio::buffer(certificate_.certificate));
    tls_.use_private_key(asio::buffer(certificate_.key), asio::ssl::context::pem);
    asio::co_spawn(service_, Run(), asio::detached);
    // The first accept is begun here: a test may leave the process without descriptors next.
    service_.poll();
    thread_ = std::thread([this] { service_.run(); });
  }

  ~Play() {
    service_.stop();
    Join();
  }

  void Finish() {
    // A connection that is being played plays on; no further one is accepted.
    asio::post(service_, [this] { acceptor_.close(); });
    Join();
  }

  asio::awaitable<void> Run();
  asio::awaitable<void> Serve(tcp::socket socket, const ConnectionScript& script);
  asio::awaitable<void> OpenTunnel(tcp::socket& socket, const std::string& answer);
  template <typename Stream>
  asio::awaitable<void> Converse(Stream& stream, const ConnectionScript& script);
  template <typename Stream>
  asio::awaitable<void> ReadStray(Stream& stream);

  template <typename Value>
  Value Locked(const Value& value) const {
    const std::lock_guard lock(mutex_);
    return value;
  }

  std::vector<ConnectionScript> script_;
  asio::io_context service_;
  tcp::acceptor acceptor_;
  const std::uint16_t port_;
  pion_test::test_certificate certificate_;
  asio::ssl::context tls_;
  std::thread thread_;

  mutable std::mutex mutex_;
  std::vector<std::string> requests_;
  std::vector<std::string> tunnelRequests_;
  std::vector<std::string> serverNames_;
  std::string stray_;
  std::atomic<int> connections_ = 0;

 private:
  void Join() {
    if (thread_.joinable()) thread_.join();
  }
};

asio::awaitable<void> ScriptedServer::Play::Run() {
  for (const ConnectionScript& script : script_) {
    boost::system::error_code error;
    tcp::socket socket =
        co_await acceptor_.async_accept(asio::redirect_error(use_awaitable, error));
    if (error) break;
    ++connections_;
    try {
      co_await Serve(std::move(socket), script);
    } catch (const boost::system::system_error&) {
      // The client has gone, which is its right at any point.
    }
  }
  acceptor_.close();
}

asio::awaitable<void> ScriptedServer::Play::Serve(tcp::socket socket,
                                                  const ConnectionScript& script) {
  socket.set_option(tcp::no_delay(true));
  if (script.silent) co_return co_await ReadStray(socket);
  if (script.tunnelAnswer) co_await OpenTunnel(socket, *script.tunnelAnswer);
  if (!script.tls) co_return co_await Converse(socket, script);
  TlsStream stream(socket, tls_);
  co_await stream.async_handshake(asio::ssl::stream_base::server, use_awaitable);
  const char* name = SSL_get_servername(stream.native_handle(), TLSEXT_NAMETYPE_host_name);
  {
    const std::lock_guard lock(mutex_);
    serverNames_.emplace_back(name == nullptr ? "" : name);
  }
  co_await Converse(stream, script);
  if (script.ending == Ending::kGoodbye) co_await stream.async_shutdown(use_awaitable);
}

asio::awaitable<void> ScriptedServer::Play::OpenTunnel(tcp::socket& socket,
                                                       const std::string& answer) {
  std::string request;
  co_await asio::async_read_until(socket, asio::dynamic_buffer(request), "\r\n\r\n", use_awaitable);
  {
    const std::lock_guard lock(mutex_);
    tunnelRequests_.push_back(request);
  }
  co_await asio::async_write(socket, asio::buffer(answer), use_awaitable);
}

template <typename Stream>
asio::awaitable<void> ScriptedServer::Play::Converse(Stream& stream,
                                                     const ConnectionScript& script) {
  for (const std::string& answer : script.answers) {
    std::string request;
    const std::size_t header = co_await asio::async_read_until(
        stream, asio::dynamic_buffer(request), "\r\n\r\n", use_awaitable);
    const std::size_t size = header + ContentLength(request);
    if (request.size() < size) {
      co_await asio::async_read(stream, asio::dynamic_buffer(request),
                                asio::transfer_exactly(size - request.size()), use_awaitable);
    }
    {
      const std::lock_guard lock(mutex_);
      requests_.push_back(request);
    }
    co_await asio::async_write(stream, asio::buffer(answer), use_awaitable);
  }
  if (script.ending == Ending::kClientCloses) co_await ReadStray(stream);
}

template <typename Stream>
asio::awaitable<void> ScriptedServer::Play::ReadStray(Stream& stream) {
  std::string bytes;
  boost::system::error_code error;
  co_await asio::async_read(stream, asio::dynamic_buffer(bytes),
                            asio::redirect_error(use_awaitable, error));
  const std::lock_guard lock(mutex_);
  stray_ += bytes;
}

ScriptedServer::ScriptedServer(std::vector<ConnectionScript> script)
    : play_(std::make_unique<Play>(std::move(script))) {}

ScriptedServer::ScriptedServer(std::vector<std::string> answers)
    : ScriptedServer(std::vector{ConnectionScript{std::move(answers)}}) {}

ScriptedServer::~ScriptedServer() = default;

std::uint16_t ScriptedServer::Port() const { return play_->port_; }

std::string ScriptedServer::Address() const { return "127.0.0.1:" + std::to_string(Port()); }

std::string ScriptedServer::Thumbprint() const { return Sha1(play_->certificate_.der); }

std::string ScriptedServer::Certificate() const { return play_->certificate_.certificate; }

void ScriptedServer::Finish() { play_->Finish(); }

std::vector<std::string> ScriptedServer::Requests() const {
  return play_->Locked(play_->requests_);
}

std::vector<std::string> ScriptedServer::TunnelRequests() const {
  return play_->Locked(play_->tunnelRequests_);
}

std::string ScriptedServer::StrayBytes() const { return play_->Locked(play_->stray_); }

std::vector<std::string> ScriptedServer::ServerNames() const {
  return play_->Locked(play_->serverNames_);
}

int ScriptedServer::Connections() const { return play_->connections_; }

std::string HttpAnswer(const std::string& status, const std::string& body) {
  return "HTTP/1.1 " + status + "\r\nContent-Type: text/xml; charset=utf-8\r\nContent-Length: " +
         std::to_string(body.size()) + "\r\n\r\n" + body;
}

}  // namespace Tunrak::Testing
