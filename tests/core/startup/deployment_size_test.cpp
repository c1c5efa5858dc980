#include "core/startup/deployment_size.h"

#include "core_test.h"
#include "support/console_capture.h"

namespace Halvard {
namespace {

using Testing::ConsoleCapture;
using testing::Contains;
using Testing::ErrorLine;
using testing::IsEmpty;
using Testing::OwnLog;
using Testing::WarningLine;

struct SizeCase {
  std::int32_t hosts;
  std::int32_t machines;
  const wchar_t* size;
};
constexpr SizeCase kSizes[] = {
    {0, 0, L"Tiny"},       {10, 100, L"Tiny"},     {11, 100, L"Small"},     {10, 101, L"Small"},
    {100, 1000, L"Small"}, {101, 1000, L"Medium"}, {100, 1001, L"Medium"},  {400, 4000, L"Medium"},
    {401, 0, L"Large"},    {400, 4001, L"Large"},  {1000, 10000, L"Large"}, {1001, 5, L""},
    {5, 10001, L""},       {-1, -1, L"Tiny"},
};

class DeploymentSize : public testing::TestWithParam<SizeCase> {};

TEST_P(DeploymentSize, FirstRowThatFitsDecides) {
  EXPECT_EQ(DeploymentSizeFor(GetParam().hosts, GetParam().machines), GetParam().size);
}
INSTANTIATE_TEST_SUITE_P(Limits, DeploymentSize, testing::ValuesIn(kSizes));

class LargeInventory : public CoreTest {
 protected:
  ConsoleCapture console_;
};

TEST_F(LargeInventory, WithinTheLimitsPassesWithoutAWord) {
  EXPECT_TRUE(SetDeploymentSize(1000, 10000));
  EXPECT_TRUE(gProperties[L"DST_DEPLOYMENT_SIZE"] == L"Large");
  EXPECT_EQ(console_.Text(), L"");
  EXPECT_THAT(OwnLog(), IsEmpty());
}

TEST_F(LargeInventory, BeyondTheLimitsStopsTheRun) {
  const std::wstring text =
      L"Kelvane Server Inventory Size exceeds the supported limit of 1000 hosts and 10000 VMs and can't be migrated.";
  EXPECT_FALSE(SetDeploymentSize(1001, 5));
  EXPECT_EQ(console_.Text(), text + L"\n");
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"wmain: " + text)));
  EXPECT_TRUE(gProperties[L"HV_INIT_ERROR"] == text);
  EXPECT_TRUE(gProperties[L"DST_DEPLOYMENT_SIZE"].empty());
}

TEST_F(LargeInventory, BeyondTheLimitsPassesWhereTheVariableExistsInAnyForm) {
  const std::wstring text =
      L"Allowing migration of inventory which exceeds supported limits as HV_ALLOW_LARGE_PLUS_INV is set.";
  for (const wchar_t* value : {L"", L"0", L"yes"}) {
    machine_.SetVariable(L"HV_ALLOW_LARGE_PLUS_INV", value);
    gProperties[L"DST_DEPLOYMENT_SIZE"] = L"";
    EXPECT_TRUE(SetDeploymentSize(5, 10001));
    EXPECT_TRUE(gProperties[L"DST_DEPLOYMENT_SIZE"] == L"Large");
  }
  EXPECT_EQ(console_.Text(), text + L"\n" + text + L"\n" + text + L"\n");
  EXPECT_THAT(OwnLog(), Contains(WarningLine(L"wmain: " + text)).Times(3));
}

}  // namespace
}  // namespace Halvard
