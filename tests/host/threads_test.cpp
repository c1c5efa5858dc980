#include "host/threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "failing_allocation.h"
#include "host/system_text.h"
#include "host/unique_resource.h"
#include "machine/handles.h"
#include "machine/modules.h"
#include "support/lab_instance.h"
#include "support/log_lines.h"

namespace Halvard::Host {
namespace {

using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using testing::IsEmpty;
using testing::Not;
using Testing::OwnLog;
using Testing::WarningLine;

/// A thread that stays until it is let go.
class ParkedThread {
 public:
  ParkedThread() : thread_(CreateThread(nullptr, 0, Park, this, 0, nullptr)) {
    WaitForSingleObject(runs_.Get(), INFINITE);
  }
  ~ParkedThread() { LetGo(); }

  DWORD Id() const { return id_; }

  /// Returns once the thread can't be opened any more.
  void LetGo() {
    SetEvent(go_.Get());
    while (const HANDLE thread = OpenThread(SYNCHRONIZE, FALSE, id_)) {
      WaitForSingleObject(thread, INFINITE);
      CloseHandle(thread);
    }
  }

 private:
  static DWORD WINAPI Park(LPVOID parameter) {
    auto& self = *static_cast<ParkedThread*>(parameter);
    self.id_ = GetCurrentThreadId();
    SetEvent(self.runs_.Get());
    WaitForSingleObject(self.go_.Get(), INFINITE);
    return 0;
  }

  UniqueHandle go_{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  UniqueHandle runs_{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  DWORD id_ = 0;
  UniqueHandle thread_;
};

class Threads : public testing::Test {
 protected:
  ~Threads() override { EXPECT_EQ(Lab::Handles().OpenTypes().size(), handlesBefore_); }

  Lab::Instance machine_;
  const std::size_t handlesBefore_ = Lab::Handles().OpenTypes().size();
};

class ProcessThreads : public Threads {
 protected:
  static std::wstring Line(std::size_t found, std::size_t ignored) {
    wchar_t pid[16] = {};
    swprintf(pid, 16, L"%X", GetCurrentProcessId());
    return std::wstring(L"GetProcessThreads: PID: 0x") + pid + L": " + std::to_wstring(found) +
           L" thread(s) ignoring " + std::to_wstring(ignored);
  }
};

TEST_F(ProcessThreads, AreThoseOfTheProcess) {
  const ParkedThread other;
  ThreadSet found{4711};
  EXPECT_TRUE(GetProcessThreads(GetCurrentProcessId(), {}, found));
  EXPECT_THAT(found, testing::IsSupersetOf({other.Id(), GetCurrentThreadId()}));
  EXPECT_THAT(found, Not(Contains(DWORD{4711})));
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(Line(found.size(), 0))));
}

TEST_F(ProcessThreads, ButThoseToIgnore) {
  const ParkedThread other;
  ThreadSet found;
  EXPECT_TRUE(GetProcessThreads(GetCurrentProcessId(), {GetCurrentThreadId(), 4711}, found));
  EXPECT_THAT(found, Contains(other.Id()));
  EXPECT_THAT(found, Not(Contains(GetCurrentThreadId())));
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(Line(found.size(), 2))));
}

TEST_F(ProcessThreads, OfAnotherProcessAreNotOurs) {
  constexpr DWORD kSystem = 4;
  ThreadSet found;
  EXPECT_TRUE(GetProcessThreads(kSystem, {}, found));
  EXPECT_THAT(found, Not(Contains(GetCurrentThreadId())));
  EXPECT_THAT(found, testing::SizeIs(1));
}

TEST_F(ProcessThreads, CantBeListedWithoutASnapshot) {
  machine_.PlanFault({.function = "CreateToolhelp32Snapshot", .error = 8});
  ThreadSet found{4711};
  EXPECT_FALSE(GetProcessThreads(GetCurrentProcessId(), {}, found));
  EXPECT_THAT(found, IsEmpty());
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(ErrorLine(
          L"GetProcessThreads: CreateToolhelp32Snapshot failed [8]: Not enough memory resources are available to process this command.")));
}

TEST_F(ProcessThreads, CantBeListedWithoutAFirstOne) {
  machine_.PlanFault({.function = "Thread32First", .error = 18});
  ThreadSet found;
  EXPECT_FALSE(GetProcessThreads(GetCurrentProcessId(), {}, found));
  EXPECT_THAT(OwnLog(),
              ElementsAre(ErrorLine(L"GetProcessThreads: Thread32First failed [18]: There "
                                    L"are no more files.")));
}

using WaitForThreads = Threads;

TEST_F(WaitForThreads, EndsWithTheLastOfThem) {
  // The thread sanitizer begins one of its own beside the first, and that never ends.
  const ParkedThread first;
  ThreadSet before;
  ASSERT_TRUE(GetProcessThreads(GetCurrentProcessId(), {}, before));
  const HANDLE quick = CreateThread(
      nullptr, 0,
      [](LPVOID) -> DWORD {
        Sleep(30);
        return 0;
      },
      nullptr, 0, nullptr);
  ThreadSet all;
  EXPECT_TRUE(GetProcessThreads(GetCurrentProcessId(), before, all));
  EXPECT_EQ(WaitForChildThreads(all, 60'000), 0u);
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"WaitForChildThreads: wait ended: 0")));
  CloseHandle(quick);
}

