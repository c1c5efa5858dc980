// What OpenSSL alone takes: https_openssl_server PEM BODY. One connection after the other, with
// blocking calls and nothing around them: accept, handshake, one read, one answer, goodbye, close.
// Prints its port, and serves until its standard input ends.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "tls_settings.h"

namespace {

struct ContextDeleter {
  void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};

std::string AnswerWith(const std::string& body) {
  return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) +
         "\r\nConnection: close\r\nContent-Type: application/json\r\n\r\n" + body;
}

int Listen() {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (listener < 0 || bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      listen(listener, SOMAXCONN) != 0) {
    throw std::runtime_error("can't listen");
  }
  return listener;
}

int PortOf(int listener) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
  return ntohs(address.sin_port);
}

/// The request is taken to come in one piece, as it does here.
void ServeOne(SSL* ssl, const std::string& answer) {
  char request[8192];
  if (SSL_accept(ssl) != 1 || SSL_read(ssl, request, sizeof request) <= 0) return;
  (void)SSL_write(ssl, answer.data(), static_cast<int>(answer.size()));
  (void)SSL_shutdown(ssl);
}

void ServeAll(int listener, SSL_CTX* context, const std::string& answer) {
  for (;;) {
    const int client = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) continue;
    // The tickets are a segment before the answer, which mustn't wait for their acknowledgement.
    const int on = 1;
    setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    SSL* ssl = SSL_new(context);
    SSL_set_fd(ssl, client);
    ServeOne(ssl, answer);
    SSL_free(ssl);
    close(client);
  }
}

void Serve(const std::string& pem, const std::string& body) {
  const std::unique_ptr<SSL_CTX, ContextDeleter> context(SSL_CTX_new(TLS_server_method()));
  Bench::UseCertificate(context.get(), pem);
  Bench::SetCurveAndCiphers(context.get());
  const int listener = Listen();
  std::cout << PortOf(listener) << std::endl;
  std::thread([] {
    for (std::string line; std::getline(std::cin, line);) {
    }
    std::_Exit(0);
  }).detach();
  ServeAll(listener, context.get(), AnswerWith(body));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: https_openssl_server PEM BODY\n";
    return 2;
  }
  std::signal(SIGPIPE, SIG_IGN);
  try {
    Serve(argv[1], argv[2]);
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
