// How the machine's description has copies into zip files go.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <thread>

#include "com/com_object.h"
#include "host/com.h"
#include "host/unique_resource.h"
#include "machine/modules.h"
#include "shell/zip_copies.h"
#include "support/lab_instance.h"
#include "support/zip_contents.h"

namespace Lab {
namespace {

using Halvard::Host::ComPtr;
using Halvard::Host::Variant;
using Halvard::Testing::ReadZip;
using testing::ElementsAre;
using testing::Key;

constexpr std::uint32_t kLong = 4'000'000'000;

std::set<DWORD> OwnThreadIds() {
  std::set<DWORD> threads;
  const Halvard::Host::UniqueSnapshot snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
  THREADENTRY32 entry = {};
  entry.dwSize = sizeof entry;
  for (BOOL more = Thread32First(snapshot.Get(), &entry); more;
       more = Thread32Next(snapshot.Get(), &entry)) {
    if (entry.th32OwnerProcessID == GetCurrentProcessId()) threads.insert(entry.th32ThreadID);
  }
  return threads;
}

class ZipCopying : public testing::Test {
 protected:
  ZipCopying() {
    instance_.WriteFile(L"C:\\source\\file.txt", "content");
    instance_.WriteFile(zip_, std::string("PK\5\6", 4) + std::string(18, '\0'));
    (void)CoInitialize(nullptr);
  }
  ~ZipCopying() override {
    TheZipCopies().EndAll();
    EXPECT_EQ(ModuleCount(), 0u);
    EXPECT_EQ(LiveComObjects(), 0u);
  }

  void CopiesGo(const char* manner, std::uint32_t milliseconds = 0) {
    instance_.Set("/zipCopying/manner", manner);
    instance_.Set("/zipCopying/milliseconds", milliseconds);
  }

  /// Copies the items of C:\source, and lets go of all objects.
  void Copy() {
    ComPtr<Folder> source;
    Open(L"C:\\source", source);
    ComPtr<FolderItems> items;
    ASSERT_EQ(source->Items(items.Put()), S_OK);
    ComPtr<Folder> zip;
    Open(zip_, zip);
    Variant item;
    items->AddRef();
    item.SetObject(items.Get());
    Variant options;
    options.SetNumber(1556);
    // The thread sanitizer begins one of its own beside the first.
    std::thread([] {}).join();
    threadsBefore_ = OwnThreadIds();
    countBefore_ = ModuleCount();
    ASSERT_EQ(zip->CopyHere(item.Get(), options.Get()), S_OK);
    countAfter_ = ModuleCount();
  }

  std::size_t NewThreads() const {
    const std::set<DWORD> now = OwnThreadIds();
    return static_cast<std::size_t>(
        std::ranges::count_if(now, [&](DWORD thread) { return !threadsBefore_.contains(thread); }));
  }

  static std::uint32_t ModuleCount() {
    const auto modules = Modules().Snapshot();
    const auto module = modules.find(L"zipfldr.dll");
    return module == modules.end() ? 0 : module->second;
  }

  /// Until the copy has let go of the module, which it does behind its last byte.
  void WaitForTheWork() const {
    while (ModuleCount() > 0) Sleep(1);
  }

  auto Contents() const { return ReadZip(instance_.HostPath(zip_)); }
  std::size_t Size() const { return instance_.ReadFile(zip_)->size(); }

  Instance instance_;
  const std::wstring zip_ = L"C:\\copy.zip";
  std::set<DWORD> threadsBefore_;
  std::uint32_t countBefore_ = 0;
  std::uint32_t countAfter_ = 0;

