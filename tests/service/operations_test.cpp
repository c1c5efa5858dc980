// What operations do behind their guards.
#include "core/server_lifetime.h"
#include "machine/handles.h"
#include "pion/http/server.h"
#include "pion/scheduler.h"
#include "service_test.h"

namespace Halvard::MigratorSvc {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using testing::Not;

class Operations : public ServiceTest {
 protected:
  CallResult DeploymentType() {
    return Call(&AsyncServiceInterface::GetSourceDeploymentType, GoodRequest());
  }

  CallResult ValidateAccount(const std::string& user, const std::string& password,
                             const std::string& locale = "en") {
    Json::Value request = GoodRequest(locale);
    request["ad_username"] = user;
    request["ad_password"] = password;
    return Call(&AsyncServiceInterface::ValidateActiveDirectoryCredentials, request);
  }

  static Json::Value AccountWith(const char* password) {
    Json::Value account;
    account["password"] = password;
    return account;
  }

  /// A machine that has joined a domain, and an account there.
  void JoinDomain(const char* trust = "whole") {
    Json::Value domain;
    domain["name"] = "corp.example";
    domain["netbiosName"] = "CORP";
    domain["trust"] = trust;
    machine_.Set("/domain", domain);
    machine_.Set("/accounts/CORP\\maria", AccountWith("Gr\u00fc\u00dfe"));
    gProperties[L"AD_NAME"] = L"corp.example";
  }
};

TEST_F(Operations, DeploymentTypeIsAnsweredToTheByte) {
  gProperties[L"DST_DEPLOYMENT_SIZE"] = L"Small";
  EXPECT_EQ(DeploymentType().text,
            "{\n"
            "   \"deployment_size\" : \"Small\",\n"
            "   \"deployment_type\" : \"embedded\",\n"
            "   \"deployment_ver\" : \"5.5\",\n"
            "   \"error\" : \"\",\n"
            "   \"hv_kvsa_version\" : \"6.0.0.14510545\",\n"
            "   \"result\" : \"success\"\n"
            "}\n");
}

TEST_F(Operations, DeploymentSizeIsToldForMachinesWithAnInventoryAlone) {
  for (const wchar_t* type : {L"embedded", L"management"}) {
    gProperties[L"MIGRATION_TYPE"] = type;
    EXPECT_EQ(DeploymentType().reply["deployment_size"], "Tiny");
  }
  for (const wchar_t* type : {L"infrastructure", L"tum"}) {
    gProperties[L"MIGRATION_TYPE"] = type;
    EXPECT_EQ(DeploymentType().reply["deployment_size"], "");
    EXPECT_EQ(Utf8ToWide(DeploymentType().reply["deployment_type"].asString()), type);
  }
}

TEST_F(Operations, DeploymentTypeIsAnnouncedBeforeAndAfterTheGuards) {
  const CallResult result = DeploymentType();
  EXPECT_EQ(result.console,
            L"Collecting source deployment type...\nReturning deployment type: embedded\n");
}

TEST_F(Operations, EndOfTheAgentComesASecondAfterTheReply) {
  machine_.Set("/clock/speed", 50);
  gProperties[L"MIGRATION_TYPE"] = L"tum";
  pion::single_service_scheduler scheduler;
  auto server = std::make_unique<pion::http::server>(
      scheduler, boost::asio::ip::tcp::endpoint(boost::asio::ip::address_v4::loopback(), 0));
  server->start();
  SetServer(std::move(server));
  const std::uint64_t before = Lab::TheMachine().Clock().Ticks();
  const CallResult result = Call(&AsyncServiceInterface::ShutdownHv, GoodRequest());
  JoinServer();
  EXPECT_GE(Lab::TheMachine().Clock().Ticks() - before, 1'000u);
  DestroyServer();
  EXPECT_EQ(result.text, "{\n   \"error\" : \"\",\n   \"result\" : \"success\"\n}\n");
  EXPECT_EQ(result.console, L"");
  EXPECT_THAT(result.log,
              Contains(InfoLine(FullName(L"ShutdownHv") +
                                L": Successfully created a child thread to shutdown halvard.")));
}

TEST_F(Operations, EndOfTheAgentThatCannotBeginIsTold) {
  machine_.PlanFault({.function = "CreateThread", .error = 8});
  gProperties[L"MIGRATION_TYPE"] = L"tum";
  const CallResult result = Call(&AsyncServiceInterface::ShutdownHv, GoodRequest("fr"));
  EXPECT_TRUE(result.Failed());
  EXPECT_EQ(Utf8ToWide(result.Error()), Message(kFrench, 1171));
  EXPECT_EQ(result.console, L"Failed to shutdown halvard.\n");
  EXPECT_THAT(result.log,
              Contains(ErrorLine(FullName(L"ShutdownHv") + L": Failed to shutdown halvard.")));
}

TEST_F(Operations, EndOfTheAgentWaitsForARunningExportAndNotForAFailedOne) {
  machine_.PlanFault({.function = "CreateThread", .error = 8});
  gProperties[L"MIGRATION_TYPE"] = L"tum";
  gProperties[L"EXPORT_STATUS"] = L"RUNNING";
  EXPECT_EQ(Utf8ToWide(Call(&AsyncServiceInterface::ShutdownHv, GoodRequest()).Error()),
            Message(kEnglish, 1170));
  gProperties[L"EXPORT_STATUS"] = L"FINISHED";
  EXPECT_EQ(Utf8ToWide(Call(&AsyncServiceInterface::ShutdownHv, GoodRequest()).Error()),
            Message(kEnglish, 1171));
}

TEST_F(Operations, FailedExportLeavesTheCredentialsBetweenAClientAndTheShutdown) {
  gProperties[L"EXPORT_STATUS"] = L"FINISHED";
  Json::Value request = GoodRequest();
  request["sso_password"] = "wrong";
  const CallResult refused = Call(&AsyncServiceInterface::ShutdownMachine, request);
  EXPECT_EQ(Utf8ToWide(refused.Error()), Message(kEnglish, 1098));
  EXPECT_EQ(refused.console, L"Shutting down machine...\n");
}

TEST_F(Operations, AccountOfTheDomainIsValidated) {
  JoinDomain();
  SpeakMachineLanguage(kGerman);
  const CallResult result = ValidateAccount("maria", "Gr\u00fc\u00dfe");
  EXPECT_EQ(result.text, "{\n   \"error\" : \"\",\n   \"result\" : \"success\"\n}\n");
  EXPECT_EQ(result.console, Message(kGerman, 1201) + L"\n" + Message(kGerman, 1202) + L"\n");
  const std::wstring name = FullName(L"ValidateActiveDirectoryCredentials") + L": ";
  EXPECT_THAT(
      result.log,
      AllOf(Contains(InfoLine(name + Message(kEnglish, 1201))),
            Contains(InfoLine(L"ValidateADCredentials: Successfully validated Active Directory "
                              L"credentials for user [maria]")),
            Contains(InfoLine(name + Message(kEnglish, 1202)))));
  EXPECT_THAT(Lab::Handles().OpenTypes(), Not(Contains("Token")));
}

TEST_F(Operations, RefusedAccountIsToldToAllThreeReaders) {
  JoinDomain();
  SpeakMachineLanguage(kGerman);
  const CallResult result = ValidateAccount("maria", "wrong", "fr");
  EXPECT_TRUE(result.Failed());
  EXPECT_EQ(Utf8ToWide(result.Error()), Message(kFrench, 1203));
  EXPECT_EQ(result.console, Message(kGerman, 1201) + L"\n" + Message(kGerman, 1203));
  EXPECT_THAT(result.log,
              Contains(ErrorLine(
                  L"ValidateADCredentials: LogonUser failed for [maria]. Error code: 1326.")));
}

TEST_F(Operations, OnlyABrokenTrustIsToldAsSuch) {
  struct Row {
    const char* trust;
    int code;
    std::uint16_t message;
  };
  for (const Row& row : {Row{"broken", 1789, 1204}, Row{"noMachineAccount", 1787, 1203},
                         Row{"noMachineSecret", 1786, 1203}, Row{"noController", 1311, 1203}}) {
    JoinDomain(row.trust);
    const CallResult result = ValidateAccount("maria", "Gr\u00fc\u00dfe", "fr");
    EXPECT_EQ(Utf8ToWide(result.Error()), Message(kFrench, row.message)) << row.trust;
    EXPECT_THAT(
        result.log,
        Contains(ErrorLine(L"ValidateADCredentials: LogonUser failed for [maria]. Error code: " +
                           std::to_wstring(row.code) + L".")));
  }
}

TEST_F(Operations, AccountThatCannotBeUsedIsRefusedWithItsCode) {
  struct Row {
    const char* state;
    int code;
  };
  JoinDomain();
  for (const Row& row :
       {Row{"disabled", 1331}, Row{"lockedOut", 1909}, Row{"passwordExpired", 1330},
        Row{"passwordMustChange", 1907}, Row{"notFromTheNetwork", 1385}}) {
    machine_.Set("/accounts/CORP\\maria/state", row.state);
    const CallResult result = ValidateAccount("maria", "Gr\u00fc\u00dfe");
    EXPECT_EQ(Utf8ToWide(result.Error()), Message(kEnglish, 1203));
    EXPECT_THAT(
        result.log,
        Contains(ErrorLine(L"ValidateADCredentials: LogonUser failed for [maria]. Error code: " +
                           std::to_wstring(row.code) + L".")));
  }
}

TEST_F(Operations, AccountIsAPlainNameAndNotOneWithItsDomain) {
  JoinDomain();
  EXPECT_TRUE(ValidateAccount("maria@corp.example", "Gr\u00fc\u00dfe").Failed());
  EXPECT_TRUE(ValidateAccount("CORP\\maria", "Gr\u00fc\u00dfe").Failed());
}

TEST_F(Operations, WithoutADomainAnAccountOfTheMachineIsTried) {
  machine_.Set("/accounts/KVSOURCE\\local", AccountWith("here"));
  EXPECT_FALSE(ValidateAccount("local", "here").Failed());
  EXPECT_TRUE(ValidateAccount("local", "there").Failed());
}

TEST_F(Operations, AccountWithoutATextIsAnUnreadableRequest) {
  JoinDomain();
  Json::Value request = GoodRequest();
  request["ad_username"] = Json::Value(Json::arrayValue);
  const CallResult result =
      Call(&AsyncServiceInterface::ValidateActiveDirectoryCredentials, request);
  EXPECT_EQ(result.Error(), "Internal error. Failed to convert input string to Json object.");
  EXPECT_TRUE(result.Failed());
}

TEST_F(Operations, NoAccountMeansNone) {
  JoinDomain();
  const CallResult result = ValidateAccount("", "");
  EXPECT_EQ(Utf8ToWide(result.Error()), Message(kEnglish, 1203));
}

TEST_F(Operations, PasswordsStayOutOfTheLogAndTheConsole) {
  JoinDomain();
  for (const char* password : {"Gr\u00fc\u00dfe", "secret-ad"}) {
    const CallResult result = ValidateAccount("maria", password);
    const std::wstring wide = Utf8ToWide(password);
    EXPECT_THAT(result.console, Not(testing::HasSubstr(wide)));
    EXPECT_THAT(
        result.log,
        Not(Contains(testing::Field(&Testing::LogLine::message, testing::HasSubstr(wide)))));
  }
}

}  // namespace
}  // namespace Halvard::MigratorSvc
