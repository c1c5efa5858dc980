#include "machine/registry.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "machine/machine.h"
#include "support/lab_instance.h"

namespace Lab {
namespace {

constexpr wchar_t kKey[] = L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Test";

RegistryValue Text(const std::wstring& text) { return {1, text + L'\0', {}}; }

class RegistryState : public testing::Test {
 protected:
  std::filesystem::path File() const { return instance_.Folder() / "registry.reg"; }
  Instance instance_;
};

TEST_F(RegistryState, WriteIsThereForTheNextReaderOfTheFile) {
  TheMachine().Registry().Set(kKey, L"Name", Text(L"a"));
  Registry other(File());
  EXPECT_EQ(other.Find(kKey, L"name"), Text(L"a"));
}

TEST_F(RegistryState, ReaderSeesWhatAnotherProcessWrites) {
  Registry reader(File());
  Registry writer(File());
  EXPECT_FALSE(reader.HasKey(kKey));
  writer.Set(kKey, L"Name", Text(L"a"));
  EXPECT_EQ(reader.Find(kKey, L"Name"), Text(L"a"));
  writer.Set(kKey, L"Name", Text(L"b"));
  EXPECT_EQ(reader.Find(kKey, L"Name"), Text(L"b"));
}

TEST_F(RegistryState, WritersKeepEachOthersValues) {
  Registry one(File());
  Registry two(File());
  one.Set(kKey, L"One", Text(L"1"));
  two.Set(kKey, L"Two", Text(L"2"));
  EXPECT_EQ(one.Find(kKey, L"Two"), Text(L"2"));
  EXPECT_EQ(two.Find(kKey, L"One"), Text(L"1"));
}

TEST_F(RegistryState, ThreadsWriteSideBySide) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([i] {
      for (int j = 0; j < 5; ++j) {
        TheMachine().Registry().Set(kKey, std::to_wstring(i) + L"." + std::to_wstring(j),
                                    Text(L"x"));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  Registry other(File());
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 5; ++j) {
      EXPECT_TRUE(other.Find(kKey, std::to_wstring(i) + L"." + std::to_wstring(j))) << i << j;
    }
  }
}

TEST_F(RegistryState, KeysAboveANewOneExist) {
  TheMachine().Registry().Set(L"HKEY_LOCAL_MACHINE\\X\\Y\\Z", L"", Text(L""));
  EXPECT_TRUE(TheMachine().Registry().HasKey(L"HKEY_LOCAL_MACHINE\\x\\Y"));
}

}  // namespace
}  // namespace Lab
