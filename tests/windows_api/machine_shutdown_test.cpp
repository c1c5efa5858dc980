// Shutting the machine down, where a test may ask for that: the lab and what stands in for Wine
// note it and shut nothing down.
#include "host/unique_resource.h"
#include "what_wine_lacks.h"

namespace {

// ERROR_SHUTDOWN_IS_SCHEDULED, which not every header has.
constexpr DWORD kAlreadyScheduled = 1190;

class MachineShutdown : public testing::Test {
 protected:
  ~MachineShutdown() override { WindowsApi::ForgetShutdown(); }

  static void EnablePrivilege() {
    HANDLE token = nullptr;
    EXPECT_NE(OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token),
              0);
    const Halvard::Host::UniqueHandle owner(token);
    TOKEN_PRIVILEGES privileges{1, {{{19, 0}, SE_PRIVILEGE_ENABLED}}};
    EXPECT_NE(AdjustTokenPrivileges(token, FALSE, &privileges, 0, nullptr, nullptr), 0);
  }

  static DWORD Initiate() {
    std::wstring message = L"Gr\u00fc\u00dfe";
    return InitiateShutdownW(nullptr, message.data(), 2, SHUTDOWN_FORCE_OTHERS, 0);
  }
};

TEST_F(MachineShutdown, CanBeginOnlyOnce) {
  SKIP_ON_BARE_WINE("InitiateShutdownW of Wine answers 120");
  EnablePrivilege();
  EXPECT_EQ(Initiate(), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(Initiate(), kAlreadyScheduled);
}

}  // namespace
