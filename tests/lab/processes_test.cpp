// Child processes of a machine, beyond what the Windows API tells.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "process/child_process.h"
#include "process/command_line.h"
#include "process/host_program.h"
#include "support/lab_instance.h"
#include "support/machine_processes.h"

namespace Lab {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Programs : public testing::Test {
 protected:
  Instance machine_;
};

TEST_F(Programs, FilesWithANamedNameAreProgramsOfTheHost) {
  machine_.Set("/programs/python.exe", "/bin/true");
  machine_.WriteFile(L"C:\\Python\\PYTHON.exe", "MZ");
  EXPECT_THAT(HostCommand(machine_.HostPath(L"C:\\Python\\PYTHON.exe")), ElementsAre("/bin/true"));
}

TEST_F(Programs, ScriptsRunByTheirInterpreter) {
  machine_.WriteFile(L"C:\\x.bat", "#!/usr/bin/env python3\r\nprint()\n");
  const std::string script = machine_.HostPath(L"C:\\x.bat").string();
  EXPECT_THAT(HostCommand(script), ElementsAre("/usr/bin/env", "python3", script));
  machine_.WriteFile(L"C:\\y.bat", "#!/no/such/interpreter\n");
  EXPECT_THAT(HostCommand(machine_.HostPath(L"C:\\y.bat")), IsEmpty());
}

TEST_F(Programs, AnythingElseIsNone) {
  machine_.WriteFile(L"C:\\x.exe", "MZ");
  EXPECT_THAT(HostCommand(machine_.HostPath(L"C:\\x.exe")), IsEmpty());
}

using HostArguments = Programs;

TEST_F(HostArguments, PathsAreThoseOfTheHost) {
  machine_.WriteFile(L"C:\\Data \u00e4\\File.txt", "");
  const std::string drive = machine_.HostPath(L"C:\\").string();
  EXPECT_EQ(HostArgument(L"c:\\data \u00c4\\FILE.TXT"), drive + "/Data \u00e4/File.txt");
  EXPECT_EQ(HostArgument(L"--configFile=C:\\Data \u00e4\\new.json"),
            "--configFile=" + drive + "/Data \u00e4/new.json");
  EXPECT_EQ(HostArgument(L"C:\\Data \u00e4\\"), drive + "/Data \u00e4/");
  EXPECT_EQ(HostArgument(L"C:\\none\\deeper\\x"), drive + "/none/deeper/x");
}

TEST_F(HostArguments, OtherTextStays) {
  for (const char* text :
       {"--mode=export", "plain", "", "x=y=C:\\z", "C:", "http://C:\\x", "Q:\\x"}) {
    EXPECT_EQ(HostArgument(std::wstring(text, text + std::char_traits<char>::length(text))), text);
  }
}

TEST_F(HostArguments, AreDividedLikeThoseOfACProgram) {
  EXPECT_THAT(SplitArguments(L"  a  \"b c\"\td\\\\e \"f\\\\\" \\\"g h\"\"i \"\""),
              ElementsAre(L"a", L"b c", L"d\\\\e", L"f\\", L"\"g", L"hi", L""));
  EXPECT_THAT(SplitArguments(L" "), IsEmpty());
}

class Children : public Programs {
 protected:
  ~Children() override { EXPECT_THAT(ProcessesOf(machine_), IsEmpty()); }

  std::shared_ptr<ChildProcess> Start(const std::string& script) {
    return ChildProcess::Start({machine_.Folder(),
                                {"/bin/sh", "-c", script},
                                {"HALVARD_LAB=" + machine_.Folder().string()}})
        .process;
  }

