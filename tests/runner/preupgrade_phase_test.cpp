// The requirements phase as a whole, with a runner that writes what a test has it write.
#include "runner/preupgrade_phase.h"

#include "core/locales.h"
#include "core/property_defaults.h"
#include "discovery/known_names.h"
#include "preupgrade_test.h"
#include "runner_test.h"

namespace Halvard::Runner {
namespace {

using testing::Contains;
using Testing::ErrorLine;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::Known;
using testing::Not;
using Testing::OwnLog;
using Testing::WarningLine;

const std::wstring kExtracted = L"C:\\Extracted \u00e4\u8a66 \U0001D4BD";
const std::wstring kRimsa = kExtracted + L"\\PFiles\\Ostrel\\Rimsa\\";

/// Copies the file beside it, if there is one, to where the output is to be. Its exit code is the
/// one in the other file.
constexpr char kRunner[] = R"(import os, shutil, sys
folder = os.path.dirname(os.path.abspath(__file__))
target = next(a.split('=', 1)[1] for a in sys.argv if a.startswith('--outputFile='))
if os.path.exists(os.path.join(folder, 'output.json')):
    shutil.copyfile(os.path.join(folder, 'output.json'), target)
sys.exit(int(open(os.path.join(folder, 'code.txt')).read()))
)";

constexpr char kOneError[] =
    R"([{"name": "com.ostrel.keldb", "requirements": {
      "coreRequirement": {"requiredSrcDiskSpace": 1}, "extraArguments": {"src.db.type": "big"},
      "requirementMismatchSpecs": [{"text": {"localized": "\u6771"}, "severity": "ERROR"}]}}])";

class PreUpgradePhase : public RunnerTest {
 protected:
  PreUpgradePhase() {
    Known() = {};
    SetHVLocale();
    machine_.RemoveFile(L"%TEMP%\\halvard.log");
    InitializeProperties();
    gProperties[L"URExtractDirectory"] = kExtracted;
    gProperties[L"MIGRATION_TYPE"] = L"embedded";
    gProperties[L"APP_NET_PNID"] = L"before";
    gCachedPrecheckResults = Json::Value("before");
    machine_.WriteFile(kRimsa + L"python\\python.exe", "");
    machine_.WriteFile(kRimsa + L"rimsa_upgrade_runner\\UpgradeRunner.py", kRunner);
    RunnerEndsWith("0");
  }

  void RunnerWrites(const std::string& text) {
    machine_.WriteFile(kRimsa + L"rimsa_upgrade_runner\\output.json", text);
  }
  void RunnerEndsWith(const char* code) {
    machine_.WriteFile(kRimsa + L"rimsa_upgrade_runner\\code.txt", code);
  }

  int Run() { return LaunchUpgradeRunnerPreUpgradePhase(output_); }

  /// Checks that the phase has ended without anything taken from an output.
  void ExpectNothingTaken(int error) {
    EXPECT_TRUE(output_.isNull());
    EXPECT_TRUE(gCachedPrecheckResults.Value().isNull());
    EXPECT_EQ(PropertyValue(L"APP_NET_PNID"), L"before");
    EXPECT_EQ(PropertyValue(L"PREUPGRADE_CHECKS_STATUS"), L"FINISHED");
    EXPECT_THAT(
        OwnLog(),
        Contains(WarningLine(L"LaunchUpgradeRunnerPreUpgradePhase: Failed to load Json from " +
                             outputFile_ + L" file. Error code: " + std::to_wstring(error))));
    EXPECT_FALSE(machine_.FileExists(outputFile_));
  }

  const std::wstring outputFile_ = std::wstring(Lab::Instance::kProfile) +
                                   L"\\AppData\\Local\\Temp\\UpgradeRunnerPreupgradeOutput.json";
  /// Something that has to go.
  Json::Value output_ = Json::Value("before");
};

TEST_F(PreUpgradePhase, TakesTheOutputAndRemovesTheFile) {
  RunnerWrites(kOneError);
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(output_, Parse(kOneError));
  EXPECT_EQ(gCachedPrecheckResults.Value(), output_);
  EXPECT_EQ(PropertyValue(L"SRC_DB_TYPE"), L"big");
  EXPECT_EQ(PropertyValue(L"EXPORT_DISK_REQ_SIZE"), L"2048");
  EXPECT_EQ(PropertyValue(L"PREUPGRADE_CHECKS_STATUS"), L"FINISHED");
  EXPECT_FALSE(machine_.FileExists(outputFile_));
  const std::vector<Testing::LogLine> log = OwnLog();
  EXPECT_EQ(
      log.front(),
      InfoLine(
          L"LaunchUpgradeRunnerPreUpgradePhase: Changed the status of pre-upgrade checks to: RUNNING"));
  EXPECT_EQ(
      log.back(),
      InfoLine(
          L"LaunchUpgradeRunnerPreUpgradePhase: Changed the status of pre-upgrade checks to: FINISHED"));
  EXPECT_THAT(NewHandles(), IsEmpty());
}

TEST_F(PreUpgradePhase, AFailedChoiceOfTheNameIsLoggedAndNoFailure) {
  RunnerWrites(kOneError);
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(PropertyValue(L"APP_NET_PNID"), L"");
  EXPECT_NE(PropertyValue(L"PNID_ERROR"), L"");
  EXPECT_THAT(OwnLog(),
              Contains(ErrorLine(
                  L"LaunchUpgradeRunnerPreUpgradePhase: Failed to parse preupgrade output.")));
}

