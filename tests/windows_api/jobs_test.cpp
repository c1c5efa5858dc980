// Job objects without limits.
#include <string>

#include "scratch_folder.h"
#include "started_process.h"
#include "support.h"

namespace {

using Halvard::Host::UniqueHandle;
using WindowsApi::ChildLine;
using WindowsApi::kTimeout;
using WindowsApi::LastError;
using WindowsApi::ScratchFolder;
using WindowsApi::SpoilLastError;
using WindowsApi::StartedProcess;

class Job : public testing::Test {
 protected:
  unsigned Look() { return static_cast<unsigned>(WaitForSingleObject(job_.Get(), 0)); }

  const UniqueHandle job_{CreateJobObjectW(nullptr, nullptr)};
};

TEST_F(Job, IsNeverSignalledByItself) {
  EXPECT_EQ(Look(), kTimeout);
  StartedProcess child(ChildLine(L"exit 0"));
  EXPECT_TRUE(AssignProcessToJobObject(job_.Get(), child.Handle()));
  child.Resume();
  EXPECT_EQ(child.ExitCode(), 0u);
  EXPECT_EQ(Look(), kTimeout);
}

TEST_F(Job, TakesAProcessTwice) {
  StartedProcess child(ChildLine(L"exit 0"));
  EXPECT_TRUE(AssignProcessToJobObject(job_.Get(), child.Handle()));
  EXPECT_TRUE(AssignProcessToJobObject(job_.Get(), child.Handle()));
}

TEST_F(Job, RefusesAnEndedProcess) {
  StartedProcess child(ChildLine(L"exit 0"));
  child.Resume();
  EXPECT_EQ(child.ExitCode(), 0u);
  SpoilLastError();
  EXPECT_FALSE(AssignProcessToJobObject(job_.Get(), child.Handle()));
  EXPECT_EQ(LastError(), 5u);
}

TEST_F(Job, EndsASuspendedProcessWithTheGivenCode) {
  StartedProcess child(ChildLine(L"exit 0"));
  EXPECT_TRUE(AssignProcessToJobObject(job_.Get(), child.Handle()));
  EXPECT_TRUE(TerminateJobObject(job_.Get(), static_cast<UINT>(-1)));
  EXPECT_EQ(child.ExitCode(), 0xFFFFFFFFu);
}

TEST_F(Job, EndsWhatAnEndedProcessHasLeftBehind) {
  const ScratchFolder folder;
  StartedProcess child(
      ChildLine(L"tree \"" + folder.In(L"c") + L"\" \"" + folder.In(L"g") + L"\""));
  EXPECT_TRUE(AssignProcessToJobObject(job_.Get(), child.Handle()));
  child.Resume();
  EXPECT_EQ(child.ExitCode(), 0u);
  const unsigned long grandchild = std::stoul(WindowsApi::Contents(folder.In(L"g")));
  EXPECT_TRUE(WindowsApi::ProcessRuns(grandchild));
  EXPECT_TRUE(TerminateJobObject(job_.Get(), 9));
  EXPECT_FALSE(WindowsApi::RunsAfterAMoment(grandchild));
  EXPECT_EQ(child.ExitCode(), 0u);
}

TEST_F(Job, IsTerminatedThoughEmpty) { EXPECT_TRUE(TerminateJobObject(job_.Get(), 1)); }

TEST_F(Job, EndsNobodyByBeingClosed) {
  const ScratchFolder folder;
  StartedProcess child(ChildLine(L"hold \"" + folder.In(L"f") + L"\""));
  {
    const UniqueHandle job(CreateJobObjectW(nullptr, nullptr));
    EXPECT_TRUE(AssignProcessToJobObject(job.Get(), child.Handle()));
  }
  child.Resume();
  EXPECT_EQ(WaitForSingleObject(child.Handle(), 50), kTimeout);
}

TEST_F(Job, FunctionsRefuseBadHandles) {
  StartedProcess child(ChildLine(L"exit 0"));
  SpoilLastError();
  EXPECT_FALSE(AssignProcessToJobObject(nullptr, child.Handle()));
  EXPECT_EQ(LastError(), 6u);
  SpoilLastError();
  EXPECT_FALSE(AssignProcessToJobObject(job_.Get(), nullptr));
  EXPECT_EQ(LastError(), 6u);
  SpoilLastError();
  EXPECT_FALSE(TerminateJobObject(nullptr, 0));
  EXPECT_EQ(LastError(), 6u);
}

}  // namespace
