// Whole runs of each type and line, in both ways of input, by what becomes of the upgrade runner.
#include <signal.h>

#include <memory>

#include "migration_machine.h"
#include "support/free_port.h"
#include "support/machine_processes.h"
#include "support/secret_search.h"

namespace Halvard {
namespace {

using Testing::AgentProcess;
using Testing::AgentRun;
using testing::AllOf;
using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using Testing::InfoLine;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using testing::Values;

constexpr wchar_t kPassword[] = L"s3cret-unmistakable-8";
constexpr char kPasswordBytes[] = "s3cret-unmistakable-8";
/// Where failed runs leave their logs.
const std::wstring kDesktop = std::wstring(Lab::Instance::kProfile) + L"\\Desktop";

/// Where a run begins: the machine, and whether an operator is asked at a terminal.
class PrecheckOutcome
    : public testing::Test,
      public testing::WithParamInterface<std::tuple<std::string, AgentProcess::Input>> {
 protected:
  void SetUp() override {
    const auto& [name, input] = GetParam();
    if (MigrationMachine::NeedsDirectory(name)) SKIP_WITHOUT_SLAPD();
    machine_ = std::make_unique<MigrationMachine>(name, kPasswordBytes);
  }

  static bool IsAsked() { return std::get<1>(GetParam()) == AgentProcess::Input::kTerminal; }

  /// Starts a run with a log and a desktop of its own, and gives it the password.
  std::unique_ptr<AgentProcess> Start(const Json::Value& requirements) {
    machine_->RemoveFile(L"%TEMP%\\halvard.log");
    machine_->RemoveFile(kDesktop);
    machine_->MakeFolder(kDesktop);
    machine_->Set("/upgradeRunner/requirements", requirements);
    std::vector<std::wstring> arguments;
    if (!IsAsked()) arguments = {L"-p", kPassword, L"-o", std::to_wstring(Testing::FreePort())};
    auto agent = std::make_unique<AgentProcess>(*machine_, arguments, std::get<1>(GetParam()));
    if (IsAsked()) {
      agent->WaitFor(kPasswordPrompt);
      agent->TypeMasked(std::wstring(kPassword) + L"\r");
    }
    return agent;
  }

  /// Ctrl+C, from the terminal where there is one.
  static void Interrupt(AgentProcess& agent) {
    if (IsAsked()) {
      agent.Type(L"\x03");
    } else {
      agent.Signal(SIGINT);
    }
  }

  /// The end of a run that the prechecks end with the message that they can't be run.
  AgentRun ExpectPrechecksCannotRun(AgentProcess& agent) {
    if (IsAsked()) {
      agent.WaitFor(English(1126));
      agent.Type(L"\r");
    }
    AgentRun run = agent.Wait();
    EXPECT_EQ(run.exitCode, kFailureCode);
    const std::wstring pause = IsAsked() ? English(1126) + L"\n" : L"";
    // A terminal shows what was typed: Ctrl+C, and the Enter that ends the pause.
    std::wstring console = WithoutLogNotice(run.console);
    if (const std::size_t at = console.find(L"^C"); at != std::wstring::npos) console.erase(at, 2);
    while (console.ends_with(L"\n\n")) console.pop_back();
    EXPECT_THAT(console, EndsWith(English(1044) + L"\n" + English(1091) + L"\n" + pause));
    EXPECT_EQ(StatusOf(*machine_)["initialization"], "fail");
    EXPECT_EQ(StatusOf(*machine_)["error"], "Failed to run Pre-Migration checks.");
    ExpectNothingLeft();
    return run;
  }

  void ExpectNothingLeft() const {
    Lab::AwaitNoProcessOf(*machine_);
    EXPECT_FALSE(machine_->FileExists(L"%LOCALAPPDATA%\\Ostrel\\Halvard\\PythonURExtractDir"));
    EXPECT_THAT(machine_->ListFolder(L"%TEMP%"), Not(Contains(StartsWith(L"UpgradeRunner"))));
    EXPECT_THAT(machine_->ListFolder(L"C:\\"), Not(Contains(StartsWith(L"mig"))));
    EXPECT_THAT(Lab::PlacesOf({kPasswordBytes}, *machine_), IsEmpty());
  }

  std::unique_ptr<MigrationMachine> machine_;
  const std::wstring rule_ = std::wstring(145, L'=');
};

TEST_P(PrecheckOutcome, IsToldAndEndsTheRunOrLetsItServe) {
  {
    SCOPED_TRACE("reports nothing");
    Json::Value requirements;
    requirements["output"] = "none";
    const AgentRun run = ExpectPrechecksCannotRun(*Start(requirements));
    EXPECT_THAT(run.log, Contains(InfoLine(L"RunPreMigrationChecks: Upgrade Runner prechecks "
                                           L"returned status: 0")));
  }
  {
    SCOPED_TRACE("fails");
    Json::Value requirements;
    requirements["exitCode"] = 3;
    const AgentRun run = ExpectPrechecksCannotRun(*Start(requirements));
    EXPECT_THAT(run.log, Contains(InfoLine(L"RunPreMigrationChecks: Upgrade Runner prechecks "
                                           L"returned status: 1603")));
  }
  {
    SCOPED_TRACE("hangs, until somebody ends it");
    Json::Value requirements;
    requirements["hangs"] = "beforeOutput";
    const std::unique_ptr<AgentProcess> agent = Start(requirements);
    const pid_t runner = Lab::AwaitRunner(*machine_);
    Interrupt(*agent);
    agent->WaitForLog(InfoLine(L"CtrlHandler: Received ctrl type: 0"));
    kill(runner, SIGKILL);
    const AgentRun run = ExpectPrechecksCannotRun(*agent);
    EXPECT_THAT(run.console, Not(HasSubstr(English(1045))));
  }
  {
    SCOPED_TRACE("warns");
    Json::Value requirements;
    Json::Value& finding = requirements["findings"][0];
    finding["text"] = "The disk is old.";
    finding["severity"] = "WARNING";
    finding["resolution"] = "Buy a new one.";
    const std::unique_ptr<AgentProcess> agent = Start(requirements);
    agent->WaitFor(English(1021));
    Interrupt(*agent);
    const AgentRun run = agent->Wait();
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(StatusOf(*machine_)["initialization"], "success");
    EXPECT_THAT(run.console, AllOf(HasSubstr(English(1044) + L"\n" + English(1010) + L"\n"),
                                   HasSubstr(L"\n" + rule_ + English(1055) + L"The disk is old.\n" +
                                             English(1054) + L"Buy a new one.\n\n" + rule_)));
    ExpectNothingLeft();
  }
}

INSTANTIATE_TEST_SUITE_P(
    Runs, PrecheckOutcome,
    testing::Combine(Values("embedded-5.5", "embedded-platform", "management-5.5",
                            "management-platform", "infrastructure-5.5", "infrastructure-platform"),
                     Values(AgentProcess::Input::kTerminal, AgentProcess::Input::kPipe)),
    [](const auto& row) {
      std::string name = std::get<0>(row.param);
      std::erase_if(name, [](unsigned char c) { return std::isalnum(c) == 0; });
      const bool isAsked = std::get<1>(row.param) == AgentProcess::Input::kTerminal;
      return name + (isAsked ? "AtATerminal" : "FromTheCommandLine");
    });

}  // namespace
}  // namespace Halvard
