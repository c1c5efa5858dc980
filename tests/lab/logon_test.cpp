// Logons by the accounts and the domain of a described machine. Wine grants every logon, so what
// Windows refuses is tested here.
#include <gtest/gtest.h>

#include "host/windows_api.h"
#include "machine/handles.h"
#include "machine/machine.h"
#include "machine/text.h"
#include "support/lab_instance.h"

namespace {

class Logon : public testing::Test {
 protected:
  Logon() {
    Json::Value account;
    account["password"] = "S\u00fc\u00df";
    machine_.Set("/accounts/KVSOURCE\\Anna", account);
    machine_.Set("/accounts/CORP\\Maria", account);
    account["password"] = "";
    machine_.Set("/accounts/KVSOURCE\\guest", account);
  }

  void JoinDomain(const char* trust = "whole") {
    Json::Value domain;
    domain["name"] = "corp.example";
    domain["netbiosName"] = "CORP";
    domain["trust"] = trust;
    machine_.Set("/domain", domain);
  }

  /// \return 0 for a logon that was granted, whose token is closed again.
  static DWORD TryLogon(const wchar_t* user, const wchar_t* domain, const wchar_t* password) {
    HANDLE token = nullptr;
    SetLastError(0);
    if (!LogonUserW(user, domain, password, LOGON32_LOGON_NETWORK, LOGON32_PROVIDER_DEFAULT,
                    &token)) {
      EXPECT_EQ(token, nullptr);
      return GetLastError();
    }
    EXPECT_TRUE(CloseHandle(token));
    return 0;
  }

  Lab::Instance machine_;
};

TEST_F(Logon, AccountOfTheComputerHasThreeNamesForItsDomain) {
  for (const wchar_t* domain : {L"", L".", L"kvsource"}) {
    EXPECT_EQ(TryLogon(L"anna", domain, L"S\u00fc\u00df"), 0u);
    EXPECT_EQ(TryLogon(L"anna", domain, L"s\u00fc\u00df"), 1326u);
    EXPECT_EQ(TryLogon(L"Maria", domain, L"S\u00fc\u00df"), 1326u);
  }
}

TEST_F(Logon, AccountOfTheDomainHasTwo) {
  EXPECT_EQ(TryLogon(L"maria", L"CORP", L"S\u00fc\u00df"), 1326u);
  JoinDomain();
  for (const wchar_t* domain : {L"corp", L"Corp.Example"}) {
    EXPECT_EQ(TryLogon(L"maria", domain, L"S\u00fc\u00df"), 0u);
    EXPECT_EQ(TryLogon(L"anna", domain, L"S\u00fc\u00df"), 1326u);
  }
  EXPECT_EQ(TryLogon(L"maria@corp.example", L"CORP", L"S\u00fc\u00df"), 1326u);
  EXPECT_EQ(TryLogon(L"maria", L"OTHER", L"S\u00fc\u00df"), 1326u);
}

TEST_F(Logon, EmptyPasswordIsARestrictionWhereItIsRight) {
  EXPECT_EQ(TryLogon(L"guest", L"", L""), 1327u);
  EXPECT_EQ(TryLogon(L"anna", L"", L""), 1326u);
}

TEST_F(Logon, StateOfTheAccountRefusesARightPassword) {
  struct Row {
    const char* state;
    DWORD right;
    DWORD wrong;
  };
  for (const Row& row :
       {Row{"usable", 0, 1326}, Row{"disabled", 1331, 1326}, Row{"lockedOut", 1909, 1909},
        Row{"passwordExpired", 1330, 1326}, Row{"passwordMustChange", 1907, 1326},
        Row{"notFromTheNetwork", 1385, 1326}}) {
    machine_.Set("/accounts/KVSOURCE\\Anna/state", row.state);
    EXPECT_EQ(TryLogon(L"Anna", L"", L"S\u00fc\u00df"), row.right) << row.state;
    EXPECT_EQ(TryLogon(L"Anna", L"", L"wrong"), row.wrong) << row.state;
  }
}

TEST_F(Logon, DomainThatDoesNotTrustTheMachineRefusesItsAccountsAlone) {
  struct Row {
    const char* trust;
    DWORD error;
  };
  for (const Row& row : {Row{"noController", 1311}, Row{"noMachineSecret", 1786},
                         Row{"noMachineAccount", 1787}, Row{"broken", 1789}}) {
    JoinDomain(row.trust);
    EXPECT_EQ(TryLogon(L"maria", L"CORP", L"S\u00fc\u00df"), row.error) << row.trust;
    EXPECT_EQ(TryLogon(L"anna", L"", L"S\u00fc\u00df"), 0u) << row.trust;
  }
}

TEST_F(Logon, PlannedFailureComesFirst) {
  machine_.PlanFault({.function = "LogonUserW", .match = L"anna", .error = 1311});
  EXPECT_EQ(TryLogon(L"anna", L"", L"S\u00fc\u00df"), 1311u);
}

TEST_F(Logon, OtherKindsOfLogonAreRefusedAloud) {
  HANDLE token = nullptr;
  EXPECT_DEATH(LogonUserW(L"anna", L"", L"x", 2, LOGON32_PROVIDER_DEFAULT, &token), "LogonUserW");
}

TEST_F(Logon, ServiceLogonWantsARightOfItsOwn) {
  Json::Value account;
  account["password"] = "S\u00fc\u00df";
  account["serviceLogon"] = true;
  machine_.Set("/accounts/KVSOURCE\\service", account);
  const auto tryLogon = [](const wchar_t* user) {
    HANDLE token = nullptr;
    SetLastError(0);
    (void)LogonUserW(user, L".", L"S\u00fc\u00df", LOGON32_LOGON_SERVICE, LOGON32_PROVIDER_DEFAULT,
                     &token);
    const DWORD error = GetLastError();
    if (token != nullptr) (void)CloseHandle(token);
    return error;
  };
  EXPECT_EQ(tryLogon(L"service"), 0u);
  EXPECT_EQ(tryLogon(L"anna"), 1385u);
  machine_.Set("/accounts/KVSOURCE\\service/state", "notFromTheNetwork");
  EXPECT_EQ(tryLogon(L"service"), 0u);
  machine_.Set("/accounts/KVSOURCE\\service/state", "disabled");
  EXPECT_EQ(tryLogon(L"service"), 1331u);
}

TEST_F(Logon, OnlyAnImpersonationTokenIsAskedForGroups) {
  Json::Value account;
  account["password"] = "S\u00fc\u00df";
  account["serviceLogon"] = true;
  account["groups"].append("S-1-5-32-544");
  machine_.Set("/accounts/KVSOURCE\\service", account);
  SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
  PSID administrators = nullptr;
  ASSERT_TRUE(AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID,
                                       DOMAIN_ALIAS_RID_ADMINS, 0, 0, 0, 0, 0, 0, &administrators));
  HANDLE token = nullptr;
  ASSERT_TRUE(LogonUserW(L"service", L".", L"S\u00fc\u00df", LOGON32_LOGON_SERVICE,
                         LOGON32_PROVIDER_DEFAULT, &token));
  BOOL isMember = FALSE;
  EXPECT_FALSE(CheckTokenMembership(token, administrators, &isMember));
  EXPECT_EQ(GetLastError(), 1309u);
  HANDLE impersonation = nullptr;
  ASSERT_TRUE(DuplicateTokenEx(token, TOKEN_QUERY, nullptr, SecurityIdentification,
                               TokenImpersonation, &impersonation));
  EXPECT_TRUE(CheckTokenMembership(impersonation, administrators, &isMember));
  EXPECT_TRUE(isMember);
  EXPECT_TRUE(CloseHandle(token));
  EXPECT_TRUE(CloseHandle(impersonation));
  FreeSid(administrators);
}

