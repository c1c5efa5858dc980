// Whole runs with passwords that nothing else looks like. They are in no file, no command line and
// no environment, in whatever phase a run is looked at, ends or is killed.
#include <signal.h>

#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>

#include "files/rights.h"
#include "migration_machine.h"
#include "support/client_run.h"
#include "support/machine_processes.h"
#include "support/secret_search.h"

namespace Halvard {
namespace {

using Testing::AgentProcess;
using Testing::AgentRun;
using Testing::ClientRun;
using testing::ElementsAre;
using testing::HasSubstr;
using Testing::InfoLine;
using testing::IsEmpty;
using testing::Not;

constexpr char kAdministrator[] = "Adm-unmistakable-s3cret";
constexpr char kServiceAccount[] = "Svc-unmistakable-s3cret";
constexpr char kMistyped[] = "Typo-unmistakable-s3cret";
constexpr char kStrangers[] = "Stranger-unmistakable-s3cret";
constexpr char kAppliance[] = "Ssh-unmistakable-s3cret";
constexpr char kDirectory[] = "Ad-unmistakable-s3cret";
const std::vector<std::string> kSecrets = {kAdministrator, kServiceAccount, kMistyped,
                                           kStrangers,     kAppliance,      kDirectory};

constexpr wchar_t kInput[] = L"%TEMP%\\UpgradeRunnerInput.json";

/// The phases of a migration, in their order.
enum class Phase {
  kPrompts,
  kExtraction,
  kPrechecks,
  kServing,
  kPrechecksOfTheClient,
  kExport,
  kQuestion,
  kAfterTheExport,
};

/// The agent of an operator at a terminal, whose passwords no command line has, and its client.
class Migration {
 public:
  Migration() : machine_("embedded-5.5", kAdministrator) {
    Json::Value account;
    account["password"] = kServiceAccount;
    account["groups"].append("S-1-5-32-544");
    account["serviceLogon"] = true;
    machine_.Set("/accounts/KVSOURCE\\kelvd-service", account);
    machine_.Set("/services/kelvd/account", ".\\kelvd-service");
    // Nobody is there to copy to, and the copy's pauses are those of a fast clock.
    machine_.Set("/addressMap/192.0.2.99:22", "127.0.0.1:1");
    machine_.Set("/clock/speed", 1000);
    machine_.Set("/upgradeRunner/export/bytes", 10'000);
    Json::Value questions;
    questions[0]["id"] = "go-on";
    machine_.Set("/upgradeRunner/export/questions", questions);
  }

  Migration(const Migration&) = delete;
  Migration& operator=(const Migration&) = delete;
  ~Migration() {
    agent_.reset();
    Lab::EndProcessesOf(machine_);
  }

  /// Starts the agent and goes on to the phase. The ones in which a runner runs stay as they are.
  void Reach(Phase phase);
  /// Goes on with an export that has asked its question.
  void AnswerQuestion();
  /// All further calls that take a password, with right and wrong ones.
  void TryPasswords() const;

  AgentRun Stop() {
    agent_->Type(L"\x03");
    return agent_->Wait();
  }
  void Kill() {
    agent_->Signal(SIGKILL);
    (void)agent_->Wait();
    Lab::EndProcessesOf(machine_);
    // A call that the agent no longer answers.
    if (call_.valid()) call_.get();
  }

  MigrationMachine& Machine() { return machine_; }

 private:
  static std::wstring Wide(const char* text) { return Utf8ToWide(text); }
  void StartAndPrompt();
  void Serve();
  Json::Value Request(const char* password) const;
  ClientRun Call(const std::wstring& operation, const Json::Value& request) const;
  ClientRun Call(const std::wstring& operation) const {
    return Call(operation, Request(kAdministrator));
  }
  void CallInBackground(const std::wstring& operation) {
    call_ = std::async(std::launch::async, [this, operation] { return Call(operation); });
  }
  void PollUntil(const std::wstring& text) const;
  void HangNext(const char* phase) {
    machine_.Set(std::string("/upgradeRunner/") + phase + "/hangs", "beforeOutput");
  }

  MigrationMachine machine_;
  std::wstring port_;
  std::wstring thumbprint_;
  std::future<ClientRun> call_;
  // The agent goes before a call that waits for it.
  std::unique_ptr<AgentProcess> agent_;
};

/// The text between a label of the summary and the end of its line.
std::wstring ShownBehind(const std::wstring& label, const std::wstring& console) {
  const std::size_t begin = console.rfind(label) + label.size();
  return console.substr(begin, console.find(L'\n', begin) - begin);
}

/// Leaves the last prompt without its Enter.
void Migration::StartAndPrompt() {
  agent_ = std::make_unique<AgentProcess>(machine_, std::vector<std::wstring>{});
  agent_->WaitFor(kPasswordPrompt);
  agent_->TypeMasked(Wide(kMistyped) + L"\r");
  agent_->WaitFor(kPasswordPrompt);
  agent_->TypeMasked(Wide(kAdministrator) + L"\r");
  const std::wstring prompt = English(1134, {L".\\kelvd-service"});
  agent_->WaitFor(prompt);
  agent_->TypeMasked(Wide(kMistyped) + L"\r");
  agent_->WaitFor(prompt);
  agent_->TypeMasked(Wide(kServiceAccount));
  agent_->WaitFor(std::wstring(sizeof kServiceAccount - 1, L'*'));
}

void Migration::Serve() {
  agent_->WaitFor(English(1021));
  port_ = ShownBehind(L"   Port: ", agent_->Console());
  thumbprint_ = ShownBehind(L"   SSL thumbprint: ", agent_->Console());
}

Json::Value Migration::Request(const char* password) const {
  Json::Value request;
  request["sso_username"] = "Administrator@ostrel.local";
  request["sso_password"] = password;
  return request;
}

/// The client reads the request from its standard input.
ClientRun Migration::Call(const std::wstring& operation, const Json::Value& request) const {
  return Testing::RunClient({L"call", operation, L"-", L"--host", L"127.0.0.1", L"--port", port_,
                             L"--thumbprint", thumbprint_},
                            Json::FastWriter().write(request));
}

void Migration::PollUntil(const std::wstring& text) const {
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (Call(L"poll_export_status").output.find(text) == std::wstring::npos) {
    if (std::chrono::steady_clock::now() > end) throw std::runtime_error("The export hangs.");
  }
}

void Migration::Reach(Phase phase) {
  if (phase == Phase::kPrechecks) HangNext("requirements");
  StartAndPrompt();
  if (phase == Phase::kPrompts) return;
  agent_->Type(L"\r");
  if (phase == Phase::kExtraction) {
    agent_->WaitForLog(InfoLine(
        L"PythonUpgradeRunnerExtractor::ExtractPythonAndUpgradeRunner: Extracting python msi."));
    agent_->Signal(SIGSTOP);
    return;
  }
  if (phase == Phase::kPrechecks) return (void)Lab::AwaitRunner(machine_);
  Serve();
  if (phase == Phase::kServing) return;
  if (phase == Phase::kPrechecksOfTheClient) {
    HangNext("requirements");
    CallInBackground(L"invoke_pre_upgrade");
    return (void)Lab::AwaitRunner(machine_);
  }
  if (phase == Phase::kExport) HangNext("export");
  EXPECT_EQ(Call(L"invoke_export").exitCode, 0);
  if (phase == Phase::kExport) return (void)Lab::AwaitRunner(machine_);
  PollUntil(L"\"go-on\"");
  if (phase == Phase::kQuestion) return;
  AnswerQuestion();
}

void Migration::AnswerQuestion() {
  Json::Value request = Request(kAdministrator);
  request["answer"] = "yes";
  EXPECT_EQ(Call(L"create_answer_file", request).exitCode, 0);
  agent_->WaitForLog(
      InfoLine(L"LaunchUpgradeRunnerExport: Changing the status of export result to: SUCCESS"));
}

void Migration::TryPasswords() const {
  EXPECT_THAT(Call(L"get_source_deployment_type", Request(kStrangers)).errors,
              HasSubstr(English(1098)));
  Json::Value copy = Request(kAdministrator);
  copy["ssh_server"] = "192.0.2.99";
  copy["ssh_folder"] = "/storage";
  copy["ssh_user"] = "root";
  copy["ssh_password"] = kAppliance;
  copy["ssh_thumbprint"]["rsa"] = "AA:BB";
  EXPECT_EQ(Call(L"copy_export_data", copy).exitCode, 1);
  EXPECT_EQ(Call(L"copy_logs_directory", copy).exitCode, 1);
  Json::Value account = Request(kAdministrator);
  account["ad_username"] = "maria";
  account["ad_password"] = kDirectory;
  EXPECT_EQ(Call(L"validate_active_directory_credentials", account).exitCode, 1);
}

/// A run that is killed in a phase.
struct KilledRun {
  const char* title;
  Phase phase;
  /// The runner's input file is there, which has passwords and admits administrators alone.
  bool leavesInput;
};

class Secrets : public testing::Test {};

class SecretsOfAKilledRun : public Secrets, public testing::WithParamInterface<KilledRun> {};

TEST_P(SecretsOfAKilledRun, AreInNoFileButTheOneThatTheNextRunClears) {
  Migration migration;
  MigrationMachine& machine = migration.Machine();
  migration.Reach(GetParam().phase);
  EXPECT_THAT(Lab::ProcessesThatShow(kSecrets), IsEmpty());
  migration.Kill();
  const std::string input = machine.HostPath(kInput).string();
  if (!GetParam().leavesInput) {
    EXPECT_THAT(Lab::PlacesOf(kSecrets, machine), IsEmpty());
    return;
  }
  EXPECT_THAT(Lab::PlacesOf(kSecrets, machine),
              ElementsAre(input + " shows " + kAdministrator, input + " shows " + kServiceAccount));
  EXPECT_EQ(Lab::AccessListOf(input), "D:P(A;;FA;;;BA)");

  machine.Remove("/upgradeRunner");
  migration.Reach(Phase::kServing);
  EXPECT_THAT(Lab::PlacesOf(kSecrets, machine), IsEmpty());
  EXPECT_EQ(migration.Stop().exitCode, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Phases, SecretsOfAKilledRun,
    testing::Values(KilledRun{"Prompts", Phase::kPrompts, false},
                    KilledRun{"Extraction", Phase::kExtraction, false},
                    KilledRun{"Prechecks", Phase::kPrechecks, true},
                    KilledRun{"Serving", Phase::kServing, false},
                    KilledRun{"PrechecksOfTheClient", Phase::kPrechecksOfTheClient, true},
                    KilledRun{"Export", Phase::kExport, true},
                    KilledRun{"Question", Phase::kQuestion, true},
                    KilledRun{"AfterTheExport", Phase::kAfterTheExport, false}),
    [](const auto& row) { return std::string(row.param.title); });

TEST_F(Secrets, OfAWholeMigrationAreNowhere) {
  Migration migration;
  migration.Reach(Phase::kQuestion);
  // Only as long as the runner runs, and for administrators alone.
  const std::string input = migration.Machine().HostPath(kInput).string();
  EXPECT_EQ(Lab::PlacesOf(kSecrets, migration.Machine()).size(), 2u);
  EXPECT_EQ(Lab::AccessListOf(input), "D:P(A;;FA;;;BA)");
  EXPECT_THAT(Lab::ProcessesThatShow(kSecrets), IsEmpty());
  migration.AnswerQuestion();
  migration.TryPasswords();
  EXPECT_THAT(Lab::ProcessesThatShow(kSecrets), IsEmpty());
  const AgentRun run = migration.Stop();
  EXPECT_EQ(run.exitCode, 0);
  for (const std::string& secret : kSecrets) {
    EXPECT_THAT(run.allOutput, Not(HasSubstr(Utf8ToWide(secret))));
  }
  EXPECT_THAT(Lab::PlacesOf(kSecrets, migration.Machine()), IsEmpty());
}

}  // namespace
}  // namespace Halvard
