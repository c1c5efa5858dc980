// Whole runs as far as they unpack the upgrade runner.
#include <csignal>

#include "process_test.h"
#include "scripted_checks.h"

namespace Halvard {
namespace {

using Testing::AgentProcess;
using Testing::AgentRun;
using testing::AllOf;
using testing::Contains;
using Testing::ErrorLine;
using testing::Field;
using testing::HasSubstr;
using Testing::kAcceptedPassword;
using Testing::LogLine;
using testing::Not;

constexpr wchar_t kInterpreter[] =
    L"%LOCALAPPDATA%\\Ostrel\\Halvard\\PythonURExtractDir\\PFiles\\Ostrel\\Rimsa\\python\\python.exe";
const std::wstring kSaid = L"PythonUpgradeRunnerExtractor::ExtractPythonAndUpgradeRunner: ";

/// Runs with checks of credentials that accept one password, and with checks of the migration that
/// end them.
class ExtractionAtStart : public testing::Test {
 protected:
  ExtractionAtStart() { machine_.SetVariable(Testing::kCheckFailureVariable, L"checks"); }

  AgentProcess Start() const {
    return AgentProcess(machine_, {L"-p", kAcceptedPassword}, AgentProcess::Input::kPipe,
                        Testing::ScriptedAgentProgram());
  }

  static AgentRun RunToItsEnd(const Lab::Instance& machine) {
    AgentProcess agent(machine, {L"-p", kAcceptedPassword}, AgentProcess::Input::kPipe,
                       Testing::ScriptedAgentProgram());
    agent.EndInput();
    return agent.Wait();
  }

  Lab::Instance machine_{"embedded-5.5"};
};

TEST_F(ExtractionAtStart, ComesBeforeTheInventoryAndIsUndoneAtTheEnd) {
  machine_.SetVariable(L"HV_DEBUG_PAUSE", L"");
  AgentProcess agent = Start();
  agent.WaitFor(English(1181) + L"\n" + std::wstring(145, L'=') + L"\n" + English(1020) + L"\n" +
                English(1059));
  agent.WaitFor(English(1015));
  EXPECT_TRUE(machine_.FileExists(kInterpreter));
  agent.EndInput();
  const AgentRun run = agent.Wait();
  EXPECT_FALSE(machine_.FileExists(kRunnerFolder));
  EXPECT_THAT(run.log, Contains(Field(&LogLine::message,
                                      HasSubstr(L"Successfully cleaned up temporary directory"))));
}

TEST_F(ExtractionAtStart, FailureEndsTheRunBeforeTheInventory) {
  machine_.RemoveFile(L"C:\\Halvard\\rimsa-upgrade-runner.msi");
  const AgentRun run = RunToItsEnd(machine_);
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_THAT(WithoutLogNotice(run.console),
              testing::EndsWith(English(1020) + L"\n" + English(1043) + L"\n"));
  EXPECT_THAT(
      run.log,
      AllOf(Contains(ErrorLine(kSaid + L"Failed to extract UpgradeRunner msi.")),
            Contains(ErrorLine(kSaid + L"Failed to extract upgrade scripts. Error code: 2")),
            Not(Contains(Field(&LogLine::message, HasSubstr(L"Inventory"))))));
  EXPECT_FALSE(machine_.FileExists(kRunnerFolder));
}

TEST_F(ExtractionAtStart, OperatorReadsOfAPendingInstallationBeforeTheFolderGoes) {
  machine_.PlanFault({.function = "MsiInstallProductW", .call = 2, .error = 1618});
  AgentProcess agent(machine_, {}, AgentProcess::Input::kTerminal, Testing::ScriptedAgentProgram());
  agent.WaitFor(kPasswordPrompt);
  agent.TypeMasked(std::wstring(kAcceptedPassword) + L"\r");
  agent.WaitFor(English(1133) + English(1191) + L"\n");
  agent.WaitFor(English(1126) + L"\n");
  EXPECT_TRUE(machine_.FileExists(kInterpreter));
  agent.Type(L"\r");
  EXPECT_EQ(agent.Wait().exitCode, kFailureCode);
  EXPECT_FALSE(machine_.FileExists(kRunnerFolder));
}

TEST_F(ExtractionAtStart, KilledRunLeavesAFolderThatTheNextOneClears) {
  machine_.SetVariable(L"HV_DEBUG_PAUSE", L"");
  AgentProcess killed = Start();
  killed.WaitFor(English(1015));
  killed.Signal(SIGKILL);
  (void)killed.Wait();
  EXPECT_TRUE(machine_.FileExists(kInterpreter));
  machine_.WriteFile(std::wstring(kRunnerFolder) + L"\\left behind", "x");

  AgentProcess next = Start();
  next.WaitFor(English(1015));
  EXPECT_FALSE(machine_.FileExists(std::wstring(kRunnerFolder) + L"\\left behind"));
  EXPECT_TRUE(machine_.FileExists(kInterpreter));
  next.EndInput();
  (void)next.Wait();
  EXPECT_FALSE(machine_.FileExists(kRunnerFolder));
}

}  // namespace
}  // namespace Halvard