 private:
  static void Open(const std::wstring& path, ComPtr<Folder>& folder) {
    ComPtr<IShellDispatch> shell;
    EXPECT_EQ(CoCreateInstance(CLSID_Shell, nullptr, CLSCTX_INPROC_SERVER, IID_IShellDispatch,
                               shell.PutAny()),
              S_OK);
    Variant text;
    EXPECT_TRUE(text.SetText(path.c_str()));
    ASSERT_EQ(shell->NameSpace(text.Get(), folder.Put()), S_OK);
  }
};

TEST_F(ZipCopying, TakesItsTimeOnAThreadThatShows) {
  CopiesGo("visible", kLong);
  Copy();
  EXPECT_EQ(NewThreads(), 1u);
  EXPECT_EQ(countBefore_, 1u);
  EXPECT_EQ(countAfter_, 2u);
  EXPECT_EQ(ModuleCount(), 1u);
  EXPECT_EQ(Size(), 22u);
}

TEST_F(ZipCopying, IsDoneInNoTimeUnlessToldOtherwise) {
  Copy();
  WaitForTheWork();
  EXPECT_THAT(Contents(), ElementsAre(Key("file.txt")));
}

TEST_F(ZipCopying, MayBeOverWhenTheCallReturns) {
  CopiesGo("quick");
  Copy();
  EXPECT_EQ(NewThreads(), 0u);
  EXPECT_EQ(countAfter_, 1u);
  EXPECT_THAT(Contents(), ElementsAre(Key("file.txt")));
}

TEST_F(ZipCopying, MayShowLater) {
  CopiesGo("late", kLong);
  TheMachine().Clock().Stop();
  Copy();
  EXPECT_EQ(NewThreads(), 0u);
  TheMachine().Clock().Advance(1);
  EXPECT_EQ(NewThreads(), 1u);
}

TEST_F(ZipCopying, MayNeverShow) {
  CopiesGo("invisible", 1);
  TheMachine().Clock().Stop();
  Copy();
  EXPECT_EQ(NewThreads(), 0u);
  EXPECT_EQ(Size(), 22u);
  TheMachine().Clock().Advance(1);
  while (ModuleCount() > 0) std::this_thread::yield();
  EXPECT_EQ(NewThreads(), 0u);
  EXPECT_THAT(Contents(), ElementsAre(Key("file.txt")));
}

TEST_F(ZipCopying, MayLeaveItsThreadBehind) {
  CopiesGo("lingering");
  Copy();
  WaitForTheWork();
  EXPECT_EQ(NewThreads(), 1u);
  EXPECT_THAT(Contents(), ElementsAre(Key("file.txt")));
}

TEST_F(ZipCopying, MayNeverEnd) {
  CopiesGo("endless");
  TheMachine().Clock().Stop();
  Copy();
  TheMachine().Clock().Advance(1'000'000'000'000);
  EXPECT_EQ(NewThreads(), 1u);
  EXPECT_EQ(ModuleCount(), 1u);
  EXPECT_EQ(Size(), 22u);
}

TEST_F(ZipCopying, MayBeDoneByAModuleThatIsntListed) {
  CopiesGo("endless");
  instance_.Set("/zipCopying/moduleCounted", false);
  Copy();
  EXPECT_EQ(countBefore_, 0u);
  EXPECT_EQ(countAfter_, 0u);
}

TEST_F(ZipCopying, LeavesOutWhatAnotherProgramWrites) {
  instance_.WriteFile(L"C:\\source\\other.txt", "other");
  const Halvard::Host::UniqueFile writer(CreateFileW(
      L"C:\\source\\file.txt", GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(writer);
  CopiesGo("quick");
  Copy();
  EXPECT_THAT(Contents(), ElementsAre(Key("other.txt")));
}

TEST_F(ZipCopying, LeavesAZipAloneThatAnotherProgramWrites) {
  const Halvard::Host::UniqueFile writer(CreateFileW(zip_.c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                                     nullptr, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(writer);
  CopiesGo("quick");
  Copy();
  EXPECT_EQ(Size(), 22u);
}

TEST_F(ZipCopying, DoesntFollowLinksToFolders) {
  instance_.WriteFile(L"C:\\elsewhere\\secret.txt", "secret");
  ASSERT_TRUE(
      CreateSymbolicLinkW(L"C:\\source\\link", L"C:\\elsewhere", SYMBOLIC_LINK_FLAG_DIRECTORY));
  CopiesGo("quick");
  Copy();
  EXPECT_THAT(Contents(), ElementsAre(Key("file.txt")));
}

}  // namespace
}  // namespace Lab