TEST_F(PreUpgradePhase, AChosenNameIsNoMatterForTheLog) {
  Known().usable = {L"kv.test"};
  gProperties[L"MIGRATION_TYPE"] = L"management";
  RunnerWrites(R"([{"name": "com.ostrel.kelvd", "requirements": {"extraArguments": {
    "appliance.net.pnid": "kv.test", "kelvd.cert.dns": "kv.test"}}}])");
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(PropertyValue(L"APP_NET_PNID"), L"kv.test");
  EXPECT_THAT(OwnLog(), Not(Contains(testing::Field(&Testing::LogLine::level, L'E'))));
}

TEST_F(PreUpgradePhase, ARunnerThatFailedIsReadAllTheSame) {
  RunnerWrites(kOneError);
  RunnerEndsWith("1");
  EXPECT_EQ(Run(), 1603);
  EXPECT_EQ(gCachedPrecheckResults.Value(), Parse(kOneError));
  EXPECT_EQ(PropertyValue(L"SRC_DB_TYPE"), L"big");
}

TEST_F(PreUpgradePhase, AnUpdateManagerNeedsTheEstimatesAlone) {
  gProperties[L"MIGRATION_TYPE"] = L"tum";
  RunnerWrites(kOneError);
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(PropertyValue(L"EXPORT_DATA_SIZE"), L"1024");
  EXPECT_EQ(PropertyValue(L"APP_NET_PNID"), L"before");
  EXPECT_EQ(PropertyValue(L"SRC_DB_TYPE"), L"");
  RunnerWrites("{}");
  EXPECT_EQ(Run(), 0);
  EXPECT_THAT(
      OwnLog(),
      Contains(ErrorLine(
          L"LaunchUpgradeRunnerPreUpgradePhase: Failed to parse preupgrade output to retrieve export estimates.")));
}

TEST_F(PreUpgradePhase, DocumentsThatAreNoArraysAreHandedOutAsTheyStand) {
  for (const char* text : {"{\"a\": 1}", "[]", "{}"}) {
    RunnerWrites(text);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(output_, Parse(text));
    EXPECT_EQ(gCachedPrecheckResults.Value(), output_);
  }
  EXPECT_THAT(
      OwnLog(),
      Contains(ErrorLine(L"LaunchUpgradeRunnerPreUpgradePhase: Failed to parse preupgrade output."))
          .Times(3));
}

TEST_F(PreUpgradePhase, WithoutAFileThereIsNoOutput) {
  RunnerEndsWith("3");
  EXPECT_EQ(Run(), 1603);
  ExpectNothingTaken(2);
}

struct Unreadable {
  const char* name;
  std::string text;
  int error;
};

class UnreadableOutput : public PreUpgradePhase, public testing::WithParamInterface<Unreadable> {};

TEST_P(UnreadableOutput, CountsAsNoneAndIsRemoved) {
  RunnerWrites(GetParam().text);
  EXPECT_EQ(Run(), 0);
  ExpectNothingTaken(GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, UnreadableOutput,
    testing::Values(Unreadable{"Empty", "", 1006}, Unreadable{"Text", "text", 13},
                    Unreadable{"Half", R"([{"name": "com.ostrel.keldb", "requi)", 13},
                    Unreadable{"TwoRootsInOneArray", "[1 2]", 13},
                    Unreadable{"DeeplyNested",
                               std::string(100'000, '[') + std::string(100'000, ']'), 13},
                    Unreadable{"ByteOrderMarkOf16Bits", std::string("\xFF\xFE[\0]\0", 6), 13}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(PreUpgradePhase, AnOutputThatCannotBeConvertedEndsThePhaseAndThrows) {
  const struct {
    const wchar_t* type;
    const wchar_t* line;
  } rows[] = {
      {L"embedded", L"LaunchUpgradeRunnerPreUpgradePhase: Failed to parse preupgrade output."},
      {L"tum",
       L"LaunchUpgradeRunnerPreUpgradePhase: Failed to parse preupgrade output to retrieve export estimates."}};
  for (const auto& row : rows) {
    gProperties[L"MIGRATION_TYPE"] = row.type;
    RunnerWrites(R"([{"name": ["list"]}])");
    EXPECT_THROW((void)Run(), Json::Exception);
    EXPECT_EQ(PropertyValue(L"PREUPGRADE_CHECKS_STATUS"), L"FINISHED");
    EXPECT_EQ(gCachedPrecheckResults.Value(), Parse(R"([{"name": ["list"]}])"));
    EXPECT_FALSE(machine_.FileExists(outputFile_));
    EXPECT_THAT(OwnLog(), Contains(ErrorLine(row.line)));
  }
}

class KeptOutput : public PreUpgradePhase, public testing::WithParamInterface<const wchar_t*> {};

TEST_P(KeptOutput, StaysWhateverTheVariablesValue) {
  machine_.SetVariable(L"KEEP_UR_JSON_FILES", GetParam());
  RunnerWrites(kOneError);
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(machine_.ReadFile(outputFile_), kOneError);
}

INSTANTIATE_TEST_SUITE_P(Values, KeptOutput, testing::Values(L"", L"0", L"1"));

TEST(CachedPrecheckResults, ReadersKeepTheirDocument) {
  gCachedPrecheckResults = Parse("[1]");
  const Json::Value first = gCachedPrecheckResults;
  gCachedPrecheckResults = Parse("[2]");
  EXPECT_EQ(first, Parse("[1]"));
  EXPECT_EQ(gCachedPrecheckResults.Value(), Parse("[2]"));
}

}  // namespace
}  // namespace Halvard::Runner
