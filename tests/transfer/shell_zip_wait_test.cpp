// How the end of a copy is found out, of which the shell tells nothing.
#include <atomic>
#include <chrono>

#include "machine/machine.h"
#include "zip_test.h"

namespace Halvard::Transfer {
namespace {

using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using Testing::LogLine;
using testing::Pair;
using Testing::WarningLine;

constexpr std::uint32_t kLongAfterTheTest = 4'000'000'000;
constexpr DWORD kTimedOut = 258;
constexpr DWORD kAbandoned = 128;  // a result of a wait that is no time-out

class ZipWait : public ZipTest {
 protected:
  void CopiesGo(const char* manner, std::uint32_t milliseconds = 0) {
    machine_.Set("/zipCopying/manner", manner);
    machine_.Set("/zipCopying/milliseconds", milliseconds);
  }

  LogLine Started() const {
    return InfoLine(L"ZipDirectory: Zipping '" + source_ + L"' into '" + zip_ + L"'");
  }
  LogLine Size() const {
    return InfoLine(L"ZipDirectory: The " + zip_ + L" file size is: " + std::to_wstring(ZipSize()) +
                    L" bytes.");
  }

  const LogLine copying_ = InfoLine(L"ZipDirectory: Copying files to ZIP ...");
  const LogLine noThread_ = InfoLine(L"ZipDirectory: no thread found, try again in 2ms ...");
  const LogLine noneToWatch_ = WarningLine(L"ZipDirectory: Failed to find any threads to monitor");
};

/// Stops the machine's clock, and moves it on once the log has a line. A time that stands is the
/// only one in which a millisecond can't pass unseen.
class ClockThatWaitsFor {
 public:
  explicit ClockThatWaitsFor(const LogLine& line) {
    Lab::TheMachine().Clock().Stop();
    thread_ = std::thread([this, line] {
      while (!ended_) {
        const std::vector<LogLine> lines = Testing::OwnLog();
        if (std::ranges::find(lines, line) != lines.end()) Lab::TheMachine().Clock().Advance(1);
        std::this_thread::yield();
      }
    });
  }
  ~ClockThatWaitsFor() {
    ended_ = true;
    thread_.join();
  }

