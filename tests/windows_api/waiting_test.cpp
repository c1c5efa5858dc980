// Events, threads, mutexes and waiting for them.
#include <gtest/gtest.h>

#include "host/unique_resource.h"
#include "scratch_folder.h"
#include "support.h"

namespace {

using Halvard::Host::UniqueHandle;
using WindowsApi::kTimeout;
using WindowsApi::LastError;
using WindowsApi::SpoilLastError;

constexpr unsigned kFailed = 0xFFFFFFFF;

UniqueHandle NewEvent(bool manual, bool set = false) {
  return UniqueHandle(CreateEventW(nullptr, manual, set, nullptr));
}

unsigned Look(const UniqueHandle& object) {
  return static_cast<unsigned>(WaitForSingleObject(object.Get(), 0));
}

TEST(Event, ManualStaysSetUntilItIsReset) {
  const UniqueHandle event = NewEvent(true);
  EXPECT_EQ(Look(event), kTimeout);
  EXPECT_TRUE(SetEvent(event.Get()));
  EXPECT_EQ(Look(event), 0u);
  EXPECT_EQ(Look(event), 0u);
  EXPECT_TRUE(ResetEvent(event.Get()));
  EXPECT_EQ(Look(event), kTimeout);
}

TEST(Event, AutoIsClearedByOneWait) {
  const UniqueHandle event = NewEvent(false, true);
  EXPECT_EQ(Look(event), 0u);
  EXPECT_EQ(Look(event), kTimeout);
}

TEST(Event, SettingTwiceIsOneSignal) {
  const UniqueHandle event = NewEvent(false);
  SetEvent(event.Get());
  SetEvent(event.Get());
  EXPECT_EQ(Look(event), 0u);
  EXPECT_EQ(Look(event), kTimeout);
}

TEST(Event, BadHandles) {
  SpoilLastError();
  EXPECT_FALSE(SetEvent(nullptr));
  EXPECT_EQ(LastError(), 6u);
  SpoilLastError();
  EXPECT_FALSE(ResetEvent(nullptr));
  EXPECT_EQ(LastError(), 6u);
}

class WaitForSeveral : public testing::Test {
 protected:
  unsigned Wait(bool all, DWORD milliseconds = 0) {
    const HANDLE handles[] = {a_.Get(), b_.Get(), c_.Get()};
    return static_cast<unsigned>(WaitForMultipleObjects(3, handles, all, milliseconds));
  }
  const UniqueHandle a_ = NewEvent(false);
  const UniqueHandle b_ = NewEvent(false);
  const UniqueHandle c_ = NewEvent(false);
};

TEST_F(WaitForSeveral, LowestIndexComesFirstAndOnlyItIsTaken) {
  SetEvent(c_.Get());
  SetEvent(b_.Get());
  EXPECT_EQ(Wait(false), 1u);
  EXPECT_EQ(Wait(false), 2u);
  EXPECT_EQ(Wait(false), kTimeout);
}

TEST_F(WaitForSeveral, AllAreTakenAtOnceOrNone) {
  SetEvent(a_.Get());
  SetEvent(b_.Get());
  EXPECT_EQ(Wait(true), kTimeout);
  SetEvent(c_.Get());
  EXPECT_EQ(Wait(true), 0u);
  EXPECT_EQ(Wait(false), kTimeout);
}

TEST_F(WaitForSeveral, TimeRunsOut) { EXPECT_EQ(Wait(false, 20), kTimeout); }

TEST_F(WaitForSeveral, Failures) {
  SpoilLastError();
  EXPECT_EQ(WaitForMultipleObjects(0, nullptr, FALSE, 0), kFailed);
  EXPECT_EQ(LastError(), 87u);
  HANDLE many[65] = {};
  for (HANDLE& handle : many) handle = a_.Get();
  SpoilLastError();
  EXPECT_EQ(WaitForMultipleObjects(65, many, FALSE, 0), kFailed);
  EXPECT_EQ(LastError(), 87u);
  const HANDLE bad[] = {a_.Get(), nullptr};
  SpoilLastError();
  EXPECT_EQ(WaitForMultipleObjects(2, bad, FALSE, 0), kFailed);
  EXPECT_EQ(LastError(), 6u);
  SpoilLastError();
  EXPECT_EQ(WaitForSingleObject(nullptr, 0), kFailed);
  EXPECT_EQ(LastError(), 6u);
}

TEST_F(WaitForSeveral, DuplicatesAreRefusedWhenAllAreAwaited) {
  SKIP_ON_WINE("WaitForMultipleObjects takes duplicates");
  const HANDLE twice[] = {a_.Get(), a_.Get()};
  SpoilLastError();
  EXPECT_EQ(WaitForMultipleObjects(2, twice, TRUE, 0), kFailed);
  EXPECT_EQ(LastError(), 87u);
}

struct Ping {
  UniqueHandle start = NewEvent(false);
  UniqueHandle done = NewEvent(false);
  int value = 0;
};

DWORD WINAPI SetValue(LPVOID parameter) {
  auto& ping = *static_cast<Ping*>(parameter);
  WaitForSingleObject(ping.start.Get(), INFINITE);
  ping.value = 7;
  SetEvent(ping.done.Get());
  return 0;
}

TEST(Thread, RunsAndIsSignalledAtItsEnd) {
  Ping ping;
  SECURITY_ATTRIBUTES inheritable = {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  const UniqueHandle thread(CreateThread(&inheritable, 0, SetValue, &ping, 0, nullptr));
  ASSERT_TRUE(thread);
  EXPECT_EQ(Look(thread), kTimeout);
  SetEvent(ping.start.Get());
  EXPECT_EQ(WaitForSingleObject(ping.done.Get(), INFINITE), 0u);
  EXPECT_EQ(WaitForSingleObject(thread.Get(), INFINITE), 0u);
  EXPECT_EQ(ping.value, 7);
  EXPECT_EQ(Look(thread), 0u);
}

TEST(Thread, AnotherThreadWakesAWaitForAll) {
  Ping ping;
  const UniqueHandle thread(CreateThread(nullptr, 0, SetValue, &ping, 0, nullptr));
  SetEvent(ping.start.Get());
  const HANDLE handles[] = {ping.done.Get(), thread.Get()};
  EXPECT_EQ(WaitForMultipleObjects(2, handles, TRUE, INFINITE), 0u);
}

class NamedMutex : public testing::Test {
 protected:
  UniqueHandle Create(const wchar_t* name) {
    SpoilLastError();
    return UniqueHandle(CreateMutexW(nullptr, FALSE, name));
  }
};

TEST_F(NamedMutex, SecondOneIsToldThatItExists) {
  const UniqueHandle first = Create(L"Global\\HalvardConformance");
  EXPECT_TRUE(first);
  EXPECT_EQ(LastError(), 0u);
  const UniqueHandle second = Create(L"Global\\HalvardConformance");
  EXPECT_TRUE(second);
  EXPECT_EQ(LastError(), 183u);
}

TEST_F(NamedMutex, NameEndsWithItsLastHandle) {
  { const UniqueHandle first = Create(L"Global\\HalvardConformance"); }
  const UniqueHandle again = Create(L"Global\\HalvardConformance");
  EXPECT_EQ(LastError(), 0u);
}

TEST_F(NamedMutex, CaseCounts) {
  const UniqueHandle first = Create(L"Global\\HalvardConformance");
  const UniqueHandle other = Create(L"Global\\HALVARDConformance");
  EXPECT_EQ(LastError(), 0u);
}

TEST_F(NamedMutex, FurtherBackslashIsAPath) {
  const UniqueHandle none = Create(L"Global\\Halvard\\Conformance");
  EXPECT_FALSE(none);
  EXPECT_EQ(LastError(), 3u);
}

TEST_F(NamedMutex, WithoutANameEachIsNew) {
  const UniqueHandle first = Create(nullptr);
  const UniqueHandle second = Create(nullptr);
  EXPECT_TRUE(second);
  EXPECT_EQ(LastError(), 0u);
}

}  // namespace
