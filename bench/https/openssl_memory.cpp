// What the server's side of TLS takes without any socket: https_openssl_memory PEM TLS RESUME
// COUNT. Client and server hand their bytes over in memory; a handshake, one record each way and
// the goodbyes are repeated so many times. Prints the server's processor time of one in
// microseconds.
#include <openssl/bio.h>
#include <openssl/ssl.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include "tls_client.h"
#include "tls_settings.h"

namespace {

using Bench::ContextPointer;
using Bench::SslPointer;

constexpr char kRequest[350] = "POST /api HTTP/1.1";
constexpr char kAnswer[250] = "HTTP/1.1 200 OK";

double ThreadMicroseconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

/// One connection, both of whose ends are here.
class Pair {
 public:
  Pair(SSL_CTX* client, SSL_CTX* server, bool resume) : client_(SSL_new(client)) {
    BIO* toServer = BIO_new(BIO_s_mem());
    BIO* toClient = BIO_new(BIO_s_mem());
    BIO_up_ref(toServer);
    BIO_up_ref(toClient);
    SSL_set_bio(client_.get(), toClient, toServer);
    SSL_set_connect_state(client_.get());
    if (resume && Bench::ServersSession()) {
      const Bench::SessionPointer copy(SSL_SESSION_dup(Bench::ServersSession().get()));
      SSL_set_session(client_.get(), copy.get());
    }
    Serve([&] {
      server_.reset(SSL_new(server));
      SSL_set_bio(server_.get(), toServer, toClient);
      SSL_set_accept_state(server_.get());
    });
  }

  /// \return The server's microseconds.
  double Run(bool resume) {
    char buffer[1024];
    while (SSL_is_init_finished(client_.get()) == 0 || SSL_is_init_finished(server_.get()) == 0) {
      SSL_do_handshake(client_.get());
      Serve([&] { SSL_do_handshake(server_.get()); });
    }
    SSL_write(client_.get(), kRequest, sizeof kRequest);
    Serve([&] {
      if (SSL_read(server_.get(), buffer, sizeof buffer) != sizeof kRequest) {
        throw std::runtime_error("the request didn't arrive");
      }
      SSL_write(server_.get(), kAnswer, sizeof kAnswer);
      SSL_shutdown(server_.get());
    });
    if (SSL_read(client_.get(), buffer, sizeof buffer) != sizeof kAnswer ||
        (resume && SSL_session_reused(client_.get()) != 1)) {
      throw std::runtime_error("the answer isn't what it should be");
    }
    SSL_set_shutdown(client_.get(), SSL_SENT_SHUTDOWN | SSL_RECEIVED_SHUTDOWN);
    Serve([&] { server_.reset(); });
    return microseconds_;
  }

 private:
  template <typename Work>
  void Serve(const Work& work) {
    const double begin = ThreadMicroseconds();
    work();
    microseconds_ += ThreadMicroseconds() - begin;
  }

  SslPointer client_;
  SslPointer server_;
  double microseconds_ = 0;
};

void Measure(const std::string& pem, const std::string& version, bool resume, int count) {
  const ContextPointer server(SSL_CTX_new(TLS_server_method()));
  Bench::UseCertificate(server.get(), pem);
  Bench::SetCurveAndCiphers(server.get());
  const int tls = version == "1.3" ? TLS1_3_VERSION : TLS1_2_VERSION;
  const ContextPointer client = Bench::MakeClientContext(tls, resume);
  Pair(client.get(), server.get(), false).Run(false);
  double sum = 0;
  for (int i = 0; i < count; ++i) sum += Pair(client.get(), server.get(), resume).Run(resume);
  std::printf("%.1f\n", sum / count);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::cerr << "usage: https_openssl_memory PEM TLS RESUME COUNT\n";
    return 2;
  }
  try {
    Measure(argv[1], argv[2], std::atoi(argv[3]) != 0, std::atoi(argv[4]));
    return 0;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
