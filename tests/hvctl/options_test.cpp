#include "options.h"

#include <sstream>

#include <gtest/gtest.h>

#include "exit_code.h"

namespace Hvctl {
namespace {

constexpr int kUnset = -99;

struct Parsed {
  explicit Parsed(const std::vector<std::string>& arguments) {
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    options = ParseOptions(arguments, exitCode);
    out = ::testing::internal::GetCapturedStdout();
    err = ::testing::internal::GetCapturedStderr();
  }
  int exitCode = kUnset;
  std::optional<Options> options;
  std::string out;
  std::string err;
};

TEST(ParseOptions, OperationsShowTheDocumentWhenAskedTo) {
  const std::vector<std::string> words = {"prechecks", "--host", "old", "--user", "admin"};
  EXPECT_FALSE(Parsed(words).options->json);
  std::vector<std::string> withFlag = words;
  withFlag.push_back("--json");
  EXPECT_TRUE(Parsed(withFlag).options->json);
  // A call shows nothing else.
  EXPECT_FALSE(Parsed({"call", "poll_export_status", "--host", "old", "--json"}).options);
}

TEST(ParseOptions, CallHasItsDefaults) {
  const Parsed parsed({"call", "poll_export_status", "--host", "old"});
  ASSERT_TRUE(parsed.options);
  EXPECT_EQ(parsed.options->command, Options::Command::kCall);
  EXPECT_EQ(parsed.options->agent.Text(), "old:9123");
  EXPECT_EQ(parsed.options->operation, "poll_export_status");
  EXPECT_EQ(parsed.options->input, "{}");
  EXPECT_EQ(parsed.options->limits.connect.count(), 10);
  EXPECT_EQ(parsed.options->limits.answer.count(), 0);
  EXPECT_FALSE(parsed.options->thumbprint);
  EXPECT_FALSE(parsed.options->framed);
  EXPECT_FALSE(parsed.options->raw);
}

TEST(ParseOptions, CallTakesEverything) {
  const Parsed parsed({"call", "op", "-", "--host", "2001:db8::1", "--port", "443", "--thumbprint",
                       "00112233445566778899aabbccddeeff01234567", "--framed", "--raw",
                       "--connect-timeout", "3", "--timeout", "4"});
  ASSERT_TRUE(parsed.options) << parsed.err;
  EXPECT_EQ(parsed.options->agent.Text(), "[2001:db8::1]:443");
  EXPECT_EQ(parsed.options->input, "-");
  EXPECT_EQ(parsed.options->thumbprint,
            "00:11:22:33:44:55:66:77:88:99:AA:BB:CC:DD:EE:FF:01:23:45:67");
  EXPECT_TRUE(parsed.options->framed);
  EXPECT_TRUE(parsed.options->raw);
  EXPECT_EQ(parsed.options->limits.connect.count(), 3);
  EXPECT_EQ(parsed.options->limits.answer.count(), 4);
}

TEST(ParseOptions, EachOperationIsACommandWithItsOwnHelpAndExample) {
  for (const OperationCommand& command : OperationCommands()) {
    const Parsed help({command.name, "--help"});
    EXPECT_EQ(help.exitCode, static_cast<int>(ExitCode::kSuccess)) << command.name;
    EXPECT_NE(help.out.find(std::string("Example:\n  hvctl ") + command.name + " --host"),
              std::string::npos);
    EXPECT_NE(help.out.find("--password-file"), std::string::npos);
  }
}

/// The words of a command's example, as a shell splits them.
std::vector<std::string> ExampleOf(const OperationCommand& command) {
  std::vector<std::string> words{command.name};
  std::istringstream example(command.example);
  for (std::string word; example >> word;) {
    if (word.starts_with('\'')) word = word.substr(1, word.size() - 2);
    words.push_back(word);
  }
  return words;
}

TEST(ParseOptions, ExamplesAreCommandLinesThatWork) {
  for (const OperationCommand& command : OperationCommands()) {
    const Parsed parsed(ExampleOf(command));
    ASSERT_TRUE(parsed.options) << command.name << parsed.err;
    EXPECT_EQ(parsed.options->command, Options::Command::kOperation);
    EXPECT_EQ(parsed.options->operation, command.operation);
    EXPECT_EQ(parsed.options->operationCommand, &command);
    EXPECT_EQ(parsed.options->agent.Text(), "old.example:9123");
    EXPECT_EQ(parsed.options->given.at("--user"), "administrator@ostrel.local");
  }
}

TEST(ParseOptions, NoCommandTakesAPassword) {
  for (const OperationCommand& command : OperationCommands()) {
    for (const char* option : {"--password", "--ssh-password", "--ad-password"}) {
      std::vector<std::string> words = ExampleOf(command);
      words.insert(words.end(), {option, "secret"});
      EXPECT_FALSE(Parsed(words).options) << command.name << option;
    }
  }
}

TEST(ParseOptions, MigrationMayTakeEverythingFromItsFile) {
  const Parsed parsed({"migrate", "--settings", "file"});
  ASSERT_TRUE(parsed.options) << parsed.err;
  EXPECT_EQ(parsed.options->command, Options::Command::kMigrate);
  EXPECT_EQ(parsed.options->migration.file, "file");
  EXPECT_EQ(parsed.options->agent.host, "");
  EXPECT_EQ(parsed.options->agent.port, 0);
  EXPECT_EQ(parsed.options->migration.progress, ProgressForm::kAuto);
  EXPECT_FALSE(parsed.options->migration.shutDown);
  EXPECT_FALSE(parsed.options->migration.force);
  EXPECT_FALSE(parsed.options->migration.again);
}

TEST(ParseOptions, MigrationTakesEverything) {
  const Parsed parsed(
      {"migrate", "--host",           "old",     "--port",       "9124",       "--user",
       "u",       "--ssh-server",     "s",       "--ssh-folder", "f",          "--ssh-user",
       "r",       "--ssh-thumbprint", "t",       "--answer",     "a=yes",      "--answer",
       "b=[1]",   "--options",        "{}",      "--silent",     "--progress", "json",
       "--again", "--shutdown",       "--force", "--interactive"});
  ASSERT_TRUE(parsed.options) << parsed.err;
  const MigrationSettings& settings = parsed.options->migration;
  EXPECT_EQ(parsed.options->agent.Text(), "old:9124");
  EXPECT_EQ(settings.given.size(), 8u);
  EXPECT_EQ(settings.given.at("--ssh-folder"), "f");
  EXPECT_EQ(settings.answers.at("a"), "yes");
  EXPECT_EQ(settings.answers.at("b")[0], 1);
  EXPECT_EQ(settings.progress, ProgressForm::kJson);
  EXPECT_TRUE(settings.again);
  EXPECT_TRUE(settings.shutDown);
  EXPECT_TRUE(settings.force);
}

TEST(ParseOptions, MigrationsHelpHasItsExitCodesAndAnExample) {
  const Parsed help({"migrate", "--help"});
  EXPECT_EQ(help.exitCode, static_cast<int>(ExitCode::kSuccess));
  EXPECT_NE(help.out.find("  9  the export waits"), std::string::npos);
  EXPECT_NE(help.out.find("Example:\n  hvctl migrate --host"), std::string::npos);
}

TEST(ParseOptions, ForgetNamesAnAgent) {
  const Parsed parsed({"forget", "--host", "old", "--port", "9124"});
  ASSERT_TRUE(parsed.options);
  EXPECT_EQ(parsed.options->command, Options::Command::kForget);
  EXPECT_EQ(parsed.options->agent.Text(), "old:9124");
}

TEST(ParseOptions, HelpEndsWellAndListsTheExitCodes) {
  const Parsed parsed({"--help"});
  EXPECT_FALSE(parsed.options);
  EXPECT_EQ(parsed.exitCode, static_cast<int>(ExitCode::kSuccess));
  EXPECT_NE(parsed.out.find("Exit codes:"), std::string::npos);
}

TEST(ParseOptions, WrongCommandLinesEndWithUsage) {
  const std::vector<std::vector<std::string>> wrong = {
      {},
      {"call"},
      {"call", "op"},
      {"call", "op", "--host", "h", "--port", "0"},
      {"call", "op", "--host", "h", "--port", "65536"},
      {"call", "op", "--host", "h", "--thumbprint", "12:34"},
      {"call", "op", "--host", "h", "--timeout", "-1"},
      {"call", "op", "--host", "h", "--nonsense"},
      {"destroy"},
      {"deployment-type", "--host", "h"},
      {"answer", "--host", "h", "--user", "u"},
      {"copy-logs", "--host", "h", "--user", "u", "--interactive"},
      {"export", "--user", "u"},
      {"migrate", "--answer", "yes"},
      {"migrate", "--progress", "loud"},
      {"migrate", "--password", "x"},
  };
  for (const auto& arguments : wrong) {
    const Parsed parsed(arguments);
    EXPECT_FALSE(parsed.options);
    EXPECT_EQ(parsed.exitCode, static_cast<int>(ExitCode::kUsage));
    EXPECT_FALSE(parsed.err.empty());
  }
}

}  // namespace
}  // namespace Hvctl
