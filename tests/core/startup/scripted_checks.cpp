#include "scripted_checks.h"

#include <sstream>

#include "core/logging.h"
#include "core/property_store.h"
#include "core/text.h"
#include "discovery/premigration_checks.h"
#include "host/windows_api.h"
#include "security/directory_credentials.h"
#include "security/service_accounts.h"
#include "serverclient/credentials.h"
#include "serverclient/inventory_size.h"
#include "serverclient/temporary_extension.h"

namespace Halvard {
namespace {

template <typename... Arguments>
void Note(const std::string& name, const Arguments&... arguments) {
  std::ostringstream call;
  std::string separator;
  call << name << '(';
  ((call << separator << arguments, separator = ", "), ...);
  call << ')';
  Testing::CheckCalls().push_back(call.str());
}

bool FailsAsPlanned(const wchar_t* variable, const wchar_t* operation) {
  wchar_t planned[64] = {};
  return GetEnvironmentVariableW(variable, planned, 64) != 0 && std::wstring(planned) == operation;
}

/// What the choice of the system's name would have found.
void AssumeName() {
  wchar_t address[64] = {};
  if (GetEnvironmentVariableW(Testing::kAddressVariable, address, 64) == 0) return;
  wchar_t name[64] = {};
  const bool hasName = GetEnvironmentVariableW(Testing::kNameVariable, name, 64) != 0;
  gProperties[L"APP_NET_PNID"] = hasName ? name : address;
  gProperties[L"CERT_IP_ADDRESSES"] = address;
  gProperties[L"CERT_DNS_NAMES"] = L"kv.example";
}

bool IsAccepted(const std::wstring& password) {
  AssumeName();
  return password == Testing::kAcceptedPassword;
}

}  // namespace

std::vector<std::string>& Testing::CheckCalls() {
  static std::vector<std::string> calls;
  return calls;
}

bool ServerClient::ValidateKvAdminCredentials(const std::string& host, std::int32_t port,
                                              const std::string& tunnelPath,
                                              const std::string& thumbprint,
                                              const std::string& user,
                                              const std::string& password) {
  Note("ValidateKvAdminCredentials", host, port, tunnelPath, thumbprint, user);
  return IsAccepted(Utf8ToWide(password));
}

bool ServerClient::GetInventorySize(const std::string& host, std::int32_t port,
                                    const std::string& tunnelPath, const std::string& thumbprint,
                                    const std::string& user, const std::string& password,
                                    std::int32_t& hosts, std::int32_t& machines) {
  Note("GetInventorySize", host, port, tunnelPath, thumbprint, user);
  wchar_t inventory[64] = {};
  if (GetEnvironmentVariableW(Testing::kInventoryVariable, inventory, 64) == 0) return false;
  std::wistringstream(inventory) >> hosts >> machines;
  return IsAccepted(Utf8ToWide(password));
}

bool ServerClient::RegisterUpdateHVExtension(const std::string& host, std::int32_t port,
                                             const std::string& tunnelPath,
                                             const std::string& thumbprint, const std::string& user,
                                             const std::string& password,
                                             const std::string& agentHost,
                                             const std::string& agentPort,
                                             const std::string& agentThumbprint) {
  Note("RegisterUpdateHVExtension", host, port, tunnelPath, thumbprint, user, agentHost, agentPort,
       agentThumbprint);
  return IsAccepted(Utf8ToWide(password)) &&
         !FailsAsPlanned(Testing::kExtensionFailureVariable, L"register");
}

bool ServerClient::UnregisterHVExtension(const std::string& host, std::int32_t port,
                                         const std::string& tunnelPath,
                                         const std::string& thumbprint, const std::string& user,
                                         const std::string& password,
                                         const std::string& agentHost) {
  Note("UnregisterHVExtension", host, port, tunnelPath, thumbprint, user, agentHost);
  return IsAccepted(Utf8ToWide(password)) &&
         !FailsAsPlanned(Testing::kExtensionFailureVariable, L"unregister");
}

bool Discovery::RunPreMigrationChecks(int argc) {
  LogScope log;
  log.Info(L"Scripted: RunPreMigrationChecks(%d)", argc);
  return !FailsAsPlanned(Testing::kCheckFailureVariable, L"checks");
}

bool Discovery::CheckDefaultGateway() {
  LogScope log;
  log.Info(L"Scripted: CheckDefaultGateway");
  return !FailsAsPlanned(Testing::kCheckFailureVariable, L"gateway");
}

bool Security::ValidateLocalSSOCredentials(const std::wstring& user, const std::wstring& password,
                                           bool isVersion55) {
  Note("ValidateLocalSSOCredentials", WideToUtf8(user), isVersion55 ? "5.5" : "later");
  return IsAccepted(password);
}

bool Security::ValidateServiceAccountCredentials(const std::wstring& user,
                                                 const std::wstring& password) {
  Note("ValidateServiceAccountCredentials", WideToUtf8(user));
  return IsAccepted(password);
}

bool Security::RetrieveKelvdServiceAccountUser() {
  Note("RetrieveKelvdServiceAccountUser");
  gProperties[L"KELVD_SA_USER"] = L"";
  return true;
}

}  // namespace Halvard
