#include "service/infrastructure_component.h"

#include "service_test.h"

namespace Halvard::MigratorSvc {
namespace {

using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using testing::IsEmpty;

class InfrastructureComponent : public ServiceTest {
 protected:
  InfrastructureComponent() {
    gProperties[L"KV_VERSION"] = L"5.5";
    gProperties[L"SSO_HTTPS_PORT"] = L"8443";
    gProperties[L"INFRA_NODE_ADDRESS"] = L"infra \u00e4.example";
    gProperties[L"SSO_STS_URL"] = L"https://sts.example:7444/sts/STSService/ostrel.local";
    Testing::TheSurroundings().controllerVersion = L"5.5";
  }

  /// \return The component as compact text; empty after a failure.
  std::string Retrieve() {
    const Testing::ConsoleCapture console;
    Json::Value component;
    const bool retrieved = RetrieveInfrastructureComponentValues(component);
    console_ = console.Text();
    std::string text = Json::FastWriter().write(component);
    text.pop_back();
    return retrieved ? text : std::string();
  }

  std::wstring console_;
};

TEST_F(InfrastructureComponent, OfTheOlderLineLiesHereUnderFixedValues) {
  for (const wchar_t* type : {L"embedded", L"infrastructure"}) {
    gProperties[L"MIGRATION_TYPE"] = type;
    EXPECT_EQ(Retrieve(), R"({"domainName":"ostrel.local","fqdn":"localhost","httpsPort":443,)"
                          R"("version":"5.5"})");
  }
  EXPECT_THAT(Testing::CheckCalls(), IsEmpty());
}

TEST_F(InfrastructureComponent, OfTheNewerLineLiesHereAsItWasInstalled) {
  gProperties[L"SSO_VERSION"] = L"6.0";
  machine_.SetSystemVariable(L"OSTREL_CFG_DIR", L"C:\\cfg");
  machine_.WriteFile(L"C:\\cfg\\install-defaults\\ostreldir.domain-name", "corp.local\r\n");
  EXPECT_EQ(Retrieve(), R"({"domainName":"corp.local","fqdn":"localhost","httpsPort":8443,)"
                        R"("version":"6.0"})");
}

TEST_F(InfrastructureComponent, OfTheNewerLineNeedsADomain) {
  gProperties[L"SSO_VERSION"] = L"6.0";
  machine_.SetSystemVariable(L"OSTREL_CFG_DIR", L"C:\\cfg");
  machine_.MakeFolder(L"C:\\cfg\\install-defaults");
  SpeakMachineLanguage(kGerman);
  EXPECT_EQ(Retrieve(), "");
  EXPECT_EQ(console_, Message(kGerman, 1131) + L"\n");
  EXPECT_THAT(Testing::OwnLog(),
              Contains(ErrorLine(L"RetrieveInfrastructureComponentValues: Failed to retrieve the "
                                 L"SSO domain name from the install parameters.")));
}

struct RemotePort {
  const wchar_t* remoteVersion;
  const wchar_t* serverVersion;
  int port;
  bool asksLookupService;
};

class RemoteComponent : public InfrastructureComponent,
                        public testing::WithParamInterface<RemotePort> {};

TEST_P(RemoteComponent, IsReachedThroughItsProxyOnceItHasOne) {
  gProperties[L"MIGRATION_TYPE"] = L"management";
  gProperties[L"KV_VERSION"] = GetParam().serverVersion;
  Testing::TheSurroundings().controllerVersion = GetParam().remoteVersion;
  Testing::TheSurroundings().proxyPort = 4430;
  EXPECT_EQ(Retrieve(), R"({"domainName":"ostrel.local","fqdn":"infra \u00e4.example",)"
                        R"("httpsPort":)" +
                            std::to_string(GetParam().port) + R"(,"version":")" +
                            WideToUtf8(GetParam().remoteVersion) + R"("})");
  std::vector<std::string> calls{"RetrieveBVCMajorMinorVersion(infra \u00e4.example)"};
  if (GetParam().asksLookupService) {
    calls.push_back("RetrieveReverseProxyPort(sts.example, 7444)");
  }
  EXPECT_EQ(Testing::CheckCalls(), calls);
}

