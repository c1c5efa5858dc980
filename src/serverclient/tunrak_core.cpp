#include "serverclient/tunrak_core.h"

#include "tunrak/application.h"
#include "tunrak/ssl.h"
#include "zelmo/types.h"

namespace Halvard::ServerClient {

void InitTunrakCore() {
  const auto config = Tunrak::Service::CreateScratchConfig();
  // Failures reach the agent's own log as exceptions, and the console is the operator's.
  config->Set("log/outputToConsole", false);
  config->Set("log/outputToSyslog", false);
  config->Set("log/level", "error");
  Tunrak::Service::InitApp(*config);
  Zelmo::InitializeStaticTypes();
  Tunrak::Ssl::InitSSL("");
}

}  // namespace Halvard::ServerClient
