#include "runner/runner_launch.h"

#include <json/reader.h>

#include <string>
#include <vector>

#include "core/automated_tum_upgrade.h"
#include "core/property_defaults.h"
#include "machine/machine.h"
#include "machine/text.h"
#include "runner_test.h"
#include "support/machine_processes.h"

namespace Halvard::Runner {
namespace {

using testing::Contains;
using Testing::ErrorLine;
using testing::HasSubstr;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::LogLine;
using testing::Not;
using Testing::WarningLine;

const std::wstring kExtracted = L"C:\\Extracted \u00e4\u8a66 \U0001D4BD";
constexpr wchar_t kScriptFolder[] = L"\\PFiles\\Ostrel\\Rimsa\\rimsa_upgrade_runner\\";

/// A runner that keeps its arguments, its input and its folder's name, then ends with a code.
std::string RunnerThatEndsWith(int code) {
  return R"(import json, os, shutil, sys
target = next(a.split('=', 1)[1] for a in sys.argv if a.startswith('--outputFile='))
source = next(a.split('=', 1)[1] for a in sys.argv if a.startswith('--configFile='))
with open(target, 'w', encoding='utf-8') as file:
    json.dump({'script': sys.argv[0], 'arguments': sys.argv[1:],
               'input': open(source, encoding='utf-8').read()}, file)
sys.exit()" +
         std::to_string(code) + ")\n";
}

class RunnerLaunch : public RunnerTest {
 protected:
  RunnerLaunch() {
    machine_.WriteFile(kExtracted + L"\\PFiles\\Ostrel\\Rimsa\\python\\python.exe", "");
    InstallRunner(0);
    InitializeProperties();
    gProperties[L"MC_LOCALE"] = L"en";
    gProperties[L"URExtractDirectory"] = kExtracted;
    gProperties[L"SSO_PASSWORD"] = L"secret";
    automatedTumUpgrade = false;
  }
  ~RunnerLaunch() override {
    EXPECT_THAT(Lab::ProcessesOf(machine_), IsEmpty());
    EXPECT_THAT(NewHandles(), IsEmpty());
    // No link is left in the drive's root.
    EXPECT_THAT(machine_.ListFolder(L"C:\\"), Not(Contains(HasSubstr(L"mig"))));
  }

  void InstallRunner(int code, const std::wstring& script = L"UpgradeRunner.py") {
    machine_.WriteFile(kExtracted + kScriptFolder + script, RunnerThatEndsWith(code));
  }

  Json::Value Output(const std::wstring& name) const {
    Json::Value output;
    EXPECT_TRUE(Json::Reader().parse(machine_.ReadFile(temp_ + name).value_or(""), output));
    return output;
  }

  /// \return The command line in the log, with LINK in place of the link's path.
  static std::wstring LoggedCommandLine() {
    const std::wstring prefix = L"LaunchProcAndMonitorStatus: Launching \"";
    for (const LogLine& line : LogWithoutIds()) {
      if (!line.message.starts_with(prefix)) continue;
      std::wstring text = line.message.substr(prefix.size());
      text = text.substr(0, text.rfind(L"\" in \""));
      std::wstring link = text.substr(1, text.find(L"\\PFiles") - 1);
      for (std::size_t at = text.find(link); at != std::wstring::npos; at = text.find(link)) {
        text.replace(at, link.size(), L"LINK");
      }
      return text;
    }
    return {};
  }

  std::wstring ExpectedLine(const std::wstring& mode, const std::wstring& output) const {
    return L"\"LINK\\PFiles\\Ostrel\\Rimsa\\python\\python.exe\" "
           L"\"LINK\\PFiles\\Ostrel\\Rimsa\\rimsa_upgrade_runner\\UpgradeRunner.py\" " +
           mode + L" --configFile=\"" + temp_ + L"UpgradeRunnerInput.json\" --logDir=\"" + temp_ +
           L"kvsMigration\"  --locale=en --outputFile=\"" + temp_ + output + L"\"";
  }

