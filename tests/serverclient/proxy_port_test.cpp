#include "serverclient/proxy_port.h"

#include "client_test.h"

namespace Halvard::ServerClient {
namespace {

using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using Testing::LogLine;
using Testing::OwnLog;
using Testing::WarningLine;
using Tunrak::Testing::ConnectionScript;
using Tunrak::Testing::ScriptedServer;
using Zelmo::Testing::RequestEnvelope;

const std::wstring kName = L"RetrieveReverseProxyPortThroughLegacySTSPort: ";

std::string Answer(const std::string& operation, const std::string& results) {
  return Zelmo::Testing::Response(operation, results, "urn:lookup");
}

std::string ContentWithRegistration() {
  return Answer("RetrieveServiceContent",
                "<result><serviceRegistration type=\"LookupServiceRegistration\">sr"
                "</serviceRegistration></result>");
}

std::string Registration(const std::string& endpoints) {
  return "<result><serviceId>1</serviceId><serviceType><product>com.ostrel.rimsa</product>"
         "<type>cs.identity</type></serviceType>" +
         endpoints + "</result>";
}

std::string Endpoint(const std::string& url) {
  return "<serviceEndpoints><url>" + url +
         "</url><endpointType><protocol>wsTrust</protocol><type>sso</type></endpointType>"
         "</serviceEndpoints>";
}

class ProxyPort : public ClientTest {
 protected:
  bool Retrieve(const ScriptedServer& server) {
    return RetrieveReverseProxyPortThroughLegacySTSPort("127.0.0.1", server.Port(), port_);
  }

  static LogLine Begin(const ScriptedServer& server) {
    return InfoLine(kName +
                    L"Retrieving Reverse Proxy Port from host [127.0.0.1] using legacy STS port [" +
                    std::to_wstring(server.Port()) + L"].");
  }

  static LogLine Failed(const ScriptedServer& server) {
    return WarningLine(kName +
                       L"Failed to retrieve Reverse Proxy port. Host:[127.0.0.1], Legacy STS "
                       L"Port:[" +
                       std::to_wstring(server.Port()) + L"]");
  }

  std::int32_t port_ = 77;
};

TEST_F(ProxyPort, PortOfTheFirstEndpointIsTheAnswer) {
  ScriptedServer server(
      {ContentWithRegistration(),
       Answer("List", Registration(Endpoint("https://sso.example:8443/sts/STSService") +
                                   Endpoint("https://other.example:1/")) +
                          Registration(Endpoint("https://third.example:2/")))});
  EXPECT_TRUE(Retrieve(server));
  EXPECT_EQ(port_, 8443);
  EXPECT_THAT(
      Contents(server),
      ElementsAre(RequestEnvelope("<RetrieveServiceContent xmlns=\"urn:lookup\">"
                                  "<self type=\"LookupServiceInstance\">ServiceInstance</self>"
                                  "</RetrieveServiceContent>"),
                  RequestEnvelope(
                      "<List xmlns=\"urn:lookup\"><self type=\"LookupServiceRegistration\">sr"
                      "</self><filterCriteria><serviceType><product>com.ostrel.rimsa</product>"
                      "<type>cs.identity</type></serviceType><endpointType>"
                      "<protocol>wsTrust</protocol><type>com.ostrel.rimsa.cs.identity.sso</type>"
                      "</endpointType></filterCriteria></List>")));
  EXPECT_THAT(server.Requests()[0], testing::StartsWith("POST /lookupservice/sdk HTTP/1.1\r\n"));
  EXPECT_THAT(OwnLog(), ElementsAre(Begin(server),
                                    InfoLine(kName + L"SSO STS endpoint retrieved "
                                                     L"[https://sso.example:8443/sts/STSService]."),
                                    InfoLine(kName + L"Retrieved Reverse Proxy port [8443].")));
}

TEST_F(ProxyPort, CheckOfCertificatesIsOffFromThenOn) {
  ScriptedServer server({Answer("RetrieveServiceContent", "<result/>")});
  EXPECT_FALSE(Retrieve(server));
  EXPECT_EQ(Tunrak::Ssl::GetVerifySSLCertificates(), -1);
}

TEST_F(ProxyPort, UrlWithoutAPortHasThatOfItsScheme) {
  ScriptedServer server({ContentWithRegistration(),
                         Answer("List", Registration(Endpoint("https://sso.example/sts")))});
  EXPECT_TRUE(Retrieve(server));
  EXPECT_EQ(port_, 443);
}

TEST_F(ProxyPort, ServiceWithoutARegistrationReferenceIsAFailure) {
  ScriptedServer server({Answer("RetrieveServiceContent", "<result/>")});
  EXPECT_FALSE(Retrieve(server));
  EXPECT_EQ(port_, 77);
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(Begin(server),
                  ErrorLine(kName + L"Failed to retrieve the ServiceRegistration reference.")));
}

TEST_F(ProxyPort, NoRegisteredEndpointIsAFailure) {
  for (const std::string& results : {std::string(), Registration("")}) {
    machine_.RemoveFile(L"%TEMP%\\halvard.log");
    ScriptedServer server({ContentWithRegistration(), Answer("List", results)});
    EXPECT_FALSE(Retrieve(server));
    EXPECT_EQ(port_, 77);
    EXPECT_THAT(OwnLog(),
                ElementsAre(Begin(server),
                            ErrorLine(kName + L"Failed to retreive the ServiceReigration Info.")));
  }
}

TEST_F(ProxyPort, UrlThatIsNoneIsAFailure) {
  ScriptedServer server({ContentWithRegistration(),
                         Answer("List", Registration(Endpoint("ldap://sso.example:636/")))});
  EXPECT_FALSE(Retrieve(server));
  EXPECT_EQ(port_, 77);
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(Begin(server),
                  InfoLine(kName + L"SSO STS endpoint retrieved [ldap://sso.example:636/]."),
                  WarningLine(kName + L"Not a URL of HTTP: \"ldap://sso.example:636/\" has another "
                                      L"scheme."),
                  Failed(server)));
}

TEST_F(ProxyPort, UnreachableHostEndsInTwoWarnings) {
  ScriptedServer server(std::vector<ConnectionScript>{});
  server.Finish();
  EXPECT_FALSE(Retrieve(server));
  EXPECT_EQ(port_, 77);
  EXPECT_THAT(OwnLog(), ElementsAre(Begin(server),
                                    WarningLine(kName + L"RetrieveServiceContent on " +
                                                Wide(server) + L" failed: Connecting to " +
                                                Wide(server) + L" failed: connection refused."),
                                    Failed(server)));
}

}  // namespace
}  // namespace Halvard::ServerClient
