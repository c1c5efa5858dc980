#include "core/environment.h"

#include "core_test.h"

namespace Halvard {
namespace {

class Environment : public CoreTest {};

TEST_F(Environment, VariableThatIsMissingNeitherExistsNorHolds) {
  EXPECT_FALSE(EnvironmentVariableExists(L"HV_DEBUG_PAUSE"));
  EXPECT_FALSE(EnvironmentVariableHoldsValue(L"HV_DEBUG_PAUSE"));
}

TEST_F(Environment, EmptyVariableExistsButHoldsNothing) {
  machine_.SetVariable(L"HV_DEBUG_PAUSE", L"");
  // What an earlier call may have left behind.
  SetLastError(ERROR_ENVVAR_NOT_FOUND);
  EXPECT_TRUE(EnvironmentVariableExists(L"HV_DEBUG_PAUSE"));
  EXPECT_FALSE(EnvironmentVariableHoldsValue(L"HV_DEBUG_PAUSE"));
}

TEST_F(Environment, AnyTextIsAValue) {
  for (const wchar_t* value : {L"0", L" ", L"a long value"}) {
    machine_.SetVariable(L"HV_DEBUG_PAUSE", value);
    EXPECT_TRUE(EnvironmentVariableExists(L"HV_DEBUG_PAUSE"));
    EXPECT_TRUE(EnvironmentVariableHoldsValue(L"HV_DEBUG_PAUSE"));
  }
}

}  // namespace
}  // namespace Halvard
