// The API's HTTPS server alone, over a provider that echoes: https_agent_server PEM. Prints its
// port, and serves on one I/O thread with the agent's TLS settings until its standard input ends.
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/trivial.hpp>
#include <exception>
#include <iostream>
#include <memory>
#include <string>

#include "api_server.h"
#include "krova/transport/http/request_handler.h"
#include "pion/http/server.h"
#include "pion/scheduler.h"

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

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: https_agent_server PEM\n";
    return 2;
  }
  try {
    boost::log::core::get()->set_filter(boost::log::trivial::severity >= boost::log::trivial::info);
    Bench::ServeApi(argv[1], [](pion::single_service_scheduler& scheduler) {
      return Krova::Transport::Http::PionHttpServerRequestHandler(
          std::make_shared<EchoProvider>(),
          [&scheduler](const boost::function<void()>& work) { scheduler.post(work); });
    });
    return 0;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
