#include "security/service_accounts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/property_store.h"
#include "machine/handles.h"
#include "machine/machine.h"
#include "support/lab_instance.h"
#include "support/log_lines.h"

namespace Halvard::Security {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using Testing::ErrorLine;
using testing::Field;
using testing::HasSubstr;
using Testing::InfoLine;
using Testing::LogLine;
using testing::Not;
using Testing::OwnLog;
using Testing::WarningLine;

constexpr wchar_t kPassword[] = L"top-secret";

class ServiceAccount : public testing::Test {
 protected:
  ServiceAccount() : handlesBefore_(Lab::Handles().OpenTypes().size()) {
    Json::Value account;
    account["password"] = "top-secret";
    account["serviceLogon"] = true;
    machine_.Set("/accounts/KVSOURCE\\plain", account);
    account["groups"].append("S-1-5-32-544");
    machine_.Set("/accounts/KVSOURCE\\J\u00f6rg \u8a66", account);
    machine_.Set("/accounts/KVSOURCE\\Administrator", account);
    machine_.Set("/accounts/CORP\\maria", account);
    account["password"] = "";
    machine_.Set("/accounts/KVSOURCE\\open", account);
    account["password"] = "top-secret";
    account.removeMember("serviceLogon");
    machine_.Set("/accounts/KVSOURCE\\interactive", account);
    LetTimePassBySleeps();
  }
  ~ServiceAccount() override {
    EXPECT_EQ(Lab::Handles().OpenTypes().size(), handlesBefore_);
    EXPECT_EQ(Lab::TheMachine().Faults().Calls("FreeSid"), sids_);
    EXPECT_THAT(OwnLog(), Each(Field(&LogLine::message, Not(HasSubstr(L"secret")))));
  }

  /// To be called after each change of the description.
  static void LetTimePassBySleeps() { Lab::TheMachine().Clock().MoveBySleeps(); }

  void Fail(const char* function, std::uint32_t call, std::uint32_t error) {
    machine_.PlanFault({.function = function, .call = call, .error = error});
    LetTimePassBySleeps();
  }

  void JoinDomain(std::uint32_t answersAfter) {
    Json::Value domain;
    domain["name"] = "corp.example";
    domain["netbiosName"] = "CORP";
    domain["answersAfter"] = answersAfter;
    machine_.Set("/domain", domain);
    LetTimePassBySleeps();
  }

  static std::uint32_t Sleeps() { return Lab::TheMachine().Faults().Calls("Sleep"); }

  static LogLine Resolved(const std::wstring& user, const std::wstring& account) {
    return InfoLine(L"ValidateServiceAccountCredentials: Service account user '" + user +
                    L"' was resolved to '" + account + L"'.");
  }
  static LogLine Found(const std::wstring& account, const std::wstring& domain = L"KVSOURCE") {
    return InfoLine(L"RetrieveServiceAccountToken: LookupAccountSid returned accountName=[" +
                    account + L"] domainName=[" + domain + L"].");
  }
  static LogLine LogonFailed(const std::wstring& account, int error) {
    return ErrorLine(L"RetrieveServiceAccountToken: LogonUser failed for [" + account +
                     L"]. Error code: " + std::to_wstring(error) + L".");
  }
  static LogLine NoToken(const std::wstring& account) {
    return ErrorLine(L"ValidateServiceAccountCredentials: Unable to retrieve user token '" +
                     account + L"' for administrators group check.");
  }

  const std::wstring good_ = L"J\u00f6rg \u8a66";
  const std::size_t handlesBefore_;
  Lab::Instance machine_;
  /// Identifiers of the Administrators group that have to be gone in the end.
  std::uint32_t sids_ = 0;
};

TEST_F(ServiceAccount, AdministratorWithTheRightPasswordMayBeUsed) {
  EXPECT_TRUE(ValidateServiceAccountCredentials(good_, kPassword));
  EXPECT_THAT(OwnLog(), ElementsAre(Resolved(good_, good_), Found(good_)));
  sids_ = 1;
}

TEST_F(ServiceAccount, LocalFormIsTriedWithoutItsPrefix) {
  EXPECT_TRUE(ValidateServiceAccountCredentials(L".\\Administrator", kPassword));
  EXPECT_THAT(OwnLog(), ElementsAre(Resolved(L".\\Administrator", L"Administrator"),
                                    Found(L"Administrator")));
  sids_ = 1;
}

TEST_F(ServiceAccount, NameWithItsDomainIsLookedUpAsItStands) {
  EXPECT_TRUE(ValidateServiceAccountCredentials(L"KVSOURCE\\" + good_, kPassword));
  sids_ = 1;
}

TEST_F(ServiceAccount, NeedsAUser) {
  EXPECT_FALSE(ValidateServiceAccountCredentials(L"", kPassword));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(ErrorLine(L"ValidateServiceAccountCredentials: Empty service account user.")));
}