  static std::uint32_t ExitCode(const ChildProcess& child) {
    while (!child.ExitCode()) usleep(1000);
    return *child.ExitCode();
  }
};

TEST_F(Children, TellTheirWholeExitCodeInAFile) {
  const auto child = Start("echo 3221225477 > $HALVARD_LAB/run/exit-$$; exit 5");
  child->Resume();
  EXPECT_EQ(ExitCode(*child), 0xC0000005u);
  EXPECT_THAT(machine_.Folder(), testing::Truly([](const auto& folder) {
                for (const auto& entry : std::filesystem::directory_iterator(folder / "run")) {
                  if (entry.path().filename().string().starts_with("exit-")) return false;
                }
                return true;
              }));
}

TEST_F(Children, DieOfSignalsWithTheCodesOfExceptions) {
  for (const auto& [signal, code] : {std::pair{"SEGV", 0xC0000005u},
                                     {"ABRT", 3u},
                                     {"KILL", 1u},
                                     {"TERM", 0xC000013Au},
                                     {"FPE", 0xC0000094u}}) {
    const auto child = Start(std::string("kill -s ") + signal + " $$");
    child->Resume();
    EXPECT_EQ(ExitCode(*child), code) << signal;
  }
}

TEST_F(Children, ThatWereNeverResumedEndWithTheirLastHandle) { EXPECT_NE(Start("exit"), nullptr); }

TEST_F(Children, EndByTheTreeHoweverItGrows) {
  auto child = Start("grow() { setsid sh -c 'sleep 100 & sleep 100 & wait' & }; grow; grow; grow");
  child->Resume();
  EXPECT_EQ(ExitCode(*child), 0u);
  child->TerminateAll(1);
  // Its keeper is a process of the machine too.
  child.reset();
  EXPECT_THAT(ProcessesOf(machine_), IsEmpty());
}

TEST_F(Children, GoOnAfterTheirHandlesAreClosed) {
  auto child = Start("while ! test -e stop; do sleep 0.01; done; echo x > stopped");
  child->Resume();
  child.reset();
  EXPECT_FALSE(std::filesystem::exists(machine_.Folder() / "stopped"));
  std::ofstream(machine_.Folder() / "stop") << "x";
  while (!std::filesystem::exists(machine_.Folder() / "stopped")) usleep(1000);
  while (!ProcessesOf(machine_).empty()) usleep(1000);
}

TEST_F(Children, OfAProgramThatWasKilledGoOnButForSuspendedOnes) {
  const pid_t program = fork();
  if (program == 0) {
    const auto running = Start("while ! test -e stop; do sleep 0.01; done");
    const auto suspended = Start("exit");
    running->Resume();
    std::ofstream(machine_.Folder() / "started") << "x";
    for (;;) pause();
  }
  while (!std::filesystem::exists(machine_.Folder() / "started")) usleep(1000);
  kill(program, SIGKILL);
  waitpid(program, nullptr, 0);
  std::ofstream(machine_.Folder() / "stop") << "x";
  while (!ProcessesOf(machine_).empty()) usleep(1000);
}

TEST_F(Children, WithoutTheirKeeperCountAsEnded) {
  // One process: a shell could start the other between the look and the kill.
  const auto child = Start("exec sleep 100");
  child->Resume();
  const std::vector<pid_t> processes = ProcessesOf(machine_);
  for (const pid_t process : processes) kill(process, SIGKILL);
  EXPECT_EQ(ExitCode(*child), 1u);
  EXPECT_EQ(child->Resume(), 0u);
  child->TerminateAll(1);
  // The keeper's end can be seen before the killed processes have ended.
  while (!ProcessesOf(machine_).empty()) usleep(1000);
}

TEST_F(Children, ReportAFolderThatIsNone) {
  const auto result = ChildProcess::Start({"/no/such/folder", {"/bin/true"}, {}});
  EXPECT_EQ(result.process, nullptr);
  EXPECT_EQ(result.hostError, ENOENT);
}

TEST_F(Children, WhoseProgramCantBeLoadedAnyMoreEndWithACodeOfTheLoader) {
  const auto child = ChildProcess::Start({machine_.Folder(), {"/no/such/program"}, {}}).process;
  child->Resume();
  EXPECT_EQ(ExitCode(*child), 0xC0000142u);
}

}  // namespace
}  // namespace Lab