INSTANTIATE_TEST_SUITE_P(Versions, RemoteComponent,
                         testing::Values(RemotePort{L"5.5", L"5.5", 7444, false},
                                         RemotePort{L"5.5", L"6.0", 7444, false},
                                         RemotePort{L"6.0", L"6.0", 7444, false},
                                         RemotePort{L"6.0", L"5.5", 4430, true}));

TEST_F(InfrastructureComponent, ElsewhereHasToTellItsVersion) {
  gProperties[L"MIGRATION_TYPE"] = L"management";
  Testing::TheSurroundings().controllerVersion.reset();
  EXPECT_EQ(Retrieve(), "");
  EXPECT_EQ(console_, L"");
  EXPECT_THAT(Testing::OwnLog(),
              ElementsAre(ErrorLine(L"RetrieveInfrastructureComponentValues: Failed to retrieve "
                                    L"the version of remote Belvar Controller at "
                                    L"[infra \u00e4.example]")));
}

TEST_F(InfrastructureComponent, ElsewhereHasToTellItsProxy) {
  gProperties[L"MIGRATION_TYPE"] = L"management";
  Testing::TheSurroundings().controllerVersion = L"6.0";
  EXPECT_EQ(Retrieve(), "");
  EXPECT_THAT(Testing::OwnLog(),
              ElementsAre(ErrorLine(L"RetrieveInfrastructureComponentValues: Failed to retrieve "
                                    L"the Reverse Proxy port from host [sts.example] using legacy "
                                    L"STS port [7444].")));
}

struct TokenServiceUrl {
  const wchar_t* url;
  const char* domain;  ///< Null when the URL isn't one of the token service.
  int port;
};

class ComponentUrl : public InfrastructureComponent,
                     public testing::WithParamInterface<TokenServiceUrl> {};

TEST_P(ComponentUrl, GivesPortAndDomain) {
  gProperties[L"MIGRATION_TYPE"] = L"management";
  gProperties[L"SSO_STS_URL"] = GetParam().url;
  const std::string text = Retrieve();
  if (GetParam().domain == nullptr) {
    EXPECT_EQ(text, "");
    EXPECT_THAT(Testing::OwnLog(),
                ElementsAre(ErrorLine(L"RetrieveInfrastructureComponentValues: Failed to parse SSO "
                                      L"STS URL to get the SSO domain.")));
    EXPECT_THAT(Testing::CheckCalls(), IsEmpty());
    return;
  }
  Json::Value component;
  ASSERT_TRUE(Json::Reader().parse(text, component)) << text;
  EXPECT_EQ(component["domainName"], GetParam().domain);
  EXPECT_EQ(component["httpsPort"], GetParam().port);
}

INSTANTIATE_TEST_SUITE_P(
    Urls, ComponentUrl,
    testing::Values(
        TokenServiceUrl{L"https://n:7444/sts/STSService/ostrel.local", "ostrel.local", 7444},
        TokenServiceUrl{L"https://n/sts/STSService/ostrel.local", "ostrel.local", 443},
        TokenServiceUrl{L"http://n/sts/STSService/a", "a", 80},
        TokenServiceUrl{L"https://[2001:db8::1]:1/sts/STSService/a", "a", 1},
        TokenServiceUrl{L"https://n/proxy/sts/STSService/a/b?c#d", "a/b?c#d", 443},
        TokenServiceUrl{L"https://n/sts/STSService/a/sts/STSService/b", "a/sts/STSService/b", 443},
        TokenServiceUrl{L"https://n/sts/STSService/", "", 443},
        TokenServiceUrl{L"https://n/sts/STSService/\u00e4", "\u00e4", 443},
        TokenServiceUrl{L"https://n/sts/STSService", nullptr, 0},
        TokenServiceUrl{L"https://n/STS/stsservice/ostrel.local", nullptr, 0},
        TokenServiceUrl{L"https://n", nullptr, 0},
        TokenServiceUrl{L"https://n:0/sts/STSService/a", nullptr, 0},
        TokenServiceUrl{L"ftp://n/sts/STSService/a", nullptr, 0},
        TokenServiceUrl{L"/sts/STSService/a", nullptr, 0}, TokenServiceUrl{L"", nullptr, 0}));

}  // namespace
}  // namespace Halvard::MigratorSvc
