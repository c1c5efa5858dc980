// The agent's service while an export runs: poll_agent PEM BYTES. The export is a runner of the lab
// that has written a document of about so many bytes and waits. Prints the port; serves on one I/O
// thread with the agent's TLS settings until standard input ends.
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/trivial.hpp>
#include <exception>
#include <iostream>
#include <memory>
#include <string>

#include "../https/api_server.h"
#include "core/locales.h"
#include "core/property_defaults.h"
#include "core/property_store.h"
#include "core/text.h"
#include "krova/provider/container.h"
#include "krova/provider/local_provider.h"
#include "krova/transport/http/request_handler.h"
#include "pion/http/server.h"
#include "pion/scheduler.h"
#include "runner/export_phase.h"
#include "service/async_service.h"
#include "service/interface_definition.h"
#include "support/scripted_runner.h"
#include "support/started_threads.h"

namespace {

using Halvard::gProperties;
using Halvard::Testing::ScriptedRunner;
using Halvard::Testing::Step;
using Krova::Provider::DummyMutex;

/// Progress by component, as a runner writes it, until the text is long enough.
std::string Document(std::size_t size) {
  std::string text = R"({"status": "running", "progress": [)";
  for (int i = 0; text.size() < size; ++i) {
    text += (i == 0 ? "" : ",") + std::string(R"({"component": "com.ostrel.component)") +
            std::to_string(i) + R"(", "percent": )" + std::to_string(i % 100) +
            R"(, "message": "Exported \"C:\\Data\\file\" of \u8a66\u9a13", "warnings": []})";
  }
  return text + "]}";
}

void StartExport(ScriptedRunner& runner, std::size_t size) {
  Halvard::InitializeProperties();
  Halvard::SetHVLocale();
  gProperties[L"MC_LOCALE"] = L"en";
  gProperties[L"SSO_USERNAME"] = L"administrator@ostrel.local";
  gProperties[L"SSO_PASSWORD"] = L"secret";
  gProperties[L"URExtractDirectory"] = ScriptedRunner::kFolder;
  runner.OrderExport({Step("write", Document(size)), Step("tell", "written"), Step("wait", "end")});
  Halvard::Runner::LaunchUpgradeRunnerExportPhase(false);
  runner.WaitFor(L"written");
}

pion::http::server::request_handler_t MakeHandler(pion::single_service_scheduler& scheduler) {
  const auto container =
      std::make_shared<Krova::Provider::AsyncApiInterfaceConcurrentContainer<DummyMutex>>();
  Krova::MessageList errors;
  container->Register(Halvard::MigratorSvc::MakeMigratorInterface(
                          std::make_shared<Halvard::MigratorSvc::AsyncServiceImpl>()),
                      errors);
  const Krova::Core::Executor executor = [&scheduler](const boost::function<void()>& work) {
    scheduler.post(work);
  };
  return Krova::Transport::Http::PionHttpServerRequestHandler(
      std::make_shared<Krova::Provider::AsyncLocalProvider<DummyMutex>>(container, executor),
      executor);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: poll_agent PEM BYTES\n";
    return 2;
  }
  try {
    boost::log::core::get()->set_filter(boost::log::trivial::severity >= boost::log::trivial::info);
    Lab::Instance machine;
    const Lab::StartedThreads threads;
    ScriptedRunner runner(machine);
    StartExport(runner, std::stoul(argv[2]));
    Bench::ServeApi(argv[1], MakeHandler);
    runner.Tell(L"end");
    threads.AwaitEnd();
    return 0;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
