// The API's HTTPS server alone, over a provider that echoes: https_server PEM PORT. Serves on one
// I/O thread with the agent's TLS settings until its standard input ends, and prints the port.
#include <openssl/ssl.h>

#include <boost/asio/ip/tcp.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/trivial.hpp>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <string>

#include "krova/transport/http/request_handler.h"
#include "pion/http/server.h"
#include "pion/scheduler.h"

namespace {

class EchoProvider : public Krova::Core::AsyncApiProvider {
 public:
  std::string GetName() const override { return "EchoProvider"; }
  void Invoke(const std::shared_ptr<const Krova::Core::MethodIdentifier>&,
              const std::shared_ptr<const Krova::Data::DataValue>& input,
              const std::shared_ptr<Krova::Core::AsyncActivation>&,
              const Krova::Core::ProviderCompletion& completion) override {
    completion(std::make_shared<Krova::Core::MethodResult>(input), Krova::kFinished);
  }
};

void SetUpTls(pion::http::server& server, const std::string& pem) {
  server.set_ssl_key_file(pem);
  SSL_CTX* context = server.get_ssl_context_type().native_handle();
  SSL_CTX_set1_groups_list(context, "P-256");
  SSL_CTX_set_cipher_list(context,
                          "!aNULL:kECDH+AESGCM:ECDH+AESGCM:RSA+AESGCM:kECDH+AES:ECDH+AES:RSA+AES");
}

void Serve(const std::string& pem, std::uint16_t port) {
  pion::single_service_scheduler scheduler;
  scheduler.set_num_threads(1);
  pion::http::server server(scheduler, {boost::asio::ip::address_v4::any(), port});
  SetUpTls(server, pem);
  server.set_dispatch_after_headers(true);
  server.add_resource("/api",
                      Krova::Transport::Http::PionHttpServerRequestHandler(
                          std::make_shared<EchoProvider>(),
                          [&](const boost::function<void()>& work) { scheduler.post(work); }));
  server.start();
  std::cout << server.get_port() << std::endl;
  for (std::string line; std::getline(std::cin, line);) {
  }
  server.stop();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: https_server PEM PORT\n";
    return 2;
  }
  try {
    boost::log::core::get()->set_filter(boost::log::trivial::severity >= boost::log::trivial::info);
    Serve(argv[1], static_cast<std::uint16_t>(std::atoi(argv[2])));
    return 0;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
