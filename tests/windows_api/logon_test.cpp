#include "what_wine_lacks.h"

namespace {

TEST(LogonUserW, AccountThatNobodyKnowsIsALogonFailure) {
  SKIP_ON_BARE_WINE("Wine's LogonUserW always succeeds, with a handle that names nothing");
  HANDLE token = nullptr;
  for (const wchar_t* domain : {L"", L".", L"NODOMAIN"}) {
    SetLastError(0);
    EXPECT_EQ(LogonUserW(L"nobody of this name", domain, L"secret", LOGON32_LOGON_NETWORK,
                         LOGON32_PROVIDER_DEFAULT, &token),
              FALSE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_LOGON_FAILURE});
    EXPECT_EQ(token, nullptr);
  }
}

}  // namespace
