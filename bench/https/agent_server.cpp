// The API's HTTPS server alone, over a provider that echoes: https_agent_server PEM. Prints its
// port, and serves on one I/O thread with the agent's TLS settings until its standard input ends.
#include <boost/asio/ip/tcp.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/trivial.hpp>
#include <exception>
#include <iostream>
#include <memory>
#include <string>

#include "krova/transport/http/request_handler.h"
#include "pion/http/server.h"
#include "pion/scheduler.h"
#include "tls_settings.h"

namespace {

/// Gives the input back, or nothing of it in the operation "take".
class EchoProvider : public Krova::Core::AsyncApiProvider {
 public:
  std::string GetName() const override { return "EchoProvider"; }
  void Invoke(const std::shared_ptr<const Krova::Core::MethodIdentifier>& method,
              const std::shared_ptr<const Krova::Data::DataValue>& input,
              const std::shared_ptr<Krova::Core::AsyncActivation>&,
              const Krova::Core::ProviderCompletion& completion) override {
    const bool takes = method->GetName() == "take";
    completion(std::make_shared<Krova::Core::MethodResult>(takes ? nothing_ : input),
               Krova::kFinished);
  }

 private:
  const std::shared_ptr<const Krova::Data::DataValue> nothing_ =
      std::make_shared<Krova::Data::StringValue>("");
};

void Serve(const std::string& pem) {
  pion::single_service_scheduler scheduler;
  scheduler.set_num_threads(1);
  pion::http::server server(scheduler, {boost::asio::ip::address_v4::any(), 0});
  server.set_ssl_key_file(pem);
  Bench::SetCurveAndCiphers(server.get_ssl_context_type().native_handle());
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
  if (argc != 2) {
    std::cerr << "usage: https_agent_server PEM\n";
    return 2;
  }
  try {
    boost::log::core::get()->set_filter(boost::log::trivial::severity >= boost::log::trivial::info);
    Serve(argv[1]);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
