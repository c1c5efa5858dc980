// Operations that this program doesn't have yet. Each refuses and says so in the log: an agent that
// can't check credentials must not go on as if it had. The file goes, function by function, as the
// real ones come.
#include "core/logging.h"
#include "network/directory_domain.h"
#include "network/network_choice.h"
#include "network/network_configuration.h"
#include "network/time_servers.h"
#include "security/export_directory.h"

namespace Halvard {

// The real one is on its way: path, rights and room of the folder.
bool Security::ValidateExportDir() {
  LogScope log;
  log.Error(L"ValidateExportDir: Refused. This build can't check the export folder.");
  return false;
}

bool Network::GetNTPServer(std::wstring&, std::wstring&, Json::Value&) {
  LogScope log;
  log.Error(L"GetNTPServer: Refused. This build can't ask time servers.");
  return false;
}

bool Network::GetActiveDirectoryConfig(ActiveDirectoryConfig&) {
  LogScope log;
  log.Error(L"GetActiveDirectoryConfig: Refused. This build can't ask for the domain.");
  return false;
}

bool Network::CollectNetworkToMigrate(const UserInput&, int) {
  LogScope log;
  log.Error(L"CollectNetworkToMigrate: Refused. This build can't settle the network.");
  return false;
}

bool Network::CollectNetworkIdentity(const std::wstring&, Json::Value&) {
  LogScope log;
  log.Error(L"CollectNetworkIdentity: Refused. This build can't collect the network.");
  return false;
}

}  // namespace Halvard
