#include "scripted_operations.h"

#include "core/startup/scripted_checks.h"
#include "core/text.h"
#include "host/services.h"
#include "network/network_configuration.h"
#include "runner/service_script.h"
#include "security/controller_version.h"
#include "serverclient/proxy_port.h"
#include "transfer/export_zip.h"
#include "transfer/log_bundle.h"
#include "transfer/secure_copy.h"

namespace Halvard {
namespace {

using Testing::CheckCalls;
using Testing::TheSurroundings;

/// Where a test may do something in the middle of a call.
void Reach(const std::function<void()>& place) {
  if (place) place();
}

}  // namespace

Testing::Surroundings& Testing::TheSurroundings() {
  static Surroundings surroundings;
  return surroundings;
}

bool Network::GetActiveDirectoryConfig(ActiveDirectoryConfig& config) {
  const auto& domain = TheSurroundings().domain;
  if (domain) config = *domain;
  return domain.has_value();
}

bool Network::CollectNetworkIdentity(const std::wstring& systemName, Json::Value& reply) {
  CheckCalls().push_back("CollectNetworkIdentity(" + WideToUtf8(systemName) + ")");
  reply = TheSurroundings().network;
  return TheSurroundings().networkIsCollected;
}

bool Security::RetrieveBVCMajorMinorVersion(const std::wstring& host, std::wstring& version) {
  CheckCalls().push_back("RetrieveBVCMajorMinorVersion(" + WideToUtf8(host) + ")");
  const auto& known = TheSurroundings().controllerVersion;
  if (known) version = *known;
  return known.has_value();
}

bool ServerClient::RetrieveReverseProxyPortThroughLegacySTSPort(const std::string& host,
                                                                std::int32_t legacyStsPort,
                                                                std::int32_t& port) {
  CheckCalls().push_back("RetrieveReverseProxyPort(" + host + ", " + std::to_string(legacyStsPort) +
                         ")");
  const auto& known = TheSurroundings().proxyPort;
  if (known) port = *known;
  return known.has_value();
}

bool Transfer::ZipUtil_CreateExportZip(const std::wstring& zipFile,
                                       const std::wstring& exportFolder,
                                       const Json::Value& /*request*/, std::wstring& errorText) {
  CheckCalls().push_back("ZipUtil_CreateExportZip(" + WideToUtf8(zipFile) + ", " +
                         WideToUtf8(exportFolder) + ")");
  Reach(TheSurroundings().duringZip);
  const auto& error = TheSurroundings().exportZipError;
  if (error) errorText = *error;
  return !error.has_value();
}

bool Transfer::CreateLogsZipBundle(const std::wstring& zipFile) {
  CheckCalls().push_back("CreateLogsZipBundle(" + WideToUtf8(zipFile) + ")");
  Reach(TheSurroundings().duringZip);
  return TheSurroundings().logsAreBundled;
}

bool Transfer::ScpFileWithRetries(const std::string& server, const std::string& remotePath,
                                  const std::string& user, const std::string& password,
                                  const std::string& thumbprint, const std::wstring& localFile) {
  CheckCalls().push_back("ScpFileWithRetries(" + server + ", " + remotePath + ", " + user + ", " +
                         password + ", " + thumbprint + ", " + WideToUtf8(localFile) + ")");
  Reach(TheSurroundings().duringCopy);
  return TheSurroundings().filesArrive;
}

std::vector<std::wstring> Host::StartServices(const std::vector<std::wstring>& names) {
  Reach(TheSurroundings().duringServices);
  return names;
}

bool Runner::ServiceControlStartStopAllServices(bool /*start*/) { return true; }

}  // namespace Halvard
