#include "machine/machine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include "errhandlingapi.h"
#include "machine/call.h"
#include "support/lab_instance.h"

namespace Lab {
namespace {

using testing::ExitedWithCode;
using testing::KilledBySignal;

// These run in a child of their own, where no machine is open yet.

TEST(NoMachineDeathTest, MissingVariableEndsTheProgramWithThree) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT((unsetenv("HALVARD_LAB"), (void)TheMachine()), ExitedWithCode(3),
              "lab: no machine: HALVARD_LAB has to name an instance folder");
}

TEST(NoMachineDeathTest, FolderThatIsNoInstanceEndsTheProgramWithThree) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT((setenv("HALVARD_LAB", "/no/such/folder", 1), (void)TheMachine()), ExitedWithCode(3),
              "lab: /no/such/folder/machine.json: can't be read");
}

TEST(NoMachineDeathTest, VariableNamesTheMachineOfTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const Instance instance;
  setenv("HALVARD_LAB", instance.Folder().c_str(), 1);
  EXPECT_EXIT(_Exit(TheMachine().Folder() == getenv("HALVARD_LAB") ? 0 : 1), ExitedWithCode(0), "");
  unsetenv("HALVARD_LAB");
}

TEST(OpenMachine, TakesThePlaceOfTheOneBefore) {
  const Instance first("embedded-5.5");
  Machine& before = TheMachine();
  EXPECT_FALSE(before.Describe().products.empty());
  const Instance second("windows-server");
  EXPECT_TRUE(TheMachine().Describe().products.empty());
  EXPECT_FALSE(before.Describe().products.empty());
}

TEST(Call, ReportsThePlannedErrorAndTheLastErrorOnlyOnDemand) {
  Instance instance;
  instance.PlanFault({.function = "RegGetValueW", .call = 2, .error = 5});
  SetLastError(4711);
  EXPECT_FALSE(Call("RegGetValueW").FailsByPlan());
  const Call second("RegGetValueW");
  EXPECT_EQ(second.PlannedError(), 5u);
  EXPECT_EQ(GetLastError(), 4711u);
  EXPECT_TRUE(second.FailsByPlan());
  EXPECT_EQ(GetLastError(), 5u);
  EXPECT_EQ(TheMachine().Faults().Calls("RegGetValueW"), 2u);
}

TEST(CallDeathTest, UnsupportedArgumentsStopTheProgramAloud) {
  EXPECT_EXIT(RefuseCall("RegGetValueW", "flags == 2"), KilledBySignal(SIGABRT),
              "lab: RegGetValueW is supported only with: flags == 2");
}

}  // namespace
}  // namespace Lab
