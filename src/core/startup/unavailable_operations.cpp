// Operations that start-up calls and this program doesn't have yet. Each refuses and says so in the
// log: an agent that can't check credentials must not go on as if it had. The file goes, function
// by function, as the real ones come.
#include "core/logging.h"
#include "security/service_accounts.h"
#include "serverclient/credentials.h"
#include "serverclient/inventory_size.h"

namespace Halvard {

bool ServerClient::ValidateKvAdminCredentials(const std::string&, std::int32_t, const std::string&,
                                              const std::string&, const std::string&,
                                              const std::string&) {
  LogScope log;
  log.Error(L"ValidateKvAdminCredentials: Refused. This build has no Kelvane Server client.");
  return false;
}

bool ServerClient::GetInventorySize(const std::string&, std::int32_t, const std::string&,
                                    const std::string&, const std::string&, const std::string&,
                                    std::int32_t&, std::int32_t&) {
  LogScope log;
  log.Error(L"GetInventorySize: Refused. This build has no Kelvane Server client.");
  return false;
}

bool Security::ValidateServiceAccountCredentials(const std::wstring&, const std::wstring&) {
  LogScope log;
  log.Error(L"ValidateServiceAccountCredentials: Refused. This build can't check accounts.");
  return false;
}

}  // namespace Halvard
