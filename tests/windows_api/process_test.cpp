#include "support.h"

namespace {

TEST(ProcessIdToSessionId, KnowsTheSessionOfThisProcess) {
  DWORD session = 4711;
  EXPECT_NE(ProcessIdToSessionId(GetCurrentProcessId(), &session), 0);
  EXPECT_LT(session, 65536u);
  EXPECT_NE(session, 4711u);
}

TEST(SetProcessShutdownParameters, TakesTheApplicationRange) {
  EXPECT_NE(SetProcessShutdownParameters(0x100, 0), 0);
  EXPECT_NE(SetProcessShutdownParameters(0x4FF, 0), 0);
}

TEST(SetProcessShutdownParameters, HigherLevelsAreTheSystems) {
  SKIP_ON_WINE("Wine 8 takes any level");
  EXPECT_EQ(SetProcessShutdownParameters(0x500, 0), 0);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

}  // namespace
