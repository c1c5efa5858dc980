// The end of a migration with a whole agent: its export and its logs go to a real SSH server, and
// the machine is shut down.
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <map>

#include "serving_agent.h"
#include "standins/sshd/sshd.h"
#include "support/zip_contents.h"

namespace Halvard {
namespace {

using Testing::AgentRun;
using Testing::ClientRun;
using testing::Contains;
using testing::HasSubstr;
using testing::Key;
using testing::Not;
using Testing::ReadZip;

namespace fs = std::filesystem;

constexpr wchar_t kDataFolder[] = L"%LOCALAPPDATA%\\Ostrel\\Halvard";

Json::Value SmallExport() {
  Json::Value scenario;
  scenario["export"]["bytes"] = 300'000;
  return scenario;
}

/// The files below a folder as a zip holds them that has the folder itself at its top.
std::map<std::string, std::string> FilesOf(const fs::path& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    std::ifstream in(entry.path(), std::ios::binary);
    files[fs::relative(entry.path(), folder.parent_path()).generic_string()] = {
        std::istreambuf_iterator<char>(in), {}};
  }
  return files;
}

/// An agent whose export is done, and the appliance at 192.0.2.20.
class CopyToAppliance : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string reason = Lab::Sshd::WhyNot(); !reason.empty()) GTEST_SKIP() << reason;
    appliance_ = std::make_unique<Lab::Sshd>(
        Lab::Sshd::Settings{.user = "root", .password = "ssh-secret", .hostKeys = {"rsa"}});
  }

  void ExportFrom(const std::function<void(Lab::Instance&)>& describe = {}) {
    agent_ = std::make_unique<ServingAgent>(
        "embedded-platform", SmallExport(), [&](Lab::Instance& machine) {
          machine.Set("/addressMap/192.0.2.20:22", appliance_->Address());
          if (describe) describe(machine);
        });
    ASSERT_EQ(agent_->Ask({L"prechecks"}).exitCode, 0);
    ASSERT_EQ(agent_->Ask({L"export", L"--silent"}).exitCode, 0);
    agent_->WaitForLog(Testing::InfoLine(
        L"LaunchUpgradeRunnerExport: Changing the status of export result to: SUCCESS"));
  }

  ClientRun Copy(const std::wstring& command, const std::wstring& thumbprint) const {
    return agent_->Ask({command, L"--ssh-server", L"192.0.2.20", L"--ssh-folder",
                        Utf8ToWide(appliance_->Folder()), L"--ssh-user", L"root",
                        L"--ssh-thumbprint", thumbprint});
  }
  ClientRun Copy(const std::wstring& command) const {
    return Copy(command, Utf8ToWide(appliance_->Thumbprint("rsa")));
  }

  fs::path Arrived(const std::string& name) const {
    return appliance_->HostPath(appliance_->Folder() + "/" + name);
  }
  fs::path ExportFolder() const {
    return agent_->Machine().HostPath(std::wstring(kDataFolder) + L"\\export");
  }
  static bool FirewallIsOpen() { return !Lab::TheMachine().FirewallOpenings().All().empty(); }

  std::unique_ptr<Lab::Sshd> appliance_;
  std::unique_ptr<ServingAgent> agent_;
};

TEST_F(CopyToAppliance, EndsAMigrationWithTheMachinesShutdown) {
  ExportFrom();
  const ClientRun data = Copy(L"copy-export");
  EXPECT_EQ(data.exitCode, 0) << WideToUtf8(data.errors);
  const auto exported = FilesOf(ExportFolder());
  EXPECT_THAT(exported, Contains(Key("export/manifest.json")));
  EXPECT_EQ(ReadZip(Arrived("export.zip")), exported);

  const ClientRun logs = Copy(L"copy-logs");
  EXPECT_EQ(logs.exitCode, 0) << WideToUtf8(logs.errors);
  const auto bundled = ReadZip(Arrived("logs.zip"));
  ASSERT_THAT(bundled, Contains(Key("halvard.log")));
  EXPECT_THAT(bundled.at("halvard.log"), HasSubstr("ScpFileWithRetries: Scpfile is successful"));
  for (const auto& [name, text] : bundled) {
    EXPECT_THAT(text, Not(HasSubstr("ssh-secret"))) << name;
    EXPECT_THAT(text, Not(HasSubstr(WideToUtf8(Testing::kAcceptedPassword)))) << name;
  }

  EXPECT_TRUE(FirewallIsOpen());
  EXPECT_EQ(agent_->Ask({L"shutdown-machine"}).exitCode, 0);
  const AgentRun run = agent_->WaitForEnd();
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_FALSE(FirewallIsOpen());
  EXPECT_TRUE(fs::exists(agent_->Machine().Folder() / "shutdown.json"));
  EXPECT_THAT(run.console, HasSubstr(English(1197) + L"\n" + English(1234) + L"\n" + English(1235) +
                                     L"\n" + English(1075) + L"\n" + English(1198) + L"\n" +
                                     English(1078) + L"\n" + English(1051) + L"\n"));
  EXPECT_THAT(run.allOutput, Not(HasSubstr(L"ssh-secret")));
}

TEST_F(CopyToAppliance, MayBeAskedForAgainAfterAFailure) {
  ExportFrom();
  const std::wstring other(59, L'0');
  const ClientRun refused = Copy(L"copy-export", other);
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_EQ(refused.errors, English(1074) + L"\n");
  const ClientRun logs = Copy(L"copy-logs", other);
  EXPECT_EQ(logs.exitCode, 1);
  EXPECT_EQ(logs.errors, English(1076) + L"\n");
  EXPECT_FALSE(fs::exists(Arrived("export.zip")));
  EXPECT_FALSE(fs::exists(Arrived("logs.zip")));
  EXPECT_EQ(Copy(L"copy-export").exitCode, 0);
  EXPECT_EQ(ReadZip(Arrived("export.zip")), FilesOf(ExportFolder()));
  agent_->Stop();
  EXPECT_FALSE(FirewallIsOpen());
}

TEST_F(CopyToAppliance, WaitsForAnOperatorWhereTheShellFails) {
  ExportFrom([](Lab::Instance& machine) {
    machine.SetVariable(L"HV_INTERACTIVE_MODE", L"");
    machine.PlanFault({.function = "Folder_CopyHere", .error = 0x80004005});
  });
  const auto ask = [this] { return Copy(L"copy-export"); };
  std::future<ClientRun> givenUp = std::async(std::launch::async, ask);
  agent_->Process().WaitFor(English(1232));
  agent_->Process().Type(L"n\n");
  EXPECT_EQ(givenUp.get().errors, English(1073) + L"\n");

  std::future<ClientRun> madeByHand = std::async(std::launch::async, ask);
  agent_->Process().WaitFor(English(1232));
  const std::string folder = ExportFolder().parent_path().string();
  // What the agent has begun holds nothing; the operator makes it whole.
  const std::string pack = "cd '" + folder + "' && python3 -m zipfile -c export.zip export/";
  ASSERT_EQ(std::system(pack.c_str()), 0);
  agent_->Process().Type(L"\n");
  const ClientRun copied = madeByHand.get();
  EXPECT_EQ(copied.exitCode, 0) << WideToUtf8(copied.errors);
  EXPECT_TRUE(fs::exists(Arrived("export.zip")));
  EXPECT_THAT(agent_->Stop().console, HasSubstr(English(1237) + L"\n" + English(1075)));
}

}  // namespace
}  // namespace Halvard
