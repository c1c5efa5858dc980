#include "migration.h"

#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "scripted_agent.h"

namespace Hvctl {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr char kType[] = R"({"result": "success", "deployment_type": "embedded",
    "deployment_ver": "5.5", "deployment_size": "Small", "hv_kvsa_version": "6.0.0.1"})";
constexpr char kExported[] = R"({"status": "success", "progress": 100})";
constexpr char kNoRoom[] = R"({"status": "error", "error": {"text": {"localized": "No room."}}})";
constexpr char kNotNow[] = R"({"result": "fail", "error": "Not now."})";

class MigrationTest : public testing::Test {
 protected:
  MigrationTest() {
    agent_.Reply("get_source_deployment_type", {kType});
    agent_.Reply("poll_export_status", {"null", kExported});
    settings_.given = UsualOptions();
    settings_.shutDown = true;
  }

  ExitCode Run() {
    const BegunExport begun{[this] { return begun_; }, [this](bool now) { begun_ = now; }};
    const Ask ask = [this](const std::string& prompt) -> std::optional<std::string> {
      asked_ += prompt;
      return typed_;
    };
    const Pause pause = [](std::chrono::milliseconds) {};
    OperationInputs inputs(settings_.given,
                           [](const Parameter&, const std::string&) { return "secret"; });
    const auto view = MakeMigrationView(ProgressForm::kLines, output_);
    try {
      Migration({agent_, inputs, settings_, begun, ask, pause, *view}).Run();
    } catch (const Failure& failure) {
      text_ = failure.what();
      return failure.Code();
    }
    return ExitCode::kSuccess;
  }

  bool WasInvoked(const std::string& operation) const {
    return !agent_.InputsOf(operation).empty();
  }

  ScriptedAgent agent_;
  MigrationSettings settings_;
  bool begun_ = false;
  std::optional<std::string> typed_;
  std::string asked_;
  std::ostringstream output_;
  std::string text_;
};

TEST_F(MigrationTest, GoesTheWholeRoadInOrder) {
  agent_.Reply(
      "collect_network_config",
      {R"({"result": "success", "config_fqdn": "kv.example", "config_ipaddr4": "192.0.2.10",
                    "config_prefix4": 24, "config_gateway4": "192.0.2.1", "config_ipaddr6": ""})"});
  EXPECT_EQ(Run(), ExitCode::kSuccess) << text_;
  EXPECT_THAT(agent_.operations,
              ElementsAre("get_source_deployment_type", "invoke_pre_upgrade",
                          "collect_network_config", "collect_active_directory_config",
                          "poll_export_status", "invoke_export", "poll_export_status",
                          "copy_export_data", "copy_logs_directory", "shutdown_machine"));
  EXPECT_THAT(output_.str(),
              AllOf(HasSubstr("== What is installed\nType:         embedded\n"),
                    HasSubstr("Address:      192.0.2.10/24\n"), HasSubstr("It is in no domain.\n"),
                    HasSubstr("100 %"), HasSubstr("Arrived: new:/storage/export.zip\n"),
                    HasSubstr("Arrived: new:/storage/logs.zip\n"),
                    HasSubstr("The old machine shuts down.\n")));
  const Json::Value copy = agent_.InputsOf("copy_export_data").at(0);
  EXPECT_EQ(copy["ssh_folder"], "/storage");
  EXPECT_EQ(copy["ssh_password"], "secret");
  EXPECT_EQ(asked_, "");
  EXPECT_FALSE(begun_);
}

TEST_F(MigrationTest, ErrorsOfThePrechecksEndItBeforeTheExport) {
  agent_.Reply("invoke_pre_upgrade", {R"({"result": "success", "sourceInfo": {},
      "componentRequirements": [{"name": "n", "requirements": {"requirementMismatchSpecs": [
        {"severity": "ERROR", "description": {"localized": "Too old."}}]}}]})"});
  EXPECT_EQ(Run(), ExitCode::kPrechecksFailed);
  EXPECT_THAT(output_.str(), HasSubstr("ERROR     n          Too old.\n"));
  EXPECT_FALSE(WasInvoked("invoke_export"));
}