TEST_F(ServiceAccount, PrefixWithoutANameIsRefusedByTheLogon) {
  EXPECT_FALSE(ValidateServiceAccountCredentials(L".\\", kPassword));
  EXPECT_THAT(OwnLog(), Contains(LogonFailed(L"", 1326)));
}

TEST_F(ServiceAccount, NameOfTheComputerIsRefusedByTheLogon) {
  EXPECT_FALSE(ValidateServiceAccountCredentials(L"KVSOURCE", kPassword));
  EXPECT_THAT(OwnLog(), ElementsAre(Resolved(L"KVSOURCE", L"KVSOURCE"), Found(L""),
                                    LogonFailed(L"KVSOURCE", 1326), NoToken(L"KVSOURCE")));
}

TEST_F(ServiceAccount, AccountOfTheSystemIsRefusedByTheLogon) {
  const std::wstring user = L"NT AUTHORITY\\NetworkService";
  EXPECT_FALSE(ValidateServiceAccountCredentials(user, kPassword));
  EXPECT_THAT(OwnLog(),
              ElementsAre(Resolved(user, user), Found(L"NETWORK SERVICE", L"NT AUTHORITY"),
                          LogonFailed(user, 1326), NoToken(user)));
}

TEST_F(ServiceAccount, EmptyPasswordReachesTheLogon) {
  EXPECT_FALSE(ValidateServiceAccountCredentials(L"open", L""));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          WarningLine(L"ValidateServiceAccountCredentials: Empty service account password."),
          Resolved(L"open", L"open"), Found(L"open"), LogonFailed(L"open", 1327),
          NoToken(L"open")));
}

TEST_F(ServiceAccount, MustBeAnAdministrator) {
  EXPECT_FALSE(ValidateServiceAccountCredentials(L"plain", kPassword));
  EXPECT_THAT(OwnLog(), ElementsAre(Resolved(L"plain", L"plain"), Found(L"plain"),
                                    ErrorLine(L"ValidateServiceAccountCredentials: User account "
                                              L"[plain] is not a member of the Administrators "
                                              L"group.")));
  sids_ = 1;
}

TEST_F(ServiceAccount, MustLogOnAsAService) {
  EXPECT_FALSE(ValidateServiceAccountCredentials(L"interactive", kPassword));
  EXPECT_THAT(OwnLog(), Contains(LogonFailed(L"interactive", 1385)));
}

TEST_F(ServiceAccount, PasswordMustBeRight) {
  EXPECT_FALSE(ValidateServiceAccountCredentials(good_, L"secret"));
  EXPECT_THAT(OwnLog(), ElementsAre(Resolved(good_, good_), Found(good_), LogonFailed(good_, 1326),
                                    NoToken(good_)));
}

TEST_F(ServiceAccount, UnknownAccountCostsTwentySeconds) {
  const std::uint64_t before = Lab::TheMachine().Clock().Ticks();
  EXPECT_FALSE(ValidateServiceAccountCredentials(L"nobody", kPassword));
  EXPECT_EQ(Lab::TheMachine().Clock().Ticks() - before, 20'000u);
  EXPECT_EQ(Sleeps(), 2u);
  const LogLine lookup = ErrorLine(
      L"GetAccountSid: LookupAccountName size lookup failed for user=[nobody]. Error code: 1332.");
  const LogLine retry = WarningLine(
      L"RetrieveServiceAccountToken: Unable to retrieve account sid for user: nobody. Retrying with 10 secs delay");
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(Resolved(L"nobody", L"nobody"), lookup, retry, lookup, retry, lookup,
                  ErrorLine(L"RetrieveServiceAccountToken: Unable to retrieve account sid for "
                            L"user: nobody."),
                  NoToken(L"nobody")));
}

TEST_F(ServiceAccount, DomainMayTakeAWhileToAnswer) {
  JoinDomain(15'000);
  EXPECT_TRUE(ValidateServiceAccountCredentials(L"CORP\\maria", kPassword));
  EXPECT_EQ(Sleeps(), 2u);
  EXPECT_THAT(OwnLog(), Contains(Found(L"maria", L"CORP")));
  sids_ = 1;
}

TEST_F(ServiceAccount, DomainThatTakesLongerIsGivenUp) {
  JoinDomain(20'001);
  EXPECT_FALSE(ValidateServiceAccountCredentials(L"maria@corp.example", kPassword));
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"RetrieveServiceAccountToken: Unable to retrieve "
                                           L"account sid for user: maria@corp.example.")));
}

