#include "serverclient/proxy_port.h"

#include <optional>

#include "core/logging.h"
#include "core/text.h"
#include "lookup/service_instance.h"
#include "lookup/service_registration.h"
#include "serverclient/stubs.h"
#include "tunrak/http_url.h"

namespace Halvard::ServerClient {
namespace {

using Lookup::ServiceRegistration;

std::shared_ptr<Zelmo::SoapStubAdapter> MakeAdapter(const std::string& host, std::int32_t port) {
  const auto keyStore = Tunrak::Crypto::CreateKeyStore("", "", {});
  // Nobody knows a thumbprint of that node yet.
  Tunrak::Ssl::SetVerifySSLCertificates(Tunrak::Ssl::kVerifyNone);
  const auto context = Tunrak::Ssl::CreateSSLContext(keyStore, 0);
  const auto tcp = Tunrak::Http::CreateTCPConnectionSpec(host, port, false);
  const auto spec = Tunrak::Http::CreateSSLConnectionSpec(tcp, context, host, "");
  const auto userAgent = Tunrak::Http::CreateHttpUserAgent(spec);
  const Zelmo::Version* version = Zelmo::FindVersionByVmodlName("lookup.version.version2");
  return Zelmo::CreateSoapStubAdapter(userAgent, "/lookupservice/sdk", version,
                                      Tunrak::Service::GetDefaultLogger(), nullptr);
}

ServiceRegistration::Filter IdentityFilter() {
  ServiceRegistration::ServiceType service;
  service.SetProduct("com.ostrel.rimsa");
  service.SetType("cs.identity");
  ServiceRegistration::EndpointType endpoint;
  endpoint.SetProtocol("wsTrust");
  endpoint.SetType("com.ostrel.rimsa.cs.identity.sso");
  ServiceRegistration::Filter filter;
  filter.SetServiceType(service);
  filter.SetEndpointType(endpoint);
  return filter;
}

/// \return The URL of the identity service; none, with the reason logged, if it isn't registered.
/// \throws Tunrak::Exception
std::optional<std::string> FindIdentityUrl(const std::shared_ptr<Zelmo::SoapStubAdapter>& adapter) {
  LogScope log;
  const Lookup::ServiceContent content =
      MakeServiceInstanceStub<Lookup::ServiceInstance>(adapter)->RetrieveServiceContent();
  const ServiceRegistration::Filter filter = IdentityFilter();
  const auto& reference = content.GetServiceRegistration();
  if (!reference) {
    log.Error(
        L"RetrieveReverseProxyPortThroughLegacySTSPort: Failed to retrieve the ServiceRegistration reference.");
    return std::nullopt;
  }
  const auto infos = MakeStub<ServiceRegistration>(adapter, *reference)->List(filter);
  if (infos.empty() || infos.front().GetServiceEndpoints().empty()) {
    log.Error(
        L"RetrieveReverseProxyPortThroughLegacySTSPort: Failed to retreive the ServiceReigration Info.");
    return std::nullopt;
  }
  return infos.front().GetServiceEndpoints().front().GetUrl();
}

}  // namespace

bool RetrieveReverseProxyPortThroughLegacySTSPort(const std::string& host,
                                                  std::int32_t legacyStsPort, std::int32_t& port) {
  LogScope log;
  const std::wstring wideHost = Utf8ToWide(host);
  log.Info(
      L"RetrieveReverseProxyPortThroughLegacySTSPort: Retrieving Reverse Proxy Port from host [%s] using legacy STS port [%d].",
      wideHost.c_str(), legacyStsPort);
  try {
    const std::optional<std::string> url = FindIdentityUrl(MakeAdapter(host, legacyStsPort));
    if (!url) return false;
    log.Info(L"RetrieveReverseProxyPortThroughLegacySTSPort: SSO STS endpoint retrieved [%s].",
             Utf8ToWide(*url).c_str());
    std::string scheme;
    std::string urlHost;
    std::string path;
    Tunrak::Http::ParseHttpURL(*url, scheme, urlHost, port, path);
    log.Info(L"RetrieveReverseProxyPortThroughLegacySTSPort: Retrieved Reverse Proxy port [%d].",
             port);
    return true;
  } catch (const Tunrak::Exception& failure) {
    log.Warn(L"RetrieveReverseProxyPortThroughLegacySTSPort: %s",
             Utf8ToWide(failure.what()).c_str());
    log.Warn(
        L"RetrieveReverseProxyPortThroughLegacySTSPort: Failed to retrieve Reverse Proxy port. Host:[%s], Legacy STS Port:[%d]",
        wideHost.c_str(), legacyStsPort);
    return false;
  }
}

}  // namespace Halvard::ServerClient