TEST_F(MigrationTest, WarningsOfThePrechecksDoNotEndIt) {
  agent_.Reply("invoke_pre_upgrade", {R"({"result": "success", "sourceInfo": {},
      "componentRequirements": [{"name": "n", "requirements": {"requirementMismatchSpecs": [
        {"description": {"localized": "Old."}}]}}]})"});
  EXPECT_EQ(Run(), ExitCode::kSuccess);
}

TEST_F(MigrationTest, EachRefusalEndsItWithTheAgentsReason) {
  struct Row {
    const char* operation;
    ExitCode code;
  };
  for (const Row& row :
       {Row{"get_source_deployment_type", ExitCode::kRefused},
        Row{"invoke_pre_upgrade", ExitCode::kRefused},
        Row{"collect_network_config", ExitCode::kRefused},
        Row{"collect_active_directory_config", ExitCode::kRefused},
        Row{"invoke_export", ExitCode::kRefused}, Row{"copy_export_data", ExitCode::kCopyFailed},
        Row{"shutdown_machine", ExitCode::kRefused}}) {
    agent_ = ScriptedAgent();
    agent_.Reply("get_source_deployment_type", {kType});
    agent_.Reply("poll_export_status", {"null", kExported});
    agent_.Reply(row.operation, {kNotNow});
    EXPECT_EQ(Run(), row.code) << row.operation;
    EXPECT_THAT(text_, HasSubstr("Not now.")) << row.operation;
    EXPECT_EQ(agent_.operations.back(), row.operation);
    begun_ = false;
  }
}

TEST_F(MigrationTest, FailedCopyOfTheLogsIsTheNumberThatTheAgentSays) {
  agent_.Reply("copy_logs_directory", {R"({"result": 1076, "error": "No way."})"});
  EXPECT_EQ(Run(), ExitCode::kCopyFailed);
  EXPECT_THAT(text_, AllOf(HasSubstr("No way.\n"), HasSubstr("The export has arrived.")));
  EXPECT_FALSE(WasInvoked("shutdown_machine"));
}

TEST_F(MigrationTest, CopyThatDidNotArriveEndsItWhateverTheAgentSays) {
  settings_.arrivedAt = testing::TempDir() + "no such folder";
  EXPECT_EQ(Run(), ExitCode::kCopyFailed);
  EXPECT_THAT(text_, HasSubstr("export.zip hasn't arrived: it isn't there"));
  EXPECT_EQ(agent_.operations.back(), "copy_export_data");
}

TEST_F(MigrationTest, FailedExportEndsItWithTheOldMachineRunning) {
  agent_.Reply("poll_export_status", {"null", kNoRoom});
  EXPECT_EQ(Run(), ExitCode::kExportFailed);
  EXPECT_EQ(text_, "No room.");
  EXPECT_FALSE(WasInvoked("copy_export_data"));
  EXPECT_FALSE(WasInvoked("shutdown_machine"));
  EXPECT_FALSE(begun_);
}

TEST_F(MigrationTest, ForceEndsTheOldMachineAfterAFailureTogetherWithShutdownAlone) {
  agent_.Reply("poll_export_status", {"null", kNoRoom});
  settings_.force = true;
  settings_.shutDown = false;
  EXPECT_EQ(Run(), ExitCode::kExportFailed);
  EXPECT_FALSE(WasInvoked("shutdown_machine"));
  settings_.shutDown = true;
  agent_.Reply("poll_export_status", {"null", kNoRoom});
  EXPECT_EQ(Run(), ExitCode::kExportFailed);
  EXPECT_TRUE(WasInvoked("shutdown_machine"));
}

TEST_F(MigrationTest, ForceDoesNotGoBeyondErrorsOfThePrechecks) {
  agent_.Reply("invoke_pre_upgrade", {kNotNow});
  settings_.force = true;
  EXPECT_EQ(Run(), ExitCode::kRefused);
  EXPECT_FALSE(WasInvoked("shutdown_machine"));
}

