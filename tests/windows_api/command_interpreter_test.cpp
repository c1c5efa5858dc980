// cmd.exe with a script whose output is kept in a file.
#include <gmock/gmock.h>

#include <string>

#include "scratch_folder.h"
#include "started_process.h"
#include "support.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using WindowsApi::Contents;
using WindowsApi::ScratchFolder;
using WindowsApi::StartedProcess;

class CommandInterpreter : public testing::Test {
 protected:
  /// Runs the script with its output appended to log.txt of the folder. \return The exit code.
  unsigned Run(const std::wstring& script, const std::wstring& arguments) {
    wchar_t system[MAX_PATH] = {};
    EXPECT_NE(GetSystemDirectoryW(system, MAX_PATH), 0u);
    StartedProcess shell(L"\"" + std::wstring(system) + L"\\cmd.exe\" /S /C \"\"" + script +
                             L"\" " + arguments + L" >> \"" + log_ + L"\" 2>&1\"",
                         std::wstring(system) + L"\\");
    EXPECT_EQ(shell.Error(), 0u);
    shell.Resume();
    return shell.ExitCode();
  }

  const ScratchFolder folder_;
  const std::wstring log_ = folder_.In(L"log.txt");
};

TEST_F(CommandInterpreter, AppendsWhatTheScriptPrints) {
  const std::wstring script = folder_.Write(L"x y.bat", WindowsApi::kEchoTwoArguments);
  EXPECT_EQ(Run(script, L"--start --all"), 0u);
  EXPECT_EQ(Run(script, L"--stop --all"), 0u);
  const std::string log = Contents(log_);
  EXPECT_THAT(log, HasSubstr("--start --all"));
  EXPECT_LT(log.find("--start --all"), log.find("--stop --all"));
  EXPECT_NE(log.find("--stop --all"), std::string::npos);
}

TEST_F(CommandInterpreter, GivesTheExitCodeOfTheScript) {
  const std::wstring script = folder_.Write(L"x y.bat", WindowsApi::kExitWithSeven);
  EXPECT_EQ(Run(script, L"--start --all"), 7u);
}

TEST_F(CommandInterpreter, ScriptThatIsNotThereIsToldInTheOutput) {
  EXPECT_NE(Run(folder_.In(L"none.bat"), L"--start --all"), 0u);
  EXPECT_THAT(Contents(log_), Not(IsEmpty()));
}

}  // namespace
