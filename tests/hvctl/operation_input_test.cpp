#include "operation_input.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/json.h>

#include "failure.h"

namespace Hvctl {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const OperationCommand& CommandFor(const std::string& operation) {
  const auto commands = OperationCommands();
  return *std::find_if(commands.begin(), commands.end(), [&](const OperationCommand& command) {
    return command.operation == operation;
  });
}

class BuildInputTest : public testing::Test {
 protected:
  Json::Value Build(const std::string& operation, const GivenOptions& given) {
    const std::string text = BuildInput(
        CommandFor(operation), given, [this](const Parameter& parameter, const std::string& file) {
          asked_.push_back(std::string(parameter.option) + "=" + file);
          return std::string("secret of ") + parameter.member;
        });
    Json::Value input;
    EXPECT_TRUE(Json::Reader().parse(text, input)) << text;
    return input;
  }

  std::vector<std::string> asked_;
};

TEST(OperationCommands, AreTheThirteenOfTheAgent) {
  std::vector<std::string> operations;
  for (const OperationCommand& command : OperationCommands()) {
    operations.emplace_back(command.operation);
  }
  std::sort(operations.begin(), operations.end());
  EXPECT_THAT(operations, ElementsAre("collect_active_directory_config", "collect_network_config",
                                      "copy_export_data", "copy_logs_directory",
                                      "create_answer_file", "get_cached_pre_upgrade_result",
                                      "get_source_deployment_type", "invoke_export",
                                      "invoke_pre_upgrade", "poll_export_status", "shutdown_hv",
                                      "shutdown_machine", "validate_active_directory_credentials"));
}

TEST_F(BuildInputTest, CommonMembersStandInEveryDocument) {
  for (const OperationCommand& command : OperationCommands()) {
    const Json::Value input =
        Build(command.operation, {{"--user", "a@b.c"}, {"--locale", "d\u00e9"}});
    EXPECT_EQ(input["sso_username"], "a@b.c");
    EXPECT_EQ(input["sso_password"], "secret of sso_password");
    EXPECT_EQ(input["locale"], "d\u00e9");
  }
}

TEST_F(BuildInputTest, WhatIsNotGivenIsAbsent) {
  const Json::Value input = Build("invoke_export", {{"--user", "u"}});
  EXPECT_THAT(input.getMemberNames(), ElementsAre("sso_password", "sso_username"));
}

TEST_F(BuildInputTest, ExportTakesOptionsAsJsonAndSilenceAsABoolean) {
  const Json::Value input =
      Build("invoke_export", {{"--user", "u"}, {"--options", R"({"a":[1]})"}, {"--silent", ""}});
  EXPECT_EQ(input["user_options"]["a"][0], 1);
  EXPECT_EQ(input["silent"], true);
}

TEST_F(BuildInputTest, AnswerIsAnyJson) {
  EXPECT_EQ(Build("create_answer_file", {{"--answer", "\"yes\""}})["answer"], "yes");
  EXPECT_EQ(Build("create_answer_file", {{"--answer", "null"}}).isMember("answer"), true);
}

TEST_F(BuildInputTest, FingerprintLiesInAnObjectAndSecretsAreAskedInOrder) {
  const Json::Value input = Build("copy_export_data", {{"--user", "u"},
                                                       {"--ssh-server", "new"},
                                                       {"--ssh-folder", "/f"},
                                                       {"--ssh-user", "root"},
                                                       {"--ssh-thumbprint", "AA:BB"},
                                                       {"--ssh-password-file", "-"},
                                                       {"--interactive", ""}});
  EXPECT_EQ(input["ssh_thumbprint"]["rsa"], "AA:BB");
  EXPECT_EQ(input["ssh_server"], "new");
  EXPECT_EQ(input["ssh_folder"], "/f");
  EXPECT_EQ(input["ssh_user"], "root");
  EXPECT_EQ(input["ssh_password"], "secret of ssh_password");
  EXPECT_EQ(input["interactive"], true);
  EXPECT_THAT(asked_, ElementsAre("--password-file=", "--ssh-password-file=-"));
}

TEST_F(BuildInputTest, TextThatIsNoJsonIsNamedWithItsOption) {
  try {
    Build("create_answer_file", {{"--answer", "{yes"}});
    FAIL() << "no failure";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.Code(), ExitCode::kUsage);
    EXPECT_THAT(failure.what(), HasSubstr("--answer isn't JSON text."));
  }
}

TEST_F(BuildInputTest, JsonMayLieInAFile) {
  const auto file = std::filesystem::path(testing::TempDir()) / "hvctl answer.json";
  std::ofstream(file) << R"({"from":"file"})";
  EXPECT_EQ(Build("create_answer_file", {{"--answer", "@" + file.string()}})["answer"]["from"],
            "file");
  std::filesystem::remove(file);
  EXPECT_THROW(Build("create_answer_file", {{"--answer", "@" + file.string()}}), Failure);
}

}  // namespace
}  // namespace Hvctl
