#include "serverclient/connection.h"

#include "serverclient/stubs.h"
#include "tunrak/application.h"
#include "tunrak/crypto.h"
#include "tunrak/http.h"
#include "tunrak/ssl.h"

namespace Halvard::ServerClient {
namespace {

using SpecPointer = std::shared_ptr<const Tunrak::Http::ConnectionSpec>;

SpecPointer MakeSpec(const std::string& host, std::int32_t port, const std::string& tunnelPath,
                     const std::string& thumbprint) {
  const auto keyStore = Tunrak::Crypto::CreateKeyStore("", "", {});
  if (thumbprint.empty()) Tunrak::Ssl::SetVerifySSLCertificates(Tunrak::Ssl::kVerifyNone);
  const auto context = Tunrak::Ssl::CreateSSLContext(keyStore, 0);
  SpecPointer spec = Tunrak::Http::CreateTCPConnectionSpec(host, port, false);
  if (!tunnelPath.empty()) {
    spec = Tunrak::Http::CreateTunneledConnectionSpec(spec, host, tunnelPath);
  }
  return Tunrak::Http::CreateSSLConnectionSpec(spec, context, host, thumbprint);
}

}  // namespace

void ConnectToKelvane(const std::string& host, std::int32_t port, const std::string& tunnelPath,
                      const std::string& thumbprint, KelvaneConnection& connection) {
  const auto userAgent =
      Tunrak::Http::CreateHttpUserAgent(MakeSpec(host, port, tunnelPath, thumbprint));
  const Zelmo::Version* version = Zelmo::FindVersion("quen25", "5.5");
  const auto adapter = Zelmo::CreateSoapStubAdapter(userAgent, "/sdk/quenService", version,
                                                    Tunrak::Service::GetDefaultLogger(), nullptr);
  connection.content = MakeServiceInstanceStub<Quen::ServiceInstance>(adapter)->RetrieveContent();
  connection.adapter = adapter;
}

std::shared_ptr<Quen::SessionManager> LogIn(const KelvaneConnection& connection,
                                            const std::string& user, const std::string& password) {
  auto sessions =
      MakeStub<Quen::SessionManager>(connection.adapter, connection.content.sessionManager);
  (void)sessions->Login(user, password, "en");
  return sessions;
}

}  // namespace Halvard::ServerClient
