// Sharing between programs of the lab, and what the end of a program leaves.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <thread>
#include <vector>

#include "host/unique_resource.h"
#include "machine/text.h"
#include "program_run.h"
#include "support/lab_instance.h"

namespace {

using Halvard::Host::UniqueFile;
using Halvard::Host::UniqueHandle;

constexpr wchar_t kPath[] = L"C:\\shared file \u8A66.txt";
constexpr char kRead[] = "80000000";
constexpr char kWrite[] = "40000000";

class SharingBetweenPrograms : public testing::Test {
 protected:
  void SetUp() override { machine_.WriteFile(kPath, "content"); }

  std::vector<std::string> Opening(const char* access, const char* share) {
    return {"open", Lab::ToUtf8(kPath), access, share};
  }

  static UniqueFile Open(DWORD access, DWORD share) {
    return UniqueFile(CreateFileW(kPath, access, share, nullptr, OPEN_EXISTING, 0, nullptr));
  }

  Lab::Instance machine_;
};

TEST_F(SharingBetweenPrograms, AnotherProgramsFileIsShutToUs) {
  Lab::ProgramRun other(machine_.Folder(), Opening(kWrite, "0"));
  ASSERT_EQ(other.ReadLine(), "0");
  EXPECT_FALSE(Open(GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE));
  EXPECT_FALSE(DeleteFileW(kPath));
  EXPECT_EQ(GetLastError(), 32u);
  EXPECT_NE(GetFileAttributesW(kPath), INVALID_FILE_ATTRIBUTES);
}

TEST_F(SharingBetweenPrograms, OurFileIsShutToAnotherProgram) {
  const UniqueFile ours = Open(GENERIC_READ, 0);
  ASSERT_TRUE(ours);
  Lab::ProgramRun other(machine_.Folder(), Opening(kRead, "7"));
  EXPECT_EQ(other.ReadLine(), "32");
}

TEST_F(SharingBetweenPrograms, BothReadWhenBothShare) {
  const UniqueFile ours = Open(GENERIC_READ, FILE_SHARE_READ);
  Lab::ProgramRun other(machine_.Folder(), Opening(kRead, "1"));
  EXPECT_EQ(other.ReadLine(), "0");
}

TEST_F(SharingBetweenPrograms, OrderlyEndGivesTheFileBack) {
  Lab::ProgramRun other(machine_.Folder(), Opening(kWrite, "0"));
  ASSERT_EQ(other.ReadLine(), "0");
  other.CloseInput();
  EXPECT_EQ(other.Wait(), 0);
  EXPECT_TRUE(Open(GENERIC_READ, 0));
}

TEST_F(SharingBetweenPrograms, KilledProgramGivesTheFileBack) {
  Lab::ProgramRun other(machine_.Folder(), Opening(kWrite, "0"));
  ASSERT_EQ(other.ReadLine(), "0");
  other.Send(SIGKILL);
  EXPECT_EQ(other.Wait(), -SIGKILL);
  EXPECT_TRUE(Open(GENERIC_READ, 0));
}

TEST_F(SharingBetweenPrograms, FileToDeleteGoesWithItsProgram) {
  Lab::ProgramRun other(machine_.Folder(), {"delete-at-end", Lab::ToUtf8(kPath)});
  EXPECT_EQ(other.Wait(), 0);
  EXPECT_FALSE(machine_.FileExists(kPath));
}

TEST_F(SharingBetweenPrograms, MutexIsKnownToAnotherProgramUntilItsEnd) {
  const std::vector<std::string> arguments = {"mutex", "Global\\OstrelTest"};
  Lab::ProgramRun other(machine_.Folder(), arguments);
  ASSERT_EQ(other.ReadLine(), "0");
  {
    const UniqueHandle ours(CreateMutexW(nullptr, FALSE, L"Global\\OstrelTest"));
    EXPECT_EQ(GetLastError(), 183u);
  }
  other.Send(SIGKILL);
  other.Wait();
  const UniqueHandle ours(CreateMutexW(nullptr, FALSE, L"Global\\OstrelTest"));
  EXPECT_EQ(GetLastError(), 0u);
}

TEST_F(SharingBetweenPrograms, MutexesOfAnotherInstanceAreOthers) {
  const UniqueHandle here(CreateMutexW(nullptr, FALSE, L"Global\\OstrelTest"));
  const Lab::Instance second;
  Lab::ProgramRun other(second.Folder(), {"mutex", "Global\\OstrelTest"});
  EXPECT_EQ(other.ReadLine(), "0");
}

TEST_F(SharingBetweenPrograms, OfManyThreadsOneHasTheFileAtATime) {
  std::atomic<int> inside{0};
  std::atomic<int> worst{0};
  std::atomic<int> successes{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int turn = 0; turn < 200; ++turn) {
        const UniqueFile file = Open(GENERIC_WRITE, 0);
        if (!file) continue;
        const int now = ++inside;
        if (now > worst) worst = now;
        ++successes;
        --inside;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(worst, 1);
  EXPECT_GT(successes, 0);
}

TEST_F(SharingBetweenPrograms, WriteMayBePlannedToMeetAFullDisk) {
  machine_.PlanFault({.function = "WriteFile", .call = 2, .error = ERROR_DISK_FULL});
  const UniqueFile file = Open(GENERIC_WRITE, 0);
  DWORD written = 0;
  EXPECT_TRUE(WriteFile(file.Get(), "abc", 3, &written, nullptr));
  EXPECT_FALSE(WriteFile(file.Get(), "def", 3, &written, nullptr));
  EXPECT_EQ(GetLastError(), 112u);
  EXPECT_EQ(written, 0u);
}

TEST_F(SharingBetweenPrograms, FaultMayPickByThePath) {
  machine_.PlanFault({.function = "CreateFileW", .match = L"shared", .error = 5});
  EXPECT_FALSE(Open(GENERIC_READ, 0));
  machine_.WriteFile(L"C:\\other.txt", "");
  EXPECT_TRUE(UniqueFile(
      CreateFileW(L"C:\\other.txt", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr)));
}

class Rights : public testing::Test {
 protected:
  Rights() { machine_.Set("/user/elevated", false); }
  Lab::Instance machine_;
};

TEST_F(Rights, LinksNeedAnElevatedAdministrator) {
  EXPECT_EQ(CreateSymbolicLinkW(L"C:\\link", L"C:\\Windows", 1), 0);
  EXPECT_EQ(GetLastError(), 1314u);
}

TEST_F(Rights, SoDoFilesInTheRootOfADrive) {
  wchar_t name[MAX_PATH];
  EXPECT_EQ(GetTempFileNameW(L"C:\\", L"mig", 0, name), 0u);
  EXPECT_EQ(GetLastError(), 5u);
}

class Variables : public testing::Test {
 protected:
  std::wstring TempPath() {
    wchar_t buffer[MAX_PATH + 1] = {};
    result_ = GetTempPathW(MAX_PATH + 1, buffer);
    return buffer;
  }
  Lab::Instance machine_;
  DWORD result_ = 0;
};

TEST_F(Variables, TmpComesBeforeTempAndTheProfile) {
  machine_.SetVariable(L"TMP", L"C:\\one");
  machine_.SetVariable(L"TEMP", L"C:\\two\\");
  machine_.SetVariable(L"USERPROFILE", L"C:/three");
  EXPECT_EQ(TempPath(), L"C:\\one\\");
  machine_.SetVariable(L"TMP", L"");
  EXPECT_EQ(TempPath(), L"C:\\two\\");
  machine_.RemoveVariable(L"TEMP");
  EXPECT_EQ(TempPath(), L"C:\\three\\");
  machine_.RemoveVariable(L"USERPROFILE");
  EXPECT_EQ(TempPath(), L"C:\\Windows\\");
}

TEST_F(Variables, TooLongATempPathFails) {
  machine_.SetVariable(L"TMP", L"C:\\" + std::wstring(300, L'a'));
  TempPath();
  EXPECT_EQ(result_, 0u);
  EXPECT_EQ(GetLastError(), 206u);
}

TEST_F(Variables, KnownFolderThatIsNotOnTheDiskIsNotFound) {
  machine_.RemoveFile(L"%USERPROFILE%\\Desktop");
  PWSTR path = nullptr;
  EXPECT_EQ(SHGetKnownFolderPath(FOLDERID_Desktop, 0, nullptr, &path),
            static_cast<HRESULT>(0x80070002));
}

TEST_F(Variables, CurrentFolderStays) {
  machine_.MakeFolder(L"C:\\Current");
  machine_.Set("/program/currentDirectory", "C:\\Current");
  EXPECT_FALSE(RemoveDirectoryW(L"C:\\Current"));
  EXPECT_EQ(GetLastError(), 32u);
}

TEST(Refusals, UnsupportedArgumentsStopTheProgram) {
  const Lab::Instance machine;
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(CreateFileW(L"C:\\x", GENERIC_READ, 0, nullptr, 5, 0, nullptr),
               "lab: CreateFileW is supported only with");
}

}  // namespace
