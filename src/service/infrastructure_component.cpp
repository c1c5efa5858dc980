#include "service/infrastructure_component.h"

#include <cstdint>
#include <string>

#include "core/console.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "core/text.h"
#include "host/registry.h"
#include "host/windows_api.h"
#include "security/controller_version.h"
#include "serverclient/service_thread.h"
#include "service/http_url.h"

namespace Halvard::MigratorSvc {
namespace {

/// What stands between the service's address and the domain in the token service's URL.
constexpr char kTokenServicePath[] = "/sts/STSService/";

struct TokenService {
  std::string host;
  std::int32_t port = 0;
  std::string domain;
};

bool DescribeLocalComponent(LogScope& log, Json::Value& component) {
  component["fqdn"] = "localhost";
  const std::wstring version = gProperties[L"SSO_VERSION"];
  component["version"] = WideToUtf8(version);
  if (version == L"5.5") {
    component["httpsPort"] = 443;
    component["domainName"] = WideToUtf8(DefaultSsoDomain);
    return true;
  }
  component["httpsPort"] = _wtoi(gProperties[L"SSO_HTTPS_PORT"].Value().c_str());
  const std::wstring domain = Host::GetInstallParameter(L"ostreldir.domain-name");
  if (domain.empty()) {
    PrintLine(GetLocalizedString(1131));
    log.Error(
        L"RetrieveInfrastructureComponentValues: Failed to retrieve the SSO domain name from the install parameters.");
    return false;
  }
  component["domainName"] = WideToUtf8(domain);
  return true;
}

bool FindTokenService(LogScope& log, TokenService& service) {
  std::string scheme;
  std::string path;
  // Of what is no URL the path is empty, and nothing is found in it.
  (void)ParseHttpUrlWrapper(WideToUtf8(gProperties[L"SSO_STS_URL"].Value()), scheme, service.host,
                            service.port, path);
  const std::size_t at = path.find(kTokenServicePath);
  if (at == std::string::npos) {
    log.Error(
        L"RetrieveInfrastructureComponentValues: Failed to parse SSO STS URL to get the SSO domain.");
    return false;
  }
  service.domain = path.substr(at + std::string(kTokenServicePath).size());
  return true;
}

/// A newer node serves everything through a reverse proxy. A server of the older line still knows
/// the port of the token service itself, which is another one.
bool FindHttpsPort(LogScope& log, const std::wstring& remoteVersion, const TokenService& service,
                   std::int32_t& port) {
  port = service.port;
  if (remoteVersion == L"5.5" || gProperties[L"KV_VERSION"] != L"5.5") return true;
  if (ServerClient::RetrieveReverseProxyPortThroughLegacySTSPortOnServiceThread(
          service.host, service.port, port)) {
    return true;
  }
  log.Error(
      L"RetrieveInfrastructureComponentValues: Failed to retrieve the Reverse Proxy port from host [%s] using legacy STS port [%d].",
      Utf8ToWide(service.host).c_str(), service.port);
  return false;
}

bool DescribeRemoteComponent(LogScope& log, Json::Value& component) {
  const std::wstring node = gProperties[L"INFRA_NODE_ADDRESS"];
  component["fqdn"] = WideToUtf8(node);
  TokenService service;
  if (!FindTokenService(log, service)) return false;
  component["domainName"] = service.domain;
  std::wstring version;
  if (!Security::RetrieveBVCMajorMinorVersion(node, version)) {
    log.Error(
        L"RetrieveInfrastructureComponentValues: Failed to retrieve the version of remote Belvar Controller at [%s]",
        node.c_str());
    return false;
  }
  component["version"] = WideToUtf8(version);
  std::int32_t port = 0;
  if (!FindHttpsPort(log, version, service, port)) return false;
  component["httpsPort"] = port;
  return true;
}

}  // namespace

bool RetrieveInfrastructureComponentValues(Json::Value& component) {
  LogScope log;
  return gProperties[L"MIGRATION_TYPE"] == L"management" ? DescribeRemoteComponent(log, component)
                                                         : DescribeLocalComponent(log, component);
}

}  // namespace Halvard::MigratorSvc
