// Privileges of the process's token. Nothing here shuts a machine down.
#include "host/unique_resource.h"
#include "support.h"

namespace {

using Halvard::Host::UniqueHandle;

UniqueHandle OwnToken() {
  HANDLE token = nullptr;
  EXPECT_NE(OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token),
            0);
  return UniqueHandle(token);
}

TEST(LookupPrivilegeValueW, NumbersTheShutdown) {
  LUID privilege{1, 1};
  ASSERT_NE(LookupPrivilegeValueW(nullptr, SE_SHUTDOWN_NAME, &privilege), 0);
  EXPECT_EQ(privilege.LowPart, 19u);
  EXPECT_EQ(privilege.HighPart, 0);
}

TEST(LookupPrivilegeValueW, FailsForAnUnknownName) {
  LUID privilege{};
  EXPECT_EQ(LookupPrivilegeValueW(nullptr, L"SeNoSuchPrivilege", &privilege), 0);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_SUCH_PRIVILEGE});
}

TEST(AdjustTokenPrivileges, PutsAPrivilegeIntoForceThatTheTokenHolds) {
  const UniqueHandle token = OwnToken();
  TOKEN_PRIVILEGES privileges{1, {{{19, 0}, SE_PRIVILEGE_ENABLED}}};
  SetLastError(ERROR_GEN_FAILURE);
  EXPECT_NE(AdjustTokenPrivileges(token.Get(), FALSE, &privileges, 0, nullptr, nullptr), 0);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});
}

TEST(AdjustTokenPrivileges, FailsWithoutAToken) {
  TOKEN_PRIVILEGES privileges{1, {{{19, 0}, SE_PRIVILEGE_ENABLED}}};
  EXPECT_EQ(AdjustTokenPrivileges(nullptr, FALSE, &privileges, 0, nullptr, nullptr), 0);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

}  // namespace