TEST_F(MigrationTest, OldMachineEndsAfterAYesAlone) {
  settings_.shutDown = false;
  typed_ = "yes";
  EXPECT_EQ(Run(), ExitCode::kSuccess);
  EXPECT_EQ(asked_, "Shut the old machine down now? (yes/no): ");
  EXPECT_TRUE(WasInvoked("shutdown_machine"));
  agent_.operations.clear();
  for (const std::optional<std::string>& no :
       {std::optional<std::string>("y"), std::optional<std::string>("no"),
        std::optional<std::string>()}) {
    typed_ = no;
    EXPECT_EQ(Run(), ExitCode::kSuccess);
    EXPECT_FALSE(WasInvoked("shutdown_machine"));
    EXPECT_THAT(output_.str(), HasSubstr("To end it: hvctl shutdown-machine\n"));
  }
}

TEST_F(MigrationTest, UpdateManagerHasNoNetworkAndItsAgentAloneEnds) {
  agent_.Reply("get_source_deployment_type",
               {R"({"result": "success", "deployment_type": "tum"})"});
  EXPECT_EQ(Run(), ExitCode::kSuccess);
  EXPECT_THAT(agent_.operations, AllOf(Not(Contains("collect_network_config")),
                                       Not(Contains("collect_active_directory_config")),
                                       Not(Contains("shutdown_machine")), Contains("shutdown_hv")));
}

TEST_F(MigrationTest, InterruptedOneGoesOnWithTheExportThatRuns) {
  begun_ = true;
  agent_.Reply("poll_export_status", {R"({"status": "running"})", kExported});
  EXPECT_EQ(Run(), ExitCode::kSuccess);
  EXPECT_FALSE(WasInvoked("invoke_pre_upgrade"));
  EXPECT_FALSE(WasInvoked("invoke_export"));
  EXPECT_TRUE(WasInvoked("copy_export_data"));
}

TEST_F(MigrationTest, InterruptedOneGoesOnWithTheCopyOfADoneExport) {
  begun_ = true;
  agent_.Reply("poll_export_status", {kExported});
  EXPECT_EQ(Run(), ExitCode::kSuccess);
  EXPECT_FALSE(WasInvoked("invoke_export"));
  EXPECT_THAT(output_.str(), HasSubstr("The export has been made already."));
}

TEST_F(MigrationTest, FailedCopyLeavesTheExportForTheNextTry) {
  agent_.Reply("copy_export_data", {kNotNow, R"({"result": "success"})"});
  EXPECT_EQ(Run(), ExitCode::kCopyFailed);
  EXPECT_TRUE(begun_);
  EXPECT_EQ(Run(), ExitCode::kSuccess);
  EXPECT_EQ(agent_.InputsOf("invoke_export").size(), 1u);
}

TEST_F(MigrationTest, FailedExportIsBegunAnew) {
  begun_ = true;
  agent_.Reply("poll_export_status", {kNoRoom, kNoRoom, "null", kExported});
  EXPECT_EQ(Run(), ExitCode::kSuccess);
  EXPECT_TRUE(WasInvoked("invoke_pre_upgrade"));
  EXPECT_TRUE(WasInvoked("invoke_export"));
}

TEST_F(MigrationTest, AgainExportsAnew) {
  begun_ = true;
  settings_.again = true;
  agent_.Reply("poll_export_status", {kExported, "null", kExported});
  EXPECT_EQ(Run(), ExitCode::kSuccess);
  EXPECT_TRUE(WasInvoked("invoke_export"));
}

TEST_F(MigrationTest, DocumentOfAnAgentsRunBeforeIsNoExportOfThisOne) {
  agent_.Reply("poll_export_status", {kExported, kExported, "null", kExported});
  EXPECT_EQ(Run(), ExitCode::kSuccess);
  EXPECT_TRUE(WasInvoked("invoke_export"));
}

}  // namespace
}  // namespace Hvctl
