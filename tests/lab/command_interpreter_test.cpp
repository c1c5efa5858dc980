#include "process/command_interpreter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/lab_instance.h"

namespace Lab {
namespace {

using testing::Contains;
using testing::ElementsAre;

class Interpreter : public testing::Test {
 protected:
  Interpreter() { machine_.WriteFile(L"C:\\My scripts\\x.bat", "#!/bin/sh\n"); }

  /// \return What follows the log's name and the folder of the lab's programs.
  static std::vector<std::string> Run(const std::wstring& command) {
    const std::vector<std::string> line = InterpreterCommand(L" /S /C \"" + command + L"\"");
    EXPECT_GT(line.size(), 5u);
    return {line.begin() + 5, line.end()};
  }

  std::string Host(const wchar_t* path) const { return machine_.HostPath(path).string(); }

  Instance machine_;
};

TEST_F(Interpreter, IsCmdUnlessAnotherProgramIsNamed) {
  const auto cmd = machine_.HostPath(L"C:\\Windows\\system32\\CMD.exe");
  EXPECT_TRUE(IsCommandInterpreter(cmd));
  EXPECT_FALSE(IsCommandInterpreter(cmd.parent_path() / "cmdx.exe"));
  machine_.Set("/programs/cmd.exe", "/bin/true");
  EXPECT_FALSE(IsCommandInterpreter(cmd));
}

TEST_F(Interpreter, RunsTheScriptWithItsArguments) {
  EXPECT_THAT(
      Run(L"\"C:\\My scripts\\x.bat\" --a \"b c\" C:\\My >> C:\\log.txt 2>&1"),
      ElementsAre("/bin/sh", Host(L"C:\\My scripts\\x.bat"), "--a", "b c", Host(L"C:\\My")));
}

TEST_F(Interpreter, TakesTheLogFromTheCommand) {
  const std::vector<std::string> line = InterpreterCommand(
      L" /S /C \"\"C:\\My scripts\\x.bat\" >> \"C:\\My scripts\\a log.txt\" 2>&1\"");
  EXPECT_EQ(line.at(3), Host(L"C:\\My scripts") + "/a log.txt");
}

TEST_F(Interpreter, TakesTheWholeNameOfTheLogOnlyInQuotes) {
  EXPECT_THAT(Run(L"\"C:\\My scripts\\x.bat\" --all >> C:\\My log.txt 2>&1"),
              ElementsAre("/bin/sh", Host(L"C:\\My scripts\\x.bat"), "--all", "log.txt"));
}

TEST_F(Interpreter, QuotedSignsAreNoRedirection) {
  EXPECT_THAT(Run(L"\"C:\\My scripts\\x.bat\" \">> a 2>&1\" >> C:\\log.txt 2>&1"),
              Contains(">> a 2>&1"));
}

TEST_F(Interpreter, OtherCommandLinesAreRefusedAloud) {
  for (const wchar_t* rest : {L" /C \"x.bat >> a 2>&1\"", L" /S /C x.bat", L" /S /C \"",
                              L" /S /C \"x.bat >> a\"", L" /S /C \"x.bat 2>&1\"", L""}) {
    EXPECT_DEATH((void)InterpreterCommand(rest), "cmd.exe is run");
  }
}

TEST_F(Interpreter, FileThatIsNoScriptOfTheHostIsRefusedAloud) {
  machine_.WriteFile(L"C:\\real.bat", "@echo off\r\n");
  EXPECT_DEATH((void)InterpreterCommand(L" /S /C \"C:\\real.bat >> C:\\log.txt 2>&1\""),
               "begins with #!");
}

}  // namespace
}  // namespace Lab
