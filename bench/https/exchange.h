// One request of the load, from its connection to the end of its answer.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "tls_client.h"

namespace Bench {

using Clock = std::chrono::steady_clock;

/// One connection with its request, driven by whatever the socket has become ready for.
class Exchange {
 public:
  enum class State { kRunning, kIdle, kDone, kFailed };

  /// \param request  Empty: the exchange ends idle, behind its handshake.
  Exchange(SSL_CTX* context, int port, const std::string& request)
      : ssl_(SSL_new(context)), request_(request), begin_(Clock::now()) {
    socket_ = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    (void)connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address);
    SSL_set_fd(ssl_.get(), socket_);
    SSL_set_connect_state(ssl_.get());
    if (ServersSession()) Resume();
  }
  ~Exchange() {
    // An abrupt end would make the session unfit for resumption.
    SSL_set_shutdown(ssl_.get(), SSL_SENT_SHUTDOWN | SSL_RECEIVED_SHUTDOWN);
    close(socket_);
  }
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  int Socket() const { return socket_; }
  bool Resumed() const { return SSL_session_reused(ssl_.get()) == 1; }
  double Milliseconds() const {
    return std::chrono::duration<double, std::milli>(end_ - begin_).count();
  }
  std::string Answer() const { return answer_.substr(std::min(head_, answer_.size())); }

  State Step() {
    ERR_clear_error();
    if (SSL_is_init_finished(ssl_.get()) == 0) {
      const int result = SSL_do_handshake(ssl_.get());
      if (result != 1) return Waiting(result);
    }
    if (request_.empty()) return State::kIdle;
    while (sent_ < request_.size()) {
      std::size_t bytes = 0;
      const int result =
          SSL_write_ex(ssl_.get(), request_.data() + sent_, request_.size() - sent_, &bytes);
      if (result != 1) return Waiting(result);
      sent_ += bytes;
    }
    return Read();
  }

 private:
  /// With a session of its own: a fresh ticket makes the one that it replaces unfit.
  void Resume() {
    const SessionPointer copy(SSL_SESSION_dup(ServersSession().get()));
    SSL_set_session(ssl_.get(), copy.get());
  }

  State Read() {
    char buffer[16384];
    for (;;) {
      std::size_t bytes = 0;
      const int result = SSL_read_ex(ssl_.get(), buffer, sizeof buffer, &bytes);
      if (result != 1) return Waiting(result);
      answer_.append(buffer, bytes);
      NoteEnd();
    }
  }

  /// Takes the time when the answer is whole. The server's end of the connection comes later.
  void NoteEnd() {
    if (whole_ == 0) {
      const std::size_t headEnd = answer_.find("\r\n\r\n");
      if (headEnd == std::string::npos) return;
      head_ = headEnd + 4;
      const std::size_t length = answer_.find("Content-Length: ");
      if (length >= headEnd) return;
      whole_ = head_ + std::strtoul(answer_.c_str() + length + 16, nullptr, 10);
    }
    if (answer_.size() >= whole_ && end_ == Clock::time_point()) end_ = Clock::now();
  }

  State Waiting(int result) const {
    const int error = SSL_get_error(ssl_.get(), result);
    if (error == SSL_ERROR_WANT_READ || error == SSL_ERROR_WANT_WRITE) return State::kRunning;
    // With or without a goodbye: the length told that nothing is missing.
    return end_ != Clock::time_point() ? State::kDone : State::kFailed;
  }

  SslPointer ssl_;
  const std::string& request_;
  const Clock::time_point begin_;
  Clock::time_point end_;
  int socket_ = -1;
  std::size_t sent_ = 0;
  std::size_t head_ = 0;
  std::size_t whole_ = 0;
  std::string answer_;
};

}  // namespace Bench
