// Snapshots of threads and modules, handles on threads, and the system's texts.
#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "host/unique_resource.h"
#include "scratch_folder.h"
#include "support.h"

namespace {

using Halvard::Host::UniqueHandle;
using Halvard::Host::UniqueSnapshot;
using testing::Contains;
using WindowsApi::LastError;
using WindowsApi::SpoilLastError;

std::multimap<DWORD, DWORD> ThreadsByProcess() {
  std::multimap<DWORD, DWORD> threads;
  const UniqueSnapshot snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
  EXPECT_TRUE(snapshot);
  THREADENTRY32 entry = {};
  entry.dwSize = sizeof entry;
  EXPECT_TRUE(Thread32First(snapshot.Get(), &entry));
  do {
    threads.emplace(entry.th32OwnerProcessID, entry.th32ThreadID);
  } while (Thread32Next(snapshot.Get(), &entry));
  EXPECT_EQ(LastError(), 18u);
  return threads;
}

TEST(Snapshot, HasTheThreadsOfTheWholeSystem) {
  const auto threads = ThreadsByProcess();
  EXPECT_THAT(threads, Contains(testing::Pair(GetCurrentProcessId(), GetCurrentThreadId())));
  EXPECT_GT(threads.size(), threads.count(GetCurrentProcessId()));
}

TEST(Snapshot, NeedsTheSizeOfItsEntries) {
  const UniqueSnapshot snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
  THREADENTRY32 entry = {};
  SpoilLastError();
  EXPECT_FALSE(Thread32First(snapshot.Get(), &entry));
  EXPECT_EQ(LastError(), 122u);
}

TEST(Snapshot, HasTheModulesOfTheProcess) {
  const UniqueSnapshot snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, 0));
  ASSERT_TRUE(snapshot);
  MODULEENTRY32W entry = {};
  entry.dwSize = sizeof entry;
  std::vector<std::wstring> names;
  for (BOOL more = Module32FirstW(snapshot.Get(), &entry); more;
       more = Module32NextW(snapshot.Get(), &entry)) {
    names.emplace_back(entry.szModule);
    EXPECT_NE(std::wstring(entry.szExePath).find(L'\\'), std::wstring::npos);
  }
  EXPECT_EQ(LastError(), 18u);
  EXPECT_TRUE(std::ranges::any_of(names, [](const std::wstring& name) {
    return _wcsicmp(name.c_str(), L"kernel32.dll") == 0;
  }));
}

struct Parked {
  UniqueHandle go{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  UniqueHandle runs{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  DWORD id = 0;
};

DWORD WINAPI Park(LPVOID parameter) {
  auto& parked = *static_cast<Parked*>(parameter);
  parked.id = GetCurrentThreadId();
  SetEvent(parked.runs.Get());
  WaitForSingleObject(parked.go.Get(), INFINITE);
  return 0;
}

TEST(OpenThread, GivesAHandleToWaitFor) {
  Parked parked;
  UniqueHandle thread(CreateThread(nullptr, 0, Park, &parked, 0, nullptr));
  WaitForSingleObject(parked.runs.Get(), INFINITE);
  const UniqueHandle opened(OpenThread(SYNCHRONIZE, FALSE, parked.id));
  ASSERT_TRUE(opened);
  EXPECT_EQ(WaitForSingleObject(opened.Get(), 0), DWORD{WAIT_TIMEOUT});
  const HANDLE both[] = {opened.Get(), thread.Get()};
  EXPECT_EQ(WaitForMultipleObjects(2, both, TRUE, 20), DWORD{WAIT_TIMEOUT});
  SetEvent(parked.go.Get());
  EXPECT_EQ(WaitForMultipleObjects(2, both, TRUE, INFINITE), WAIT_OBJECT_0);
}

TEST(OpenThread, RefusesWhatIsNoThread) {
  SpoilLastError();
  EXPECT_EQ(OpenThread(SYNCHRONIZE, FALSE, 0), nullptr);
  EXPECT_EQ(LastError(), 87u);
}

DWORD Text(DWORD code, wchar_t* buffer, DWORD size) {
  return FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code,
                        0, buffer, size, nullptr);
}

TEST(SystemText, EndsInALineEnd) {
  wchar_t buffer[512] = {};
  const std::wstring text(buffer, Text(87, buffer, 512));
  EXPECT_TRUE(text.ends_with(L".\r\n"));
}

TEST(SystemText, OfAnUnknownCodeIsNone) {
  wchar_t buffer[512] = {};
  SpoilLastError();
  EXPECT_EQ(Text(0x2FFFFFFF, buffer, 512), 0u);
  EXPECT_EQ(LastError(), 317u);
}

}  // namespace
