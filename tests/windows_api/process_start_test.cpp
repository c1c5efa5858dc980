// Starting processes, their exit codes and their end.
#include <gmock/gmock.h>

#include <sstream>
#include <string>
#include <vector>

#include "scratch_folder.h"
#include "started_process.h"
#include "support.h"

namespace {

using testing::Contains;
using testing::EndsWith;
using testing::StartsWith;
using WindowsApi::ChildLine;
using WindowsApi::ChildProgram;
using WindowsApi::kTimeout;
using WindowsApi::LastError;
using WindowsApi::ScratchFolder;
using WindowsApi::SpoilLastError;
using WindowsApi::StartedProcess;

constexpr unsigned kRuns = 259;

unsigned LookAt(HANDLE object) { return static_cast<unsigned>(WaitForSingleObject(object, 0)); }

unsigned ExitCodeNow(HANDLE process) {
  DWORD code = 0;
  EXPECT_TRUE(GetExitCodeProcess(process, &code));
  return static_cast<unsigned>(code);
}

TEST(StartedProcess, StaysSuspendedUntilItIsResumed) {
  StartedProcess child(ChildLine(L"exit 7"));
  ASSERT_EQ(child.Error(), 0u);
  EXPECT_EQ(WaitForSingleObject(child.Handle(), 50), kTimeout);
  EXPECT_EQ(LookAt(child.Thread()), kTimeout);
  EXPECT_EQ(ExitCodeNow(child.Handle()), kRuns);
  EXPECT_EQ(ResumeThread(child.Thread()), 1u);
  EXPECT_EQ(child.ExitCode(), 7u);
  EXPECT_EQ(LookAt(child.Handle()), 0u);
  EXPECT_EQ(WaitForSingleObject(child.Thread(), INFINITE), 0u);
}

TEST(StartedProcess, HasIds) {
  StartedProcess child(ChildLine(L"exit 0"));
  EXPECT_TRUE(WindowsApi::ProcessRuns(child.Id()));
  child.Resume();
  EXPECT_EQ(child.ExitCode(), 0u);
}

class ExitCode : public testing::TestWithParam<unsigned> {};

TEST_P(ExitCode, HasAllItsBits) {
  StartedProcess child(ChildLine(L"exit " + std::to_wstring(GetParam())));
  child.Resume();
  EXPECT_EQ(child.ExitCode(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Values, ExitCode,
                         testing::Values(0u, 1u, 255u, 256u, 259u, 0xC0000005u, 0xFFFFFFFFu));

TEST(StartedProcess, GetsItsArgumentsAndItsFolder) {
  const ScratchFolder folder;
  const std::wstring where = folder.MakeFolder(L"working folder");
  const std::wstring file = folder.In(L"report.txt");
  StartedProcess child(
      ChildLine(L"report \"" + file + LR"(" plain "two words" a\\b "c\\" d\"e f"g"h)"),
      where + L"\\");
  ASSERT_EQ(child.Error(), 0u);
  child.Resume();
  ASSERT_EQ(child.ExitCode(), 0u);
  std::istringstream lines(WindowsApi::Contents(file));
  std::vector<std::string> all;
  for (std::string line; std::getline(lines, line);) all.push_back(line);
  ASSERT_GT(all.size(), 10u);
  const std::vector<std::string> given(all.begin() + 3, all.begin() + 9);
  EXPECT_THAT(given, testing::ElementsAre("plain", "two words", "a\\\\b", "c\\", "d\"e", "fgh"));
  EXPECT_THAT(all, Contains(testing::AllOf(StartsWith("folder="), EndsWith("working folder"))));
}

TEST(StartedProcess, HasTheUsersEnvironment) {
  const ScratchFolder folder;
  const std::wstring file = folder.In(L"report.txt");
  StartedProcess child(ChildLine(L"report \"" + file + L"\""));
  child.Resume();
  ASSERT_EQ(child.ExitCode(), 0u);
  EXPECT_THAT(WindowsApi::Contents(file), testing::HasSubstr("variable SystemRoot=C:"));
}

TEST(StartedProcess, UnquotedPathWithBlanksIsFoundByTrying) {
  const std::wstring program = ChildProgram();
  ASSERT_NE(program.find(L' '), std::wstring::npos);
  StartedProcess child(program + L" exit 5");
  ASSERT_EQ(child.Error(), 0u);
  child.Resume();
  EXPECT_EQ(child.ExitCode(), 5u);
}

TEST(StartedProcess, MayBeNamedWithoutItsExtension) {
  const std::wstring program = ChildProgram();
  StartedProcess child(L"\"" + program.substr(0, program.size() - 4) + L"\" exit 5");
  ASSERT_EQ(child.Error(), 0u);
  child.Resume();
  EXPECT_EQ(child.ExitCode(), 5u);
}

TEST(CreateProcessW, NamesWhatIsMissing) {
  const ScratchFolder folder;
  EXPECT_EQ(StartedProcess(L"\"" + folder.In(L"no program.exe") + L"\"").Error(), 2u);
  EXPECT_EQ(StartedProcess(ChildLine(L"exit 0"), folder.In(L"no folder\\")).Error(), 267u);
}

TEST(CreateProcessW, NamesAMissingFolderOfTheProgram) {
  SKIP_ON_WINE("Wine 8 answers 2 for a missing folder too");
  const ScratchFolder folder;
  EXPECT_EQ(StartedProcess(L"\"" + folder.In(L"no folder\\program.exe") + L"\"").Error(), 3u);
}

TEST(CreateProcessW, RefusesWhatIsNoProgram) {
  const ScratchFolder folder;
  EXPECT_EQ(StartedProcess(L"\"" + folder.Write(L"text.exe", "no program") + L"\"").Error(), 193u);
  EXPECT_EQ(StartedProcess(L"\"" + folder.Write(L"empty.exe", "") + L"\"").Error(), 193u);
}

TEST(CreateProcessW, RefusesTooLongALine) {
  SKIP_ON_WINE("Wine 8 runs command lines of any length");
  EXPECT_EQ(StartedProcess(ChildLine(L"exit 0 ") + std::wstring(32767, L'x')).Error(), 206u);
}

TEST(TerminateProcess, EndsASuspendedProcess) {
  StartedProcess child(ChildLine(L"exit 0"));
  EXPECT_TRUE(TerminateProcess(child.Handle(), static_cast<UINT>(-1)));
  EXPECT_EQ(child.ExitCode(), 0xFFFFFFFFu);
}

TEST(TerminateProcess, EndsARunningProcessButNotItsChildren) {
  const ScratchFolder folder;
  StartedProcess child(
      ChildLine(L"tree \"" + folder.In(L"c") + L"\" \"" + folder.In(L"g") + L"\""));
  child.Resume();
  EXPECT_EQ(child.ExitCode(), 0u);
  const unsigned long grandchild = std::stoul(WindowsApi::Contents(folder.In(L"g")));
  EXPECT_TRUE(WindowsApi::ProcessRuns(grandchild));
  WindowsApi::EndProcess(grandchild);
}

TEST(TerminateProcess, RefusesAnEndedProcess) {
  SKIP_ON_WINE("Wine 8 answers success for an ended process");
  StartedProcess child(ChildLine(L"exit 4"));
  child.Resume();
  EXPECT_EQ(child.ExitCode(), 4u);
  SpoilLastError();
  EXPECT_FALSE(TerminateProcess(child.Handle(), 9));
  EXPECT_EQ(LastError(), 5u);
  EXPECT_EQ(child.ExitCode(), 4u);
}

TEST(ProcessFunctions, RefuseBadHandles) {
  DWORD code = 0;
  SpoilLastError();
  EXPECT_EQ(ResumeThread(nullptr), 0xFFFFFFFFu);
  EXPECT_EQ(LastError(), 6u);
  SpoilLastError();
  EXPECT_FALSE(TerminateProcess(nullptr, 0));
  EXPECT_EQ(LastError(), 6u);
  SpoilLastError();
  EXPECT_FALSE(GetExitCodeProcess(nullptr, &code));
  EXPECT_EQ(LastError(), 6u);
}

TEST(ResumeThread, OfARunningThreadChangesNothing) {
  StartedProcess child(ChildLine(L"hold \"" + ScratchFolder().In(L"f") + L"\""));
  child.Resume();
  EXPECT_EQ(ResumeThread(child.Thread()), 0u);
}

TEST(StartedProcess, IsAwaitedAsAnyObject) {
  StartedProcess child(ChildLine(L"exit 0"));
  const Halvard::Host::UniqueHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  const HANDLE handles[] = {event.Get(), child.Handle()};
  EXPECT_EQ(WaitForMultipleObjectsEx(2, handles, FALSE, 0, TRUE), kTimeout);
  child.Resume();
  EXPECT_EQ(WaitForMultipleObjectsEx(2, handles, FALSE, INFINITE, TRUE), 1u);
}

TEST(EnvironmentBlock, IsAListOfVariablesWithAnEmptyOneAtItsEnd) {
  const WindowsApi::EnvironmentBlock block;
  std::vector<std::wstring> entries;
  for (const wchar_t* at = block.Get(); *at != 0; at += entries.back().size() + 1) {
    entries.emplace_back(at);
    EXPECT_NE(entries.back().find(L'='), std::wstring::npos);
  }
  EXPECT_THAT(entries, Contains(StartsWith(L"TEMP=")));
}

}  // namespace
