#include "host/machine_shutdown.h"

#include <gtest/gtest.h>

#include "support/shutdown_record.h"

namespace Halvard::Host {
namespace {

class MachineShutdown : public testing::Test {
 protected:
  Json::Value Record() const { return Lab::ShutdownRecord(machine_); }

  Lab::Instance machine_;
};

TEST_F(MachineShutdown, BeginsInTwoSecondsWithOtherProgramsClosed) {
  EXPECT_EQ(ShutDownThisMachine(L"Down \u8a66"), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(Record()["message"], "Down \u8a66");
  EXPECT_EQ(Record()["gracePeriod"], 2);
  EXPECT_EQ(Record()["flags"], 1);
}

TEST_F(MachineShutdown, ClosesTheAgentTooWhereTheSystemWantsIt) {
  machine_.Set("/shutdown/graceNeedsForceSelf", true);
  EXPECT_EQ(ShutDownThisMachine(L"Down"), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(Record()["flags"], 3);
}

TEST_F(MachineShutdown, AnswersTheCodeOfTheLastTry) {
  machine_.PlanFault({.function = "InitiateShutdownW", .call = 1, .error = 1115});
  EXPECT_EQ(ShutDownThisMachine(L"Down"), 1115u);
  machine_.Set("/faults", Json::Value(Json::arrayValue));
  machine_.PlanFault({.function = "InitiateShutdownW", .from = 1, .error = 87});
  EXPECT_EQ(ShutDownThisMachine(L"Down"), 87u);
  EXPECT_TRUE(Record().isNull());
}

TEST_F(MachineShutdown, IsRefusedToWhoMayNot) {
  machine_.Set("/user/elevated", false);
  EXPECT_EQ(ShutDownThisMachine(L"Down"), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(MachineShutdown, AsksInVainWithoutThePrivilege) {
  for (const char* function :
       {"OpenProcessToken", "LookupPrivilegeValueW", "AdjustTokenPrivileges"}) {
    machine_.Set("/faults", Json::Value(Json::arrayValue));
    machine_.PlanFault({.function = function, .call = 1, .error = 5});
    EXPECT_EQ(ShutDownThisMachine(L"Down"), DWORD{ERROR_ACCESS_DENIED}) << function;
  }
}

}  // namespace
}  // namespace Halvard::Host