  const std::wstring temp_ = std::wstring(Lab::Instance::kProfile) + L"\\AppData\\Local\\Temp\\";
  const std::wstring input_ = temp_ + L"UpgradeRunnerInput.json";
};

TEST_F(RunnerLaunch, RunsTheRequirementsPhaseThroughAShortLink) {
  EXPECT_EQ(LaunchUpgradeRunnerCommon(RunnerPhaseRequirements), 0);
  EXPECT_EQ(LoggedCommandLine(),
            ExpectedLine(L"--mode=requirements", L"UpgradeRunnerPreupgradeOutput.json"));
  const Json::Value output = Output(L"UpgradeRunnerPreupgradeOutput.json");
  EXPECT_THAT(output["input"].asString(), HasSubstr("\"secret\""));
  EXPECT_EQ(output["arguments"].size(), 5u);
  const std::vector<LogLine> log = LogWithoutIds();
  EXPECT_EQ(log.front(), InfoLine(L"Entering function: LaunchUpgradeRunnerCommon"));
  EXPECT_EQ(log[log.size() - 2],
            InfoLine(L"LaunchUpgradeRunnerCommon: Successfully deleted file: " + input_));
  EXPECT_EQ(log.back(), InfoLine(L"Leaving function: LaunchUpgradeRunnerCommon"));
}

struct Silent {
  const wchar_t* property;
  const wchar_t* mode;
};

class ExportPhase : public RunnerLaunch, public testing::WithParamInterface<Silent> {};

TEST_P(ExportPhase, IsSilentForOneAlone) {
  gProperties[L"UR_SILENT_EXPORT"] = GetParam().property;
  EXPECT_EQ(LaunchUpgradeRunnerCommon(RunnerPhaseExport), 0);
  EXPECT_EQ(LoggedCommandLine(), ExpectedLine(GetParam().mode, L"UpgradeRunnerExportOutput.json"));
}

INSTANTIATE_TEST_SUITE_P(Values, ExportPhase,
                         testing::Values(Silent{L"1", L"--mode=export --silent"},
                                         Silent{L"", L"--mode=export"},
                                         Silent{L"0", L"--mode=export"},
                                         Silent{L"true", L"--mode=export"},
                                         Silent{L"11", L"--mode=export"}));

TEST_F(RunnerLaunch, FailsWithTheRunner) {
  InstallRunner(1);
  EXPECT_EQ(LaunchUpgradeRunnerCommon(RunnerPhaseRequirements), 1603);
  EXPECT_EQ(LaunchUpgradeRunnerCommon(RunnerPhaseExport), 1603);
  const std::vector<LogLine> log = LogWithoutIds();
  const auto begins = [](const wchar_t* text) {
    return Contains(testing::Field(&LogLine::message, testing::StartsWith(text)));
  };
  EXPECT_THAT(log,
              begins(L"LaunchUpgradeRunnerCommon: Failed to run pre-upgrade phase: \"C:\\mig"));
  EXPECT_THAT(log, begins(L"LaunchUpgradeRunnerCommon: Failed to run export phase: \"C:\\mig"));
  // What it has to say is there all the same, and its passwords aren't.
  EXPECT_TRUE(machine_.FileExists(temp_ + L"UpgradeRunnerExportOutput.json"));
  EXPECT_FALSE(machine_.FileExists(input_));
}

TEST_F(RunnerLaunch, UsesTheOrchestratorWhenTold) {
  InstallRunner(0, L"UpgradeOrchestrator.py");
  automatedTumUpgrade = true;
  EXPECT_EQ(LaunchUpgradeRunnerCommon(RunnerPhaseRequirements), 0);
  EXPECT_THAT(LogWithoutIds(),
              Contains(InfoLine(L"LaunchUpgradeRunnerCommon: Using UpgradeOrchestrator.")));
  EXPECT_THAT(Output(L"UpgradeRunnerPreupgradeOutput.json")["script"].asString(),
              testing::EndsWith("/UpgradeOrchestrator.py"));
  automatedTumUpgrade = false;
}

TEST_F(RunnerLaunch, GoesTheLongWayWithoutALink) {
  machine_.PlanFault({.function = "CreateSymbolicLinkW", .error = 1314});
  EXPECT_EQ(LaunchUpgradeRunnerCommon(RunnerPhaseRequirements), 0);
  EXPECT_THAT(LogWithoutIds(),
              Contains(ErrorLine(
                  L"LaunchUpgradeRunnerCommon: Failed to create symbolic link for UR path.")));
  EXPECT_THAT(Output(L"UpgradeRunnerPreupgradeOutput.json")["script"].asString(),
              HasSubstr(Lab::ToUtf8(kExtracted.substr(3))));
}

TEST_F(RunnerLaunch, NeedsATempDirectory) {
  machine_.PlanFault({.function = "GetTempPathW", .call = 2, .error = 5});
  EXPECT_EQ(LaunchUpgradeRunnerCommon(RunnerPhaseRequirements), 1603);
  EXPECT_THAT(LogWithoutIds(),
              Contains(ErrorLine(
                  L"LaunchUpgradeRunnerCommon: Failed to get the temp directory. Error: 5")));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("CreateProcessW"), 0u);
}

TEST_F(RunnerLaunch, NeedsItsInputFile) {
  gProperties[L"UR_INPUT_JSON"] = L"";
  EXPECT_EQ(LaunchUpgradeRunnerCommon(RunnerPhaseRequirements), 1603);
  EXPECT_THAT(LogWithoutIds(),
              Contains(ErrorLine(
                  L"LaunchUpgradeRunnerCommon: Failed to create input file for upgrade runner")));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("CreateProcessW"), 0u);
}

