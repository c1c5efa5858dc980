#include "security/account_names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "host/failing_allocation.h"
#include "support/lab_instance.h"
#include "support/log_lines.h"

namespace {

bool gSizesAreNotAsked = false;

}  // namespace

#define LOOKUP_ACCOUNT_NAME(prefix) prefix##_Z18LookupAccountNameWPKwS0_PvPjPwS2_P12SID_NAME_USE
#define LOOKUP_ACCOUNT_SID(prefix) prefix##_Z17LookupAccountSidWPKwPvPwPjS2_S3_P12SID_NAME_USE

extern "C" {
BOOL LOOKUP_ACCOUNT_NAME(__real_)(LPCWSTR system, LPCWSTR account, PSID sid, LPDWORD sidBytes,
                                  LPWSTR domain, LPDWORD domainLength, PSID_NAME_USE use);
BOOL LOOKUP_ACCOUNT_NAME(__wrap_)(LPCWSTR system, LPCWSTR account, PSID sid, LPDWORD sidBytes,
                                  LPWSTR domain, LPDWORD domainLength, PSID_NAME_USE use);
BOOL LOOKUP_ACCOUNT_SID(__real_)(LPCWSTR system, PSID sid, LPWSTR name, LPDWORD nameLength,
                                 LPWSTR domain, LPDWORD domainLength, PSID_NAME_USE use);
BOOL LOOKUP_ACCOUNT_SID(__wrap_)(LPCWSTR system, PSID sid, LPWSTR name, LPDWORD nameLength,
                                 LPWSTR domain, LPDWORD domainLength, PSID_NAME_USE use);
}

// In place of the system's: can succeed without buffers, which no plan of failures brings about.
BOOL LOOKUP_ACCOUNT_NAME(__wrap_)(LPCWSTR system, LPCWSTR account, PSID sid, LPDWORD sidBytes,
                                  LPWSTR domain, LPDWORD domainLength, PSID_NAME_USE use) {
  if (gSizesAreNotAsked) return TRUE;
  return LOOKUP_ACCOUNT_NAME(__real_)(system, account, sid, sidBytes, domain, domainLength, use);
}
BOOL LOOKUP_ACCOUNT_SID(__wrap_)(LPCWSTR system, PSID sid, LPWSTR name, LPDWORD nameLength,
                                 LPWSTR domain, LPDWORD domainLength, PSID_NAME_USE use) {
  if (gSizesAreNotAsked) return TRUE;
  return LOOKUP_ACCOUNT_SID(__real_)(system, sid, name, nameLength, domain, domainLength, use);
}

namespace Halvard::Security {
namespace {

using testing::ElementsAre;
using Testing::ErrorLine;
using testing::IsEmpty;
using Testing::OwnLog;

class AccountNames : public testing::Test {
 protected:
  ~AccountNames() override { gSizesAreNotAsked = false; }

  void Fail(const char* function, std::uint32_t call) {
    machine_.PlanFault({.function = function, .call = call, .error = 77});
  }

  bool FindName() { return LookupAccountNameBySid(sid_.get(), name_, domain_); }

  Lab::Instance machine_;
  OwnedSid sid_;
  std::wstring name_ = L"?";
  std::wstring domain_ = L"?";
};

TEST_F(AccountNames, LeadToTheIdentifierAndBack) {
  ASSERT_TRUE(GetAccountSid(L"kvsource\\administrator", sid_));
  ASSERT_TRUE(FindName());
  EXPECT_EQ(name_, L"Administrator");
  EXPECT_EQ(domain_, L"KVSOURCE");
  EXPECT_THAT(OwnLog(), IsEmpty());
}

TEST_F(AccountNames, MayBeEmpty) {
  ASSERT_TRUE(GetAccountSid(L"KVSOURCE", sid_));
  ASSERT_TRUE(FindName());
  EXPECT_EQ(name_, L"");
  EXPECT_EQ(domain_, L"KVSOURCE");
}

TEST_F(AccountNames, UnknownOneIsLoggedWithItsCode) {
  EXPECT_FALSE(GetAccountSid(L"nobody", sid_));
  EXPECT_EQ(sid_, nullptr);
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"GetAccountSid: LookupAccountName size lookup "
                                              L"failed for user=[nobody]. Error code: 1332.")));
}

TEST_F(AccountNames, LookupThatFailsTheSecondTimeIsLogged) {
  Fail("LookupAccountNameW", 2);
  EXPECT_FALSE(GetAccountSid(L"Administrator", sid_));
  EXPECT_EQ(sid_, nullptr);
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"GetAccountSid: LookupAccountName failed for "
                                              L"user=[Administrator].Error code: 77")));
}

TEST_F(AccountNames, LookupMustNotSucceedWithoutBuffers) {
  gSizesAreNotAsked = true;
  EXPECT_FALSE(GetAccountSid(L"Administrator", sid_));
  EXPECT_FALSE(FindName());
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          ErrorLine(
              L"GetAccountSid: LookupAccountName returned success on zero length buffer for user=[Administrator]"),
          ErrorLine(
              L"LookupAccountNameBySid: LookupAccountSid returned success on zero length buffer.")));
}

TEST_F(AccountNames, LookupOfTheIdentifierIsLoggedWithItsCode) {
  ASSERT_TRUE(GetAccountSid(L"Administrator", sid_));
  Fail("LookupAccountSidW", 1);
  Fail("LookupAccountSidW", 3);
  EXPECT_FALSE(FindName());
  EXPECT_FALSE(FindName());
  EXPECT_EQ(name_, L"?");
  EXPECT_EQ(domain_, L"?");
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          ErrorLine(L"LookupAccountNameBySid: LookupAccountSid size lookup failed: 77"),
          ErrorLine(
              L"LookupAccountNameBySid: LookupAccountSid failed to retrieve account info. Error code: 77")));
}

TEST_F(AccountNames, IdentifierNeedsRoom) {
  const Testing::FailingAllocation failing;
  EXPECT_FALSE(GetAccountSid(L"Administrator", sid_));
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"GetAccountSid: Unable to allocate sid size: 28")));
}

TEST_F(AccountNames, DomainOfTheIdentifierNeedsRoom) {
  const Testing::FailingAllocation failing(1);
  EXPECT_FALSE(GetAccountSid(L"Administrator", sid_));
  EXPECT_THAT(OwnLog(),
              ElementsAre(ErrorLine(L"GetAccountSid: Failed to allocate memory to retrieve user "
                                    L"domain. Domain length: 9")));
}

TEST_F(AccountNames, NamesNeedRoom) {
  ASSERT_TRUE(GetAccountSid(L"Administrator", sid_));
  for (const int spared : {0, 1}) {
    const Testing::FailingAllocation failing(spared);
    EXPECT_FALSE(FindName());
  }
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          ErrorLine(L"LookupAccountNameBySid: Failed to allocate memory to retrieve account name."),
          ErrorLine(
              L"LookupAccountNameBySid: Failed to allocate memory to retrieve domain name.")));
}

}  // namespace
}  // namespace Halvard::Security