TEST_F(WaitForThreads, RunsOutOfTime) {
  const ParkedThread one;
  const ParkedThread two;
  EXPECT_EQ(WaitForChildThreads({one.Id(), two.Id()}, 20), DWORD{ERROR_TIMEOUT});
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"WaitForChildThreads: waiting for 2 thread(s)"),
                                    InfoLine(L"WaitForChildThreads: wait timeout reached: 0s")));
}

TEST_F(WaitForThreads, TellsTheLimitInSeconds) {
  machine_.Set("/clock/speed", 100000);
  const ParkedThread one;
  EXPECT_EQ(WaitForChildThreads({one.Id()}, 10'800'999), DWORD{ERROR_TIMEOUT});
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"WaitForChildThreads: wait timeout reached: 10800s")));
}

TEST_F(WaitForThreads, TakesOneTo64) {
  ThreadSet many;
  for (DWORD id = 1; id <= 65; ++id) many.insert(id);
  EXPECT_EQ(WaitForChildThreads({}, 0), DWORD{ERROR_GEN_FAILURE});
  EXPECT_EQ(WaitForChildThreads(many, 0), DWORD{ERROR_GEN_FAILURE});
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"WaitForChildThreads: invalid input: size 0"),
                                    ErrorLine(L"WaitForChildThreads: invalid input: size 65")));
}

TEST_F(WaitForThreads, LeavesOutWhatCantBeOpened) {
  const ParkedThread one;
  machine_.PlanFault({.function = "OpenThread", .call = 1, .error = 5});
  EXPECT_EQ(WaitForChildThreads({1, one.Id()}, 10), DWORD{ERROR_TIMEOUT});
  EXPECT_THAT(OwnLog(),
              testing::IsSupersetOf({WarningLine(L"WaitForChildThreads: failed to open thread: 5"),
                                     InfoLine(L"WaitForChildThreads: waiting for 1 thread(s)")}));
}

TEST_F(WaitForThreads, OfWhichNoneIsLeftIsAFailure) {
  ParkedThread ended;
  ended.LetGo();
  EXPECT_EQ(WaitForChildThreads({ended.Id()}, 10), DWORD{ERROR_GEN_FAILURE});
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          WarningLine(L"WaitForChildThreads: failed to open thread: 87"),
          InfoLine(L"WaitForChildThreads: waiting for 0 thread(s)"),
          ErrorLine(L"WaitForChildThreads: wait failed [87]: The parameter is incorrect.")));
}

TEST_F(WaitForThreads, NeedsMemoryForTheirHandles) {
  ThreadSet threads;
  for (DWORD id = 1; id <= 64; ++id) threads.insert(id);
  SetLastError(8);
  {
    const Testing::FailingAllocation failing;
    EXPECT_EQ(WaitForChildThreads(threads, 0), DWORD{ERROR_GEN_FAILURE});
  }
  EXPECT_THAT(OwnLog(),
              ElementsAre(ErrorLine(L"WaitForChildThreads: failed to allocate thread handles: 8")));
}

class ModuleCount : public Threads {
 protected:
  ~ModuleCount() override {
    while (Lab::Modules().Snapshot().contains(L"zipfldr.dll"))
      Lab::Modules().Unload(L"zipfldr.dll");
  }
};

TEST_F(ModuleCount, IsThatOfTheSystem) {
  Lab::Modules().Load(L"zipfldr.dll");
  Lab::Modules().Load(L"zipfldr.dll");
  EXPECT_EQ(GetModuleCount(L"ZipFldr.DLL"), 2);
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"GetModuleCount: ZipFldr.DLL count is 2")));
}

TEST_F(ModuleCount, OfAModuleThatIsBoundAtStartIsHigh) {
  EXPECT_EQ(GetModuleCount(L"kernel32.dll"), 65535);
}

TEST_F(ModuleCount, OfAModuleThatIsNotLoadedIsZero) {
  EXPECT_EQ(GetModuleCount(L"zipfldr.dll"), 0);
  EXPECT_EQ(GetModuleCount(L"kernel32"), 0);
  EXPECT_EQ(GetModuleCount(L""), 0);
}

TEST_F(ModuleCount, OfNoNameIsNegative) {
  EXPECT_EQ(GetModuleCount(nullptr), -1);
  EXPECT_THAT(OwnLog(), IsEmpty());
}

TEST_F(ModuleCount, StaysZeroAfterAFailure) {
  machine_.PlanFault({.function = "CreateToolhelp32Snapshot", .call = 1, .error = 6});
  machine_.PlanFault({.function = "Module32FirstW", .error = 5});
  EXPECT_EQ(GetModuleCount(L"kernel32.dll"), 0);
  EXPECT_EQ(GetModuleCount(L"kernel32.dll"), 0);
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          ErrorLine(L"GetModuleCount: CreateToolhelp32Snapshot failed [6]: The handle is invalid."),
          InfoLine(L"GetModuleCount: kernel32.dll count is 0"),
          ErrorLine(L"GetModuleCount: Module32First failed [5]: Access is denied."),
          InfoLine(L"GetModuleCount: kernel32.dll count is 0")));
}

TEST(SystemText, IsEmptyForAnUnknownCode) {
  const Lab::Instance machine;
  EXPECT_EQ(SystemText(0x2FFFFFFF), L"");
}

}  // namespace
}  // namespace Halvard::Host
