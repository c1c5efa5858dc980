#include "service/guards.h"

#include <thread>

#include "core/export_state.h"
#include "service_test.h"

namespace Halvard::MigratorSvc {
namespace {

using testing::Contains;
using testing::Field;
using testing::Not;

class Guards : public ServiceTest {
 protected:
  static Json::Value Credentials(const std::string& user, const std::string& password) {
    Json::Value request;
    request["sso_username"] = user;
    request["sso_password"] = password;
    return request;
  }

  static void Cache(const std::wstring& user, const std::wstring& password) {
    gProperties[L"SSO_USERNAME"] = user;
    gProperties[L"SSO_PASSWORD"] = password;
  }

  static bool NothingIsCached() {
    return gProperties[L"SSO_USERNAME"].empty() && gProperties[L"SSO_PASSWORD"].empty();
  }

  Json::Value reply_;
};

TEST_F(Guards, FailedLoginLeavesNothingCachedAndTheNextGoodOneFillsIt) {
  Cache(L"somebody@ostrel.local", L"old");
  EXPECT_FALSE(ValidateCredentialsFromMC(Credentials("a@b.c", "wrong"), reply_));
  EXPECT_TRUE(NothingIsCached());
  EXPECT_TRUE(ValidateCredentialsFromMC(Credentials("a@b.c", AcceptedPassword()), reply_));
  EXPECT_EQ(gProperties[L"SSO_USERNAME"].Value(), L"a@b.c");
  EXPECT_EQ(gProperties[L"SSO_PASSWORD"].Value(), Testing::kAcceptedPassword);
}

TEST_F(Guards, MemberWithoutATextLeavesNothingCachedEither) {
  Cache(L"somebody@ostrel.local", L"old");
  Json::Value request = Credentials("a@b.c", "");
  request["sso_password"] = Json::Value(Json::objectValue);
  EXPECT_THROW(ValidateCredentialsFromMC(request, reply_), Json::Exception);
  EXPECT_TRUE(NothingIsCached());
}

TEST_F(Guards, FailedLoginLocksTheComparisonUntilTheNextGoodOne) {
  Cache(L"a@b.c", L"secret");
  EXPECT_FALSE(ValidateCredentialsFromMC(Credentials("a@b.c", "wrong"), reply_));
  gProperties[L"EXPORT_STATUS"] = L"RUNNING";
  EXPECT_FALSE(ValidatePassedCredentials(Credentials("a@b.c", "secret"), reply_));
  EXPECT_EQ(Utf8ToWide(reply_["error"].asString()), Message(kEnglish, 1099));
  gProperties[L"EXPORT_STATUS"] = L"NOT_STARTED";
  EXPECT_TRUE(ValidatePassedCredentials(Credentials("a@b.c", AcceptedPassword()), reply_));
  gProperties[L"EXPORT_STATUS"] = L"RUNNING";
  EXPECT_TRUE(ValidatePassedCredentials(Credentials("a@b.c", AcceptedPassword()), reply_));
}

TEST_F(Guards, ComparisonIgnoresTheCaseOfTheNameAndNotThatOfThePassword) {
  Cache(L"Administrator@Ostrel.Local", L"Secret \u00e4");
  const auto matches = [this](const std::string& user, const std::string& password) {
    return ValidatePassedCredentialsAgainstStoredCredentials(Credentials(user, password), reply_);
  };
  EXPECT_TRUE(matches("ADMINISTRATOR@ostrel.LOCAL", "Secret \u00e4"));
  EXPECT_FALSE(matches("Administrator@Ostrel.Local", "secret \u00e4"));
  EXPECT_EQ(Utf8ToWide(reply_["error"].asString()), Message(kEnglish, 1098));
  EXPECT_FALSE(matches("Administrator@Ostrel.Local", "Secret \u00e4 "));
  EXPECT_FALSE(matches("Administrator@Ostrel.Loca", "Secret \u00e4"));
  EXPECT_FALSE(matches("Administrator@Ostrel.Local", std::string("Secret \u00e4\0", 11)));
}

TEST_F(Guards, HalfACachedPairIsNone) {
  const Json::Value request = Credentials("a@b.c", "secret");
  Cache(L"a@b.c", L"");
  EXPECT_FALSE(ValidatePassedCredentialsAgainstStoredCredentials(request, reply_));
  EXPECT_EQ(Utf8ToWide(reply_["error"].asString()), Message(kEnglish, 1099));
  Cache(L"", L"secret");
  EXPECT_FALSE(ValidatePassedCredentialsAgainstStoredCredentials(request, reply_));
  EXPECT_EQ(Utf8ToWide(reply_["error"].asString()), Message(kEnglish, 1099));
}

TEST_F(Guards, DirectoryIsToldWhetherItIsTheOlderOne) {
  gProperties[L"MIGRATION_TYPE"] = L"infrastructure";
  for (const wchar_t* version : {L"5.5", L"6.0"}) {
    gProperties[L"SSO_VERSION"] = version;
    EXPECT_TRUE(ValidateCredentialsFromMC(Credentials("a@b.c", AcceptedPassword()), reply_));
  }
  EXPECT_THAT(Testing::CheckCalls(),
              testing::ElementsAre("ValidateLocalSSOCredentials(a@b.c, 5.5)",
                                   "ValidateLocalSSOCredentials(a@b.c, later)"));
}

TEST_F(Guards, PortThatIsNoNumberIsZero) {
  gProperties[L"KV_HTTPS_PORT"] = L"";
  EXPECT_TRUE(ValidateCredentialsFromMC(Credentials("a@b.c", AcceptedPassword()), reply_));
  EXPECT_THAT(Testing::CheckCalls(),
              testing::ElementsAre("ValidateKvAdminCredentials(localhost, 0, , , a@b.c)"));
}

TEST_F(Guards, NoLineOfTheLogHasAPassword) {
  Cache(L"a@b.c", L"stored-password");
  (void)ValidateCredentialsFromMC(Credentials("a@b.c", "passed-password"), reply_);
  Cache(L"a@b.c", L"stored-password");
  (void)ValidatePassedCredentialsAgainstStoredCredentials(Credentials("a@b.c", "passed-password"),
                                                          reply_);
  EXPECT_THAT(Testing::OwnLog(),
              Not(Contains(Field(&Testing::LogLine::message, testing::HasSubstr(L"-password")))));
}

TEST_F(Guards, EndOfAnExportIsSeenWithItsResult) {
  // The export's end on one thread, the guard's look on another: whatever the guard sees, the
  // status and the result belong together.
  Cache(L"a@b.c", L"secret");
  const Json::Value request = Credentials("a@b.c", "secret");
  gProperties[L"EXPORT_RESULT"] = L"SUCCESS";
  gProperties[L"EXPORT_STATUS"] = L"FINISHED";
  std::thread exporting([] {
    for (int i = 0; i < 200; ++i) {
      {
        const auto lock = LockExportState();
        gProperties[L"EXPORT_STATUS"] = L"RUNNING";
        gProperties[L"EXPORT_RESULT"] = L"FAIL";
      }
      const auto lock = LockExportState();
      gProperties[L"EXPORT_STATUS"] = L"FINISHED";
      std::this_thread::yield();
      gProperties[L"EXPORT_RESULT"] = L"SUCCESS";
    }
  });
  for (int i = 0; i < 200; ++i) EXPECT_TRUE(ValidatePassedCredentials(request, reply_));
  exporting.join();
  EXPECT_FALSE(NothingIsCached());
}

}  // namespace
}  // namespace Halvard::MigratorSvc
