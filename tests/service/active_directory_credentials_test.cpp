#include "service/active_directory_credentials.h"

#include "machine/handles.h"
#include "service_test.h"

namespace Halvard::MigratorSvc {
namespace {

using testing::AllOf;
using testing::Contains;
using Testing::ErrorLine;
using Testing::InfoLine;
using testing::Not;

class DomainAccount : public ServiceTest {
 protected:
  CallResult Validate(const std::string& user, const std::string& password,
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

TEST_F(DomainAccount, IsValidated) {
  JoinDomain();
  SpeakMachineLanguage(kGerman);
  const CallResult result = Validate("maria", "Gr\u00fc\u00dfe");
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

TEST_F(DomainAccount, ThatIsRefusedIsToldToAllThreeReaders) {
  JoinDomain();
  SpeakMachineLanguage(kGerman);
  const CallResult result = Validate("maria", "wrong", "fr");
  EXPECT_TRUE(result.Failed());
  EXPECT_EQ(Utf8ToWide(result.Error()), Message(kFrench, 1203));
  EXPECT_EQ(result.console, Message(kGerman, 1201) + L"\n" + Message(kGerman, 1203));
  EXPECT_THAT(result.log,
              Contains(ErrorLine(
                  L"ValidateADCredentials: LogonUser failed for [maria]. Error code: 1326.")));
}

TEST_F(DomainAccount, WhoseTrustIsBrokenIsAloneToldSo) {
  struct Row {
    const char* trust;
    int code;
    std::uint16_t message;
  };
  for (const Row& row : {Row{"broken", 1789, 1204}, Row{"noMachineAccount", 1787, 1203},
                         Row{"noMachineSecret", 1786, 1203}, Row{"noController", 1311, 1203}}) {
    JoinDomain(row.trust);
    const CallResult result = Validate("maria", "Gr\u00fc\u00dfe", "fr");
    EXPECT_EQ(Utf8ToWide(result.Error()), Message(kFrench, row.message)) << row.trust;
    EXPECT_THAT(
        result.log,
        Contains(ErrorLine(L"ValidateADCredentials: LogonUser failed for [maria]. Error code: " +
                           std::to_wstring(row.code) + L".")));
  }
}

TEST_F(DomainAccount, ThatCannotBeUsedIsRefusedWithItsCode) {
  struct Row {
    const char* state;
    int code;
  };
  JoinDomain();
  for (const Row& row :
       {Row{"disabled", 1331}, Row{"lockedOut", 1909}, Row{"passwordExpired", 1330},
        Row{"passwordMustChange", 1907}, Row{"notFromTheNetwork", 1385}}) {
    machine_.Set("/accounts/CORP\\maria/state", row.state);
    const CallResult result = Validate("maria", "Gr\u00fc\u00dfe");
    EXPECT_EQ(Utf8ToWide(result.Error()), Message(kEnglish, 1203));
    EXPECT_THAT(
        result.log,
        Contains(ErrorLine(L"ValidateADCredentials: LogonUser failed for [maria]. Error code: " +
                           std::to_wstring(row.code) + L".")));
  }
}

TEST_F(DomainAccount, IsAPlainNameAndNotOneWithItsDomain) {
  JoinDomain();
  EXPECT_TRUE(Validate("maria@corp.example", "Gr\u00fc\u00dfe").Failed());
  EXPECT_TRUE(Validate("CORP\\maria", "Gr\u00fc\u00dfe").Failed());
}

TEST_F(DomainAccount, IsOneOfTheMachineWithoutADomain) {
  machine_.Set("/accounts/KVSOURCE\\local", AccountWith("here"));
  EXPECT_FALSE(Validate("local", "here").Failed());
  EXPECT_TRUE(Validate("local", "there").Failed());
}

TEST_F(DomainAccount, WithoutATextIsAnUnreadableRequest) {
  JoinDomain();
  Json::Value request = GoodRequest();
  request["ad_username"] = Json::Value(Json::arrayValue);
  const CallResult result =
      Call(&AsyncServiceInterface::ValidateActiveDirectoryCredentials, request);
  EXPECT_EQ(result.Error(), "Internal error. Failed to convert input string to Json object.");
  EXPECT_TRUE(result.Failed());
}

TEST_F(DomainAccount, MayNotBeLeftOut) {
  JoinDomain();
  const CallResult result = Validate("", "");
  EXPECT_EQ(Utf8ToWide(result.Error()), Message(kEnglish, 1203));
}

TEST_F(DomainAccount, HasAPasswordThatIsNotShown) {
  JoinDomain();
  for (const char* password : {"Gr\u00fc\u00dfe", "secret-ad"}) {
    const CallResult result = Validate("maria", password);
    const std::wstring wide = Utf8ToWide(password);
    EXPECT_THAT(result.console, Not(testing::HasSubstr(wide)));
    EXPECT_THAT(
        result.log,
        Not(Contains(testing::Field(&Testing::LogLine::message, testing::HasSubstr(wide)))));
  }
}

}  // namespace
}  // namespace Halvard::MigratorSvc
