#include "runner/export_estimates.h"

#include <limits>

#include "core/core_test.h"
#include "discovery/installed_products.h"
#include "preupgrade_test.h"

namespace Halvard::Runner {
namespace {

using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using testing::IsEmpty;
using testing::Not;
using Testing::OwnLog;

class ExportEstimates : public CoreTest {
 protected:
  ExportEstimates() { Discovery::localTumInstalled = true; }
  ~ExportEstimates() override { Discovery::localTumInstalled = false; }

  static std::vector<std::wstring> Stored() {
    return {PropertyValue(L"EXPORT_DATA_SIZE"), PropertyValue(L"EXPORT_DISK_REQ_SIZE"),
            PropertyValue(L"EXPORT_TIME_ESTIMATE"), PropertyValue(L"IMPORT_TIME_ESTIMATE")};
  }
};

TEST_F(ExportEstimates, AreAddedUp) {
  EXPECT_TRUE(ParseExportEstimatesFromPreUpgradeOutput(Parse(R"([
    {"name": "com.ostrel.keldb", "requirements": {"coreRequirement": {
      "requiredSrcDiskSpace": 1.5, "exportEstimationTime": 7, "importEstimationTime": 11}}},
    {"name": "j\u00f6rg \u6771", "requirements": {"coreRequirement": {
      "requiredSrcDiskSpace": 2, "exportEstimationTime": 30, "importEstimationTime": 0}}}])")));
  EXPECT_THAT(Stored(), ElementsAre(L"3584", L"7168", L"37", L"11"));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          InfoLine(
              L"ParseExportEstimatesFromPreUpgradeOutput: Component 'com.ostrel.keldb': Export disk req [1536 MB], Export time estimate [7 mins] and Import time estimate [11 mins]."),
          InfoLine(
              L"ParseExportEstimatesFromPreUpgradeOutput: Component 'j\u00f6rg \u6771': Export disk req [2048 MB], Export time estimate [30 mins] and Import time estimate [0 mins].")));
}

struct DiskSpace {
  const char* gigabytes;
  const wchar_t* megabytes;
  const wchar_t* twice;
};

TEST_F(ExportEstimates, DiskSpaceIsCutToMegabytes) {
  constexpr DiskSpace kRows[] = {
      {"0.5", L"512", L"1024"},   {"0.0004", L"0", L"0"},
      {"0.00099", L"1", L"2"},    {"1", L"1024", L"2048"},
      {"-0.0015", L"-1", L"-2"},  {"null", L"0", L"0"},
      {"true", L"1024", L"2048"}, {"2097151.999", L"2147483646", L"-4"},
  };
  for (const DiskSpace& row : kRows) {
    SCOPED_TRACE(row.gigabytes);
    EXPECT_TRUE(ParseExportEstimatesFromPreUpgradeOutput(OneComponent(
        "x",
        std::string(R"({"coreRequirement": {"requiredSrcDiskSpace": )") + row.gigabytes + "}}")));
    EXPECT_THAT(Stored(), ElementsAre(row.megabytes, row.twice, L"0", L"0"));
  }
}

TEST_F(ExportEstimates, NoComponentsGiveZeros) {
  gProperties[L"EXPORT_DATA_SIZE"] = L"1";
  EXPECT_TRUE(ParseExportEstimatesFromPreUpgradeOutput(Parse("[]")));
  EXPECT_THAT(Stored(), ElementsAre(L"0", L"0", L"0", L"0"));
  EXPECT_THAT(OwnLog(), IsEmpty());
}

TEST_F(ExportEstimates, WhatIsAbsentCountsAsNothing) {
  EXPECT_TRUE(ParseExportEstimatesFromPreUpgradeOutput(Parse(
      R"([null, {}, {"name": null, "requirements": null}, {"requirements": {"coreRequirement": {}}}])")));
  EXPECT_THAT(Stored(), ElementsAre(L"0", L"0", L"0", L"0"));
  EXPECT_THAT(
      OwnLog(),
      Contains(
          InfoLine(
              L"ParseExportEstimatesFromPreUpgradeOutput: Component '': Export disk req [0 MB], Export time estimate [0 mins] and Import time estimate [0 mins]."))
          .Times(4));
}

TEST_F(ExportEstimates, SumsRunOverAtThirtyTwoBits) {
  EXPECT_TRUE(ParseExportEstimatesFromPreUpgradeOutput(Parse(R"([
    {"requirements": {"coreRequirement": {"exportEstimationTime": 2147483647}}},
    {"requirements": {"coreRequirement": {"exportEstimationTime": 2}}}])")));
  EXPECT_EQ(PropertyValue(L"EXPORT_TIME_ESTIMATE"),
            std::to_wstring(std::numeric_limits<std::int32_t>::min() + 1));
}

constexpr wchar_t kRemoteLine[] =
    L"ParseExportEstimatesFromPreUpgradeOutput: TUM is installed remotely, so not aggregating TUM exportdisk requirements.";

TEST_F(ExportEstimates, ARemoteUpdateManagerIsAddedWhateverTheLogSays) {
  Discovery::localTumInstalled = false;
  const std::string requirements = R"({"coreRequirement": {"requiredSrcDiskSpace": 1}})";
  EXPECT_TRUE(ParseExportEstimatesFromPreUpgradeOutput(
      OneComponent("com.ostrel.kelIntegrity", requirements)));
  EXPECT_EQ(PropertyValue(L"EXPORT_DATA_SIZE"), L"1024");
  EXPECT_EQ(OwnLog().back(), InfoLine(kRemoteLine));
}

TEST_F(ExportEstimates, OnlyARemoteUpdateManagerIsToldOf) {
  EXPECT_TRUE(
      ParseExportEstimatesFromPreUpgradeOutput(OneComponent("com.ostrel.kelIntegrity", "{}")));
  Discovery::localTumInstalled = false;
  EXPECT_TRUE(
      ParseExportEstimatesFromPreUpgradeOutput(OneComponent("com.ostrel.kelintegrity", "{}")));
  EXPECT_THAT(OwnLog(), Not(Contains(InfoLine(kRemoteLine))));
}

TEST_F(ExportEstimates, AnythingButAnArrayIsRefused) {
  gProperties[L"EXPORT_DATA_SIZE"] = L"1";
  for (const char* text : {"null", "{}", R"({"name": "x"})", "5", "\"text\"", "true"}) {
    EXPECT_FALSE(ParseExportEstimatesFromPreUpgradeOutput(Parse(std::string("[") + text + "]")[0]))
        << text;
    EXPECT_EQ(
        OwnLog().back(),
        ErrorLine(
            L"ParseExportEstimatesFromPreUpgradeOutput: UpgradeRunner PreUpgrade output is not formatted correctly."));
  }
  EXPECT_EQ(PropertyValue(L"EXPORT_DATA_SIZE"), L"1");
}

TEST_F(ExportEstimates, WhatCannotBeConvertedThrowsAndStoresNothing) {
  gProperties[L"EXPORT_DATA_SIZE"] = L"1";
  for (const char* text :
       {"[5]", R"(["com.ostrel.keldb"])", "[[]]", R"([{"name": []}])", R"([{"name": {}}])",
        R"([{"requirements": "none"}])", R"([{"requirements": []}])",
        R"([{"requirements": {"coreRequirement": 1}}])",
        R"([{"requirements": {"coreRequirement": {"requiredSrcDiskSpace": "12"}}}])",
        R"([{"requirements": {"coreRequirement": {"requiredSrcDiskSpace": []}}}])",
        R"([{"requirements": {"coreRequirement": {"requiredSrcDiskSpace": 2097152}}}])",
        R"([{"requirements": {"coreRequirement": {"requiredSrcDiskSpace": 1e308}}}])",
        R"([{"requirements": {"coreRequirement": {"exportEstimationTime": "7"}}}])",
        R"([{"requirements": {"coreRequirement": {"exportEstimationTime": 2147483648}}}])",
        R"([{"requirements": {"coreRequirement": {"importEstimationTime": {}}}}])"}) {
    EXPECT_THROW(ParseExportEstimatesFromPreUpgradeOutput(Parse(text)), Json::Exception) << text;
  }
  EXPECT_EQ(PropertyValue(L"EXPORT_DATA_SIZE"), L"1");
}

}  // namespace
}  // namespace Halvard::Runner