TEST_F(Logon, NamesOfAnAccountAreFoundInEachForm) {
  JoinDomain();
  const auto domainOf = [](const wchar_t* name) {
    BYTE sid[68] = {};
    DWORD sidBytes = sizeof sid;
    wchar_t domain[64] = {};
    DWORD length = 64;
    SID_NAME_USE use = SidTypeUnknown;
    SetLastError(0);
    if (!LookupAccountNameW(nullptr, name, sid, &sidBytes, domain, &length, &use)) {
      return std::to_wstring(GetLastError());
    }
    EXPECT_EQ(use, SidTypeUser);
    EXPECT_EQ(sidBytes, 28u);
    return std::wstring(domain);
  };
  for (const wchar_t* name : {L"anna", L"KVSOURCE\\ANNA"}) EXPECT_EQ(domainOf(name), L"KVSOURCE");
  for (const wchar_t* name :
       {L"maria", L"corp\\maria", L"corp.example\\maria", L"maria@corp.example"}) {
    EXPECT_EQ(domainOf(name), L"CORP");
  }
  for (const wchar_t* name : {L".\\anna", L"CORP\\anna", L"LocalSystem", L"nobody"}) {
    EXPECT_EQ(domainOf(name), L"1332");
  }
  JoinDomain("noController");
  EXPECT_EQ(domainOf(L"maria"), L"1332");
}

TEST_F(Logon, DomainMayAnswerLater) {
  JoinDomain();
  machine_.Set("/domain/answersAfter", 10'000);
  Lab::TheMachine().Clock().MoveBySleeps();
  const auto knowsMaria = [] {
    DWORD sidBytes = 0;
    DWORD length = 0;
    SID_NAME_USE use = SidTypeUnknown;
    (void)LookupAccountNameW(nullptr, L"CORP\\maria", nullptr, &sidBytes, nullptr, &length, &use);
    return GetLastError() == ERROR_INSUFFICIENT_BUFFER;
  };
  EXPECT_FALSE(knowsMaria());
  EXPECT_EQ(TryLogon(L"maria", L"CORP", L"S\u00fc\u00df"), 1311u);
  Lab::TheMachine().Clock().Advance(9'000);
  EXPECT_FALSE(knowsMaria());
  Lab::TheMachine().Clock().Advance(1'000);
  EXPECT_TRUE(knowsMaria());
  EXPECT_EQ(TryLogon(L"maria", L"CORP", L"S\u00fc\u00df"), 0u);
}

}  // namespace
