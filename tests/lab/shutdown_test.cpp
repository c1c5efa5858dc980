// Shutting down a machine that can only be told so in the lab.
#include <gtest/gtest.h>

#include <string>

#include "host/windows_api.h"
#include "support/shutdown_record.h"

namespace Lab {
namespace {

class Shutdown : public testing::Test {
 protected:
  static DWORD EnablePrivilege() {
    HANDLE token = nullptr;
    EXPECT_TRUE(
        OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token));
    TOKEN_PRIVILEGES privileges{1, {{{19, 0}, SE_PRIVILEGE_ENABLED}}};
    EXPECT_TRUE(AdjustTokenPrivileges(token, FALSE, &privileges, 0, nullptr, nullptr));
    const DWORD error = GetLastError();
    CloseHandle(token);
    return error;
  }

  static DWORD Initiate(DWORD flags = SHUTDOWN_FORCE_OTHERS) {
    std::wstring message = L"Gr\u00fc\u00dfe";
    return InitiateShutdownW(nullptr, message.data(), 2, flags, 0);
  }

  Json::Value Record() const { return ShutdownRecord(machine_); }

  Instance machine_;
};

TEST_F(Shutdown, NeedsThePrivilegeInForce) {
  EXPECT_EQ(Initiate(), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_TRUE(Record().isNull());
  EXPECT_EQ(EnablePrivilege(), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(Initiate(), DWORD{ERROR_SUCCESS});
}

TEST_F(Shutdown, IsForAdministratorsAlone) {
  machine_.Set("/user/elevated", false);
  EXPECT_EQ(EnablePrivilege(), DWORD{ERROR_NOT_ALL_ASSIGNED});
  EXPECT_EQ(Initiate(), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(Shutdown, LeavesWhatItWasTold) {
  EnablePrivilege();
  EXPECT_EQ(Initiate(), DWORD{ERROR_SUCCESS});
  const Json::Value record = Record();
  EXPECT_EQ(record["message"], "Gr\u00fc\u00dfe");
  EXPECT_EQ(record["gracePeriod"], 2);
  EXPECT_EQ(record["flags"], 1);
}

TEST_F(Shutdown, CanBeginOnlyOnce) {
  EnablePrivilege();
  EXPECT_EQ(Initiate(), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(Initiate(), DWORD{ERROR_SHUTDOWN_IS_SCHEDULED});
}

TEST_F(Shutdown, MayRefuseATimeOfGraceThatSparesTheCaller) {
  machine_.Set("/shutdown/graceNeedsForceSelf", true);
  EnablePrivilege();
  EXPECT_EQ(Initiate(), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(Initiate(SHUTDOWN_FORCE_OTHERS | SHUTDOWN_FORCE_SELF), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(Record()["flags"], 3);
}

}  // namespace
}  // namespace Lab