 private:
  std::atomic<bool> ended_{false};
  std::thread thread_;
};

TEST_F(ZipWait, CopyThatIsOverAtOnceIsToldByTheSize) {
  CopiesGo("quick");
  EXPECT_TRUE(Zip());
  EXPECT_THAT(LinesOf(L"ZipDirectory"),
              ElementsAre(Started(), copying_, noThread_, noneToWatch_, Size()));
  EXPECT_THAT(Contents(), ElementsAre(Pair("one.txt", "one")));
}

TEST_F(ZipWait, InvisibleCopyThatHasntBegunIsNotBelieved) {
  CopiesGo("invisible", kLongAfterTheTest);
  EXPECT_FALSE(Zip());
  EXPECT_THAT(LinesOf(L"ZipDirectory"),
              ElementsAre(Started(), copying_, noThread_, noneToWatch_,
                          InfoLine(L"ZipDirectory: The " + zip_ + L" file size is: 22 bytes.")));
}

TEST_F(ZipWait, SizeNeedsAZipThatCanBeOpened) {
  CopiesGo("invisible", kLongAfterTheTest);
  machine_.PlanFault({.function = "CreateFileW", .match = L".zip", .error = 32});
  EXPECT_FALSE(Zip());
  EXPECT_THAT(LinesOf(L"ZipDirectory"),
              ElementsAre(Started(), copying_, noThread_, noneToWatch_,
                          ErrorLine(L"ZipDirectory: Failed to open the zip file.")));
}

TEST_F(ZipWait, SizeNeedsAnAnswer) {
  CopiesGo("quick");
  machine_.PlanFault({.function = "GetFileSizeEx", .error = 6});
  EXPECT_FALSE(Zip());
  EXPECT_EQ(LinesOf(L"ZipDirectory").back(),
            ErrorLine(L"ZipDirectory: Failed to get the size of the zip file. Error: 6"));
}

// Snapshots are taken of modules, of the threads before the copy and of those after it, twice.
TEST_F(ZipWait, ListOfThreadsThatFailsIsAFailureAtEachLook) {
  CopiesGo("quick");
  for (const std::uint32_t look : {3u, 4u}) {
    MakeEmptyZip();
    machine_.Remove("/faults");
    machine_.PlanFault({.function = "CreateToolhelp32Snapshot", .call = look, .error = 8});
    EXPECT_FALSE(Zip());
    EXPECT_EQ(LinesOf(L"ZipDirectory").back(),
              ErrorLine(L"ZipDirectory: Failed to get AFTER thread list!"));
  }
}

TEST_F(ZipWait, ThreadIsWaitedForToItsEnd) {
  machine_.Set("/clock/speed", 1000);
  CopiesGo("visible", 4'000);
  EXPECT_TRUE(Zip());
  EXPECT_THAT(Contents(), ElementsAre(Pair("one.txt", "one")));
}

TEST_F(ZipWait, ThreadThatShowsLateIsFoundAtTheSecondLook) {
  CopiesGo("late", kLongAfterTheTest);
  machine_.PlanFault({.function = "WaitForMultipleObjects", .error = kAbandoned});
  const ClockThatWaitsFor clock(noThread_);
  EXPECT_TRUE(Zip());
  EXPECT_THAT(LinesOf(L"ZipDirectory"), ElementsAre(Started(), copying_, noThread_));
  EXPECT_THAT(LinesOf(L"WaitForChildThreads"),
              ElementsAre(InfoLine(L"WaitForChildThreads: waiting for 1 thread(s)"),
                          InfoLine(L"WaitForChildThreads: wait ended: 128")));
}

TEST_F(ZipWait, FailedWaitCountsAsTheEnd) {
  CopiesGo("endless");
  machine_.PlanFault({.function = "WaitForMultipleObjects", .error = 6});
  EXPECT_TRUE(Zip());
  EXPECT_THAT(LinesOf(L"ZipDirectory"), ElementsAre(Started(), copying_));
}

TEST_F(ZipWait, SlowCopyIsWaitedForInRoundsAndIsWhole) {
  machine_.Set("/clock/speed", 100);
  CopiesGo("visible", 12'000);
  machine_.PlanFault({.function = "WaitForMultipleObjects", .call = 1, .error = kTimedOut});
  EXPECT_TRUE(Zip());
  EXPECT_THAT(Contents(), ElementsAre(Pair("one.txt", "one")));
  EXPECT_THAT(LinesOf(L"WaitForChildThreads"),
              Contains(InfoLine(L"WaitForChildThreads: wait timeout reached: 5s")));
}

TEST_F(ZipWait, GoesOnAsLongAsTheModuleIsInUse) {
  CopiesGo("endless");
  for (const std::uint32_t call : {1u, 2u}) {
    machine_.PlanFault({.function = "WaitForMultipleObjects", .call = call, .error = kTimedOut});
  }
  machine_.PlanFault({.function = "WaitForMultipleObjects", .call = 3, .error = kAbandoned});
  EXPECT_TRUE(Zip());
  const LogLine goesOn = InfoLine(L"ZipDirectory: mod count is 2 > 1, continue to wait");
  EXPECT_THAT(LinesOf(L"ZipDirectory"), ElementsAre(Started(), copying_, goesOn, goesOn));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("WaitForMultipleObjects"), 3u);
}

TEST_F(ZipWait, EndsWhenTheModuleIsReleasedThoughTheThreadStays) {
  machine_.Set("/clock/speed", 100);
  CopiesGo("lingering");
  EXPECT_TRUE(Zip());
  EXPECT_EQ(LinesOf(L"ZipDirectory").back(), InfoLine(L"ZipDirectory: ref count back to 1, done"));
  EXPECT_THAT(Contents(), ElementsAre(Pair("one.txt", "one")));
}

TEST_F(ZipWait, GoesOnWhenTheModuleWasNeverSeen) {
  CopiesGo("endless");
  machine_.Set("/zipCopying/moduleCounted", false);
  machine_.PlanFault({.function = "WaitForMultipleObjects", .call = 1, .error = kTimedOut});
  machine_.PlanFault({.function = "WaitForMultipleObjects", .call = 2, .error = kAbandoned});
  EXPECT_TRUE(Zip());
  EXPECT_THAT(LinesOf(L"ZipDirectory"),
              ElementsAre(Started(), copying_,
                          InfoLine(L"ZipDirectory: no previous ref count, continue to wait")));
  // The count is asked for before the copy alone.
  EXPECT_THAT(LinesOf(L"GetModuleCount"),
              ElementsAre(InfoLine(L"GetModuleCount: zipfldr.dll count is 0")));
}

TEST_F(ZipWait, EndsAfterThreeHoursAndIsBelieved) {
  CopiesGo("endless");
  machine_.PlanFault({.function = "WaitForMultipleObjects", .error = kTimedOut});
  EXPECT_TRUE(Zip());
  const std::vector<LogLine> lines = LinesOf(L"ZipDirectory");
  EXPECT_EQ(lines.back(), WarningLine(L"ZipDirectory: maximum wait count 2160 reached, done"));
  EXPECT_EQ(lines.size(), 2u + 2'159u + 1u);
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("WaitForMultipleObjects"), 2'160u);
}

TEST_F(ZipWait, ThreeHoursAreThoseOfTheMachine) {
  // Five seconds in one millisecond of the host.
  machine_.Set("/clock/speed", 5'000'000);
  CopiesGo("endless");
  const std::uint64_t begin = Lab::TheMachine().Clock().Ticks();
  EXPECT_TRUE(Zip());
  EXPECT_GE(Lab::TheMachine().Clock().Ticks() - begin, 10'800'000u);
}

}  // namespace
}  // namespace Halvard::Transfer