TEST_F(RunnerLaunch, StartsNothingWhereTheTempDirectoryCannotBeWritten) {
  machine_.PlanFault({.function = "CreateFileW", .match = L"UpgradeRunnerInput", .error = 5});
  EXPECT_EQ(LaunchUpgradeRunnerCommon(RunnerPhaseRequirements), 1603);
  EXPECT_THAT(LogWithoutIds(),
              testing::IsSupersetOf(
                  {ErrorLine(L"CreateUpgradeRunnerInputFile: Failed to save json to " + input_ +
                             L" file. Error: 5"),
                   ErrorLine(L"LaunchUpgradeRunnerCommon: Failed to create input file for upgrade "
                             L"runner")}));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("CreateProcessW"), 0u);
}

TEST_F(RunnerLaunch, LeavesNothingOfAnInputFileThatCouldNotBeFinished) {
  machine_.PlanFault({.function = "WriteFile", .error = 112});
  EXPECT_EQ(LaunchUpgradeRunnerCommon(RunnerPhaseRequirements), 1603);
  EXPECT_FALSE(machine_.FileExists(input_));
}

TEST_F(RunnerLaunch, NeedsTheLocaleAndTheFolder) {
  gProperties[L"MC_LOCALE"] = L"";
  EXPECT_EQ(LaunchUpgradeRunnerCommon(RunnerPhaseRequirements), 1603);
  gProperties[L"MC_LOCALE"] = L"de";
  gProperties[L"URExtractDirectory"] = L"";
  EXPECT_EQ(LaunchUpgradeRunnerCommon(RunnerPhaseRequirements), 1603);
  EXPECT_THAT(
      LogWithoutIds(),
      testing::IsSupersetOf(
          {ErrorLine(L"LaunchUpgradeRunnerCommon: Missing required properties: \"\" \"" +
                     kExtracted + L"\""),
           ErrorLine(L"LaunchUpgradeRunnerCommon: Missing required properties: \"de\" \"\"")}));
  EXPECT_FALSE(machine_.FileExists(input_));
}

