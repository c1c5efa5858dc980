// Whole runs in which the agent as it is built unpacks the upgrade runner of the lab and has it
// look at the machine.
#include <csignal>
#include <filesystem>

#include "process_test.h"
#include "support/file_bytes.h"
#include "support/kelvane_server.h"
#include "support/machine_processes.h"

namespace Halvard {
namespace {

using Lab::KelvaneServer;
using Testing::AgentProcess;
using Testing::AgentRun;
using testing::AllOf;
using testing::Contains;
using testing::EndsWith;
using testing::Field;
using testing::HasSubstr;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::LogLine;
using testing::Not;
using testing::StartsWith;

namespace fs = std::filesystem;

constexpr wchar_t kEasilyFoundPassword[] = L"s3cret-unmistakable-7";
constexpr char kEasilyFoundBytes[] = "s3cret-unmistakable-7";
constexpr wchar_t kTemp[] = L"%LOCALAPPDATA%\\Temp\\";

Json::Value RunnerConfig() {
  Json::Value config = KelvaneServer::UsualConfig();
  config["users"][0]["name"] = "Administrator@ostrel.local";
  config["users"][0]["password"] = kEasilyFoundBytes;
  return config;
}

class RunnerAtStart : public testing::Test {
 protected:
  RunnerAtStart() {
    machine_.SetRegistryString(L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Ostrel, Inc.\\Ostrel Kelvane",
                               L"HttpsProxyPort", std::to_wstring(server_.Port()));
    // A run that passes the checks ends where it would write its certificate.
    machine_.MakeFolder(L"%LOCALAPPDATA%\\Ostrel\\Halvard\\hv_cert.pem");
  }

  AgentRun Run() const { return Testing::RunAgent(machine_, {L"-p", kEasilyFoundPassword}); }

  /// A run that the checks end.
  AgentRun RunInVain() const {
    AgentRun run = Run();
    EXPECT_EQ(run.exitCode, kFailureCode);
    ExpectNothingLeft();
    return run;
  }

  void ExpectNothingLeft() const {
    EXPECT_THAT(Lab::ProcessesOf(machine_), IsEmpty());
    EXPECT_FALSE(machine_.FileExists(kRunnerFolder));
    EXPECT_THAT(machine_.ListFolder(kTemp), testing::IsSupersetOf({std::wstring(L"halvard.log"),
                                                                   std::wstring(L"kvsMigration")}));
    EXPECT_THAT(machine_.ListFolder(kTemp), Not(Contains(StartsWith(L"UpgradeRunner"))));
    EXPECT_THAT(machine_.ListFolder(L"C:\\"), Not(Contains(StartsWith(L"mig"))));
    for (const auto& entry : fs::recursive_directory_iterator(machine_.Folder())) {
      if (!entry.is_regular_file()) continue;
      EXPECT_THAT(Lab::FileBytes(entry.path()), Not(HasSubstr(kEasilyFoundBytes))) << entry.path();
    }
  }

  /// The lines of a beginning.
  static auto HasLine(const std::wstring& beginning) {
    return Contains(Field(&LogLine::message, StartsWith(beginning)));
  }

