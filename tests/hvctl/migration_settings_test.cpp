#include "migration_settings.h"

#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "failure.h"
#include "operation_inputs.h"
#include "temp_file.h"

namespace Hvctl {
namespace {

using testing::HasSubstr;

class SettingsFileTest : public testing::Test {
 protected:
  ~SettingsFileTest() override { std::filesystem::remove(file_); }

  void Read(const std::string& text) {
    std::ofstream(file_, std::ios::binary) << text;
    settings_.file = file_.string();
    ReadSettingsFile(settings_, agent_, thumbprint_);
  }
  std::string ProblemOf(const std::string& text) {
    try {
      Read(text);
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.Code(), ExitCode::kUsage);
      return failure.what();
    }
    return {};
  }

  const std::filesystem::path file_ = TempFile();
  MigrationSettings settings_;
  Endpoint agent_;
  std::optional<std::string> thumbprint_;
};

TEST_F(SettingsFileTest, GivesWhatTheCommandLineLeftOut) {
  Read(R"({"host": "old", "port": 443, "user": "admin", "ssh-server": "new", "silent": true,
           "thumbprint": "00112233445566778899aabbccddeeff01234567", "options": {"a": 1},
           "interactive": false, "answers": {"q": [1]}, "shutdown": true, "password-file": "pw",
           "arrived-at": "/here"})");
  EXPECT_EQ(agent_.Text(), "old:443");
  EXPECT_EQ(thumbprint_, "00:11:22:33:44:55:66:77:88:99:AA:BB:CC:DD:EE:FF:01:23:45:67");
  EXPECT_EQ(settings_.given, (GivenOptions{{"--user", "admin"},
                                           {"--ssh-server", "new"},
                                           {"--silent", ""},
                                           {"--options", R"({"a":1})"},
                                           {"--password-file", "pw"}}));
  EXPECT_EQ(settings_.answers.at("q")[0], 1);
  EXPECT_TRUE(settings_.shutDown);
  EXPECT_EQ(settings_.arrivedAt, "/here");
}

TEST_F(SettingsFileTest, CommandLineComesBeforeIt) {
  agent_ = {"mine", 1};
  thumbprint_ = "T";
  settings_.given["--user"] = "me";
  settings_.answers["q"] = "mine";
  settings_.shutDown = true;
  Read(R"({"host": "old", "port": 443, "user": "admin", "answers": {"q": "its"}, "shutdown": false,
           "thumbprint": "00112233445566778899aabbccddeeff01234567"})");
  EXPECT_EQ(agent_.Text(), "mine:1");
  EXPECT_EQ(thumbprint_, "T");
  EXPECT_EQ(settings_.given.at("--user"), "me");
  EXPECT_EQ(settings_.answers.at("q"), "mine");
  EXPECT_TRUE(settings_.shutDown);
}

TEST_F(SettingsFileTest, FaultsAreNamedWithTheFileAndTheMember) {
  const std::pair<const char*, const char*> rows[] = {
      {"{", "isn't JSON. "},
      {"[]", "has to hold a JSON object."},
      {R"({"password": "x"})", "has a member that is no setting: \"password\"."},
      {R"({"ad-user": "x"})", "has a member that is no setting: \"ad-user\"."},
      {R"({"host": 1})", "has something else than a text for \"host\"."},
      {R"({"user": null})", "has something else than a text for \"user\"."},
      {R"({"silent": "yes"})", "has neither true nor false for \"silent\"."},
      {R"({"shutdown": 1})", "has neither true nor false for \"shutdown\"."},
      {R"({"port": 0})", "has no number from 1 to 65535 for \"port\"."},
      {R"({"port": 65536})", "has no number from 1 to 65535 for \"port\"."},
      {R"({"port": "1"})", "has no number from 1 to 65535 for \"port\"."},
      {R"({"thumbprint": "12"})", "has no 40 hexadecimal digits for \"thumbprint\"."},
      {R"({"answers": []})", "has no object for \"answers\"."},
  };
  for (const auto& [text, problem] : rows) {
    EXPECT_THAT(ProblemOf(text), HasSubstr("The settings file " + file_.string() + " " + problem))
        << text;
  }
}

TEST_F(SettingsFileTest, FileThatIsNotThereIsNamed) {
  settings_.file = file_.string();
  EXPECT_THROW(ReadSettingsFile(settings_, agent_, thumbprint_), Failure);
}

TEST_F(SettingsFileTest, NoFileIsNoFault) { ReadSettingsFile(settings_, agent_, thumbprint_); }

TEST(AddAnswer, TakesJsonAndEverythingElseAsText) {
  std::map<std::string, Json::Value> answers;
  EXPECT_EQ(AddAnswer("a=yes", answers), "");
  EXPECT_EQ(AddAnswer("b={\"x\":1}", answers), "");
  EXPECT_EQ(AddAnswer("c=", answers), "");
  EXPECT_EQ(AddAnswer("d=\"3\"", answers), "");
  EXPECT_EQ(AddAnswer("e=1=2", answers), "");
  EXPECT_EQ(answers["a"], "yes");
  EXPECT_EQ(answers["b"]["x"], 1);
  EXPECT_EQ(answers["c"], "");
  EXPECT_EQ(answers["d"], "3");
  EXPECT_EQ(answers["e"], "1=2");
  for (const char* wrong : {"", "a", "=a"}) {
    EXPECT_EQ(AddAnswer(wrong, answers), "An answer has the form ID=VALUE");
  }
}

TEST(OperationInputs, AskForEachSecretOnceAndBeforeItIsNeeded) {
  std::string asked;
  OperationInputs inputs({{"--user", "u"}, {"--password-file", "pw"}},
                         [&](const Parameter& parameter, const std::string& file) {
                           asked += std::string(parameter.option) + "=" + file + " ";
                           return "secret";
                         });
  inputs.AskFor({"copy-export"});
  EXPECT_EQ(asked, "--password-file=pw --ssh-password-file= ");
  EXPECT_EQ(inputs.Of(CommandNamed("prechecks")),
            R"({"sso_password":"secret","sso_username":"u"})");
  (void)inputs.Of(CommandNamed("copy-logs"));
  EXPECT_EQ(asked, "--password-file=pw --ssh-password-file= ");
}

TEST(OperationInputs, WhatIsGivenForOneCallStaysInIt) {
  OperationInputs inputs({{"--user", "u"}},
                         [](const Parameter&, const std::string&) { return "s"; });
  EXPECT_EQ(inputs.Of(CommandNamed("answer"), {{"--answer", "7"}}),
            R"({"answer":7,"sso_password":"s","sso_username":"u"})");
  EXPECT_EQ(inputs.Of(CommandNamed("answer")), R"({"sso_password":"s","sso_username":"u"})");
}

TEST(CheckGiven, NamesTheFirstThatIsMissing) {
  GivenOptions given{{"--user", "u"}, {"--ssh-server", "s"}};
  try {
    CheckGiven(given, {"copy-export"});
    FAIL() << "no failure";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.Code(), ExitCode::kUsage);
    EXPECT_STREQ(failure.what(),
                 "--ssh-folder is missing: Folder there, without a slash at its end. Give it, or "
                 "\"ssh-folder\" in the settings file.");
  }
  given.insert({{"--ssh-folder", "f"}, {"--ssh-user", "u"}, {"--ssh-thumbprint", "t"}});
  CheckGiven(given, {"copy-export"});
}

}  // namespace
}  // namespace Hvctl