TEST_F(RunnerLaunch, KnowsTwoPhases) {
  EXPECT_EQ(LaunchUpgradeRunnerCommon(static_cast<RunnerPhase>(1913)), 1603);
  EXPECT_THAT(LogWithoutIds(),
              Contains(ErrorLine(L"LaunchUpgradeRunnerCommon: Unhandled phase type: 1913")));
  EXPECT_FALSE(machine_.FileExists(input_));
}

TEST_F(RunnerLaunch, RemovesTheOutputOfAnEarlierRun) {
  machine_.WriteFile(temp_ + L"UpgradeRunnerPreupgradeOutput.json", "old");
  machine_.WriteFile(kExtracted + kScriptFolder + L"UpgradeRunner.py", "");
  EXPECT_EQ(LaunchUpgradeRunnerCommon(RunnerPhaseRequirements), 0);
  EXPECT_FALSE(machine_.FileExists(temp_ + L"UpgradeRunnerPreupgradeOutput.json"));
  EXPECT_EQ(LaunchUpgradeRunnerCommon(RunnerPhaseRequirements), 0);
  EXPECT_THAT(LogWithoutIds(),
              Contains(InfoLine(L"LaunchUpgradeRunnerCommon: File " + temp_ +
                                L"UpgradeRunnerPreupgradeOutput.json does not exist."))
                  .Times(1));
}

TEST_F(RunnerLaunch, GoesOnWithAnOldOutputThatCantBeRemoved) {
  machine_.PlanFault({.function = "DeleteFileW", .match = L"PreupgradeOutput", .error = 32});
  EXPECT_EQ(LaunchUpgradeRunnerCommon(RunnerPhaseRequirements), 0);
  EXPECT_THAT(LogWithoutIds(),
              Contains(WarningLine(L"LaunchUpgradeRunnerCommon: Failed to delete file " + temp_ +
                                   L"UpgradeRunnerPreupgradeOutput.json. Error code: 32.")));
}

TEST_F(RunnerLaunch, TellsOfAnInputFileThatCantBeRemoved) {
  machine_.PlanFault({.function = "DeleteFileW", .call = 2, .match = L"RunnerInput", .error = 32});
  EXPECT_EQ(LaunchUpgradeRunnerCommon(RunnerPhaseRequirements), 0);
  EXPECT_THAT(LogWithoutIds(), Contains(WarningLine(L"LaunchUpgradeRunnerCommon: Failed to delete "
                                                    L"file: " +
                                                    input_ + L". Error code: 32")));
}

class KeepFiles : public RunnerLaunch, public testing::WithParamInterface<const wchar_t*> {};

TEST_P(KeepFiles, KeepsTheInputWhateverItsValue) {
  machine_.SetVariable(L"KEEP_UR_JSON_FILES", GetParam());
  EXPECT_EQ(LaunchUpgradeRunnerCommon(RunnerPhaseRequirements), 0);
  EXPECT_THAT(machine_.ReadFile(input_), testing::Optional(HasSubstr("\"secret\"")));
}

INSTANTIATE_TEST_SUITE_P(Values, KeepFiles, testing::Values(L"", L"0", L"1"));

TEST_F(RunnerLaunch, CutsTheCommandLineAndLetsTheChildFail) {
  gProperties[L"MC_LOCALE"] = std::wstring(3000, L'x');
  InstallRunner(0);
  EXPECT_EQ(LaunchUpgradeRunnerCommon(RunnerPhaseRequirements), 1603);
  const std::wstring prefix = L"LaunchUpgradeRunnerCommon: Failed to run pre-upgrade phase: ";
  const auto isCutLine = [&](const LogLine& line) {
    return line.message.starts_with(prefix) && line.message.size() == prefix.size() + 2047;
  };
  EXPECT_THAT(LogWithoutIds(), Contains(testing::Truly(isCutLine)));
}

}  // namespace
}  // namespace Halvard::Runner