struct AccountFailure {
  const char* function;
  std::vector<LogLine> lines;
  std::uint32_t sids;
};

class CallOfAccounts : public ServiceAccount, public testing::WithParamInterface<AccountFailure> {};

TEST_P(CallOfAccounts, IsLoggedWithItsCodeWhenItFails) {
  Fail(GetParam().function, 1, 77);
  EXPECT_FALSE(ValidateServiceAccountCredentials(L"KVSOURCE\\plain", kPassword));
  const std::vector<LogLine> log = OwnLog();
  for (const LogLine& line : GetParam().lines) EXPECT_THAT(log, Contains(line));
  sids_ = GetParam().sids;
}

INSTANTIATE_TEST_SUITE_P(
    Calls, CallOfAccounts,
    testing::Values(
        AccountFailure{
            "LookupAccountSidW",
            {ErrorLine(L"LookupAccountNameBySid: LookupAccountSid size lookup failed: 77"),
             ErrorLine(L"RetrieveServiceAccountToken: Unable to lookup account name for "
                       L"'KVSOURCE\\plain' with sid."),
             ErrorLine(L"ValidateServiceAccountCredentials: Unable to retrieve user token "
                       L"'KVSOURCE\\plain' for administrators group check.")},
            0},
        AccountFailure{"LogonUserW",
                       {ErrorLine(L"RetrieveServiceAccountToken: LogonUser failed for "
                                  L"[KVSOURCE\\plain]. Error code: 77.")},
                       0},
        AccountFailure{"DuplicateTokenEx",
                       {ErrorLine(L"ValidateServiceAccountCredentials: DuplicateTokenEx failed for "
                                  L"[KVSOURCE\\plain]. Error code: 77.")},
                       0},
        AccountFailure{"AllocateAndInitializeSid",
                       {ErrorLine(L"ValidateServiceAccountCredentials: AllocateAndInitializeSid "
                                  L"failed. Error code: 77.")},
                       0},
        AccountFailure{"CheckTokenMembership",
                       {ErrorLine(L"ValidateServiceAccountCredentials: CheckTokenMembership "
                                  L"failed. Error code: 77.")},
                       1}),
    [](const auto& row) { return std::string(row.param.function); });

class AccountOfKelvd : public testing::Test {
 protected:
  AccountOfKelvd() { gProperties[L"KELVD_SA_USER"] = L"from before"; }

  Lab::Instance machine_{"management-5.5"};
};

TEST_F(AccountOfKelvd, IsEmptyForTheDefault) {
  EXPECT_TRUE(RetrieveKelvdServiceAccountUser());
  EXPECT_EQ(gProperties[L"KELVD_SA_USER"], L"");
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"RetrieveKelvdServiceAccountUser: Default KELVD service "
                                          L"account detected.")));
}

TEST_F(AccountOfKelvd, IsAsTheServiceShowsIt) {
  for (const char* account : {".\\kelvd-service", "CORP\\J\u00f6rg \u8a66", "localsystem",
                              ".\\LocalSystem", "NT AUTHORITY\\NetworkService"}) {
    machine_.Set("/services/kelvd/account", account);
    EXPECT_TRUE(RetrieveKelvdServiceAccountUser());
    EXPECT_EQ(gProperties[L"KELVD_SA_USER"], Lab::ToWide(account));
  }
  EXPECT_THAT(OwnLog(), Not(Contains(Field(&LogLine::message, HasSubstr(L"Default KELVD")))));
}

TEST_F(AccountOfKelvd, IsEmptyWhereTheServiceHasNone) {
  machine_.Set("/services/kelvd/driver", true);
  EXPECT_TRUE(RetrieveKelvdServiceAccountUser());
  EXPECT_EQ(gProperties[L"KELVD_SA_USER"], L"");
  EXPECT_THAT(OwnLog(), Not(Contains(Field(&LogLine::message, HasSubstr(L"Default KELVD")))));
}

TEST_F(AccountOfKelvd, StaysUnknownWithoutTheService) {
  machine_.Remove("/services/kelvd");
  EXPECT_FALSE(RetrieveKelvdServiceAccountUser());
  EXPECT_EQ(gProperties[L"KELVD_SA_USER"], L"from before");
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          ErrorLine(
              L"QueryServiceConfigW: OpenService failed for kelvd service. Error code: 1060."),
          ErrorLine(L"RetrieveKelvdServiceAccountUser: Failed to retrieve the service "
                    L"configuration info for the KELVD service.")));
}

}  // namespace
}  // namespace Halvard::Security