  const KelvaneServer server_{RunnerConfig()};
  Lab::Instance machine_{"embedded-5.5"};
};

TEST_F(RunnerAtStart, FindsNothingWrongWithThePlainMachine) {
  const AgentRun run = Run();
  EXPECT_THAT(run.console, HasSubstr(English(1020) + L"\n" + English(1044) + L"\n"));
  EXPECT_THAT(
      run.log,
      AllOf(
          Contains(InfoLine(L"RunPreMigrationChecks: Upgrade Runner prechecks returned status: 0")),
          Contains(InfoLine(L"ParsePreUpgradeOutput: KV machine/cert parameters. AppNetPnid: "
                            L"[kvsource.corp.example], CertIPs: [192.0.2.10], CertFQDNs: "
                            L"[kvsource.corp.example].")),
          Contains(InfoLine(L"ParsePreUpgradeOutput: SSO machine/cert parameters. AppNetPnid: "
                            L"[kvsource.corp.example], CertIPs: [192.0.2.10], CertFQDNs: "
                            L"[kvsource.corp.example]."))));
  ExpectNothingLeft();
}

TEST_F(RunnerAtStart, ErrorsThatItFindsEndTheRun) {
  Json::Value findings(Json::arrayValue);
  findings[0]["text"] = "Die Platte \u00e4\u8a66 ist alt.";
  findings[0]["resolution"] = "Mend it.";
  findings[1]["text"] = "Odd.";
  findings[1]["severity"] = "WARNING";
  machine_.Set("/upgradeRunner/requirements/findings", findings);
  const AgentRun run = RunInVain();
  EXPECT_THAT(WithoutLogNotice(run.console),
              EndsWith(English(1052) + L"\n" + English(1133) +
                       L"Die Platte \u00e4\u8a66 ist alt.\n" + English(1054) + L"Mend it.\n"));
  EXPECT_THAT(run.log,
              HasLine(L"ParseErrorsWarningsFromPreUpgradeOutput: Parsed 1 error messages."));
}

TEST_F(RunnerAtStart, TenThousandWarningsArriveWhole) {
  machine_.Set("/upgradeRunner/requirements/manyFindings", 10'000);
  EXPECT_THAT(Run().log,
              HasLine(L"ParseErrorsWarningsFromPreUpgradeOutput: Parsed 10000 warning messages."));
  ExpectNothingLeft();
}

TEST_F(RunnerAtStart, RunnerThatFailsOrSaysNothingEndsTheRun) {
  machine_.Set("/upgradeRunner/requirements/exitCode", Json::UInt{0xC0000005});
  const AgentRun failed = RunInVain();
  EXPECT_THAT(WithoutLogNotice(failed.console), EndsWith(English(1091) + L"\n"));
  EXPECT_THAT(failed.log,
              Contains(InfoLine(L"MonitorStatusFile: Other process terminated with -1073741819, "
                                L"exiting")));
  machine_.Remove("/upgradeRunner/requirements/exitCode");
  machine_.Set("/upgradeRunner/requirements/output", "none");
  EXPECT_THAT(WithoutLogNotice(RunInVain().console), EndsWith(English(1091) + L"\n"));
}

TEST_F(RunnerAtStart, ProcessThatItLeavesBehindIsEnded) {
  machine_.Set("/upgradeRunner/requirements/grandchild", true);
  const AgentRun run = Run();
  EXPECT_TRUE(fs::exists(machine_.Folder() / "run" / "grandchild"));
  ExpectNothingLeft();
}

TEST_F(RunnerAtStart, InputFileIsTheOneThatTheRunnerWants) {
  // A runner that refused its input would say so in a finding.
  const AgentRun run = Run();
  EXPECT_THAT(run.allOutput, Not(HasSubstr(L"The input file of the upgrade runner is wrong")));
  const std::string log =
      Lab::FileBytes(machine_.HostPath(std::wstring(kTemp) + L"kvsMigration\\UpgradeRunner.log"));
  EXPECT_THAT(log, AllOf(HasSubstr("Phase requirements for a migration of type embedded, version "
                                   "5.5, locale en"),
                         HasSubstr("Requirements of 3 components")));
}

TEST_F(RunnerAtStart, NextRunClearsWhatAKilledOneHasLeft) {
  machine_.Set("/upgradeRunner/requirements/hangs", "beforeOutput");
  {
    AgentProcess agent(machine_, {L"-p", kEasilyFoundPassword}, AgentProcess::Input::kPipe);
    agent.WaitForLog(InfoLine(L"MonitorStatusFile: Started execution of process"));
    agent.Signal(SIGKILL);
    (void)agent.Wait();
  }
  for (const pid_t process : Lab::ProcessesOf(machine_)) kill(process, SIGKILL);
  machine_.Remove("/upgradeRunner/requirements/hangs");
  EXPECT_TRUE(machine_.FileExists(kRunnerFolder));
  EXPECT_TRUE(machine_.FileExists(std::wstring(kTemp) + L"UpgradeRunnerInput.json"));
  const AgentRun run = Run();
  EXPECT_THAT(run.log, Contains(InfoLine(L"RunPreMigrationChecks: Upgrade Runner prechecks "
                                         L"returned status: 0")));
  EXPECT_FALSE(machine_.FileExists(kRunnerFolder));
  EXPECT_FALSE(machine_.FileExists(std::wstring(kTemp) + L"UpgradeRunnerInput.json"));
}

}  // namespace
}  // namespace Halvard
