#include "machine/registry.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "machine/machine.h"
#include "support/lab_instance.h"

namespace Lab {
namespace {

constexpr wchar_t kTestKey[] = L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Test";

RegistryValue TextValue(const std::wstring& text) { return {1, text + L'\0', {}}; }

class RegistryState : public testing::Test {
 protected:
  std::filesystem::path File() const { return instance_.Folder() / "registry.reg"; }
  Instance instance_;
};

TEST_F(RegistryState, WriteIsThereForTheNextReaderOfTheFile) {
  TheMachine().Registry().Set(kTestKey, L"Name", TextValue(L"a"));
  Registry other(File());
  EXPECT_EQ(other.Find(kTestKey, L"name"), TextValue(L"a"));
}

TEST_F(RegistryState, ReaderSeesWhatAnotherProcessWrites) {
  Registry reader(File());
  Registry writer(File());
  EXPECT_FALSE(reader.HasKey(kTestKey));
  writer.Set(kTestKey, L"Name", TextValue(L"a"));
  EXPECT_EQ(reader.Find(kTestKey, L"Name"), TextValue(L"a"));
  writer.Set(kTestKey, L"Name", TextValue(L"b"));
  EXPECT_EQ(reader.Find(kTestKey, L"Name"), TextValue(L"b"));
}

TEST_F(RegistryState, WritersKeepEachOthersValues) {
  Registry one(File());
  Registry two(File());
  one.Set(kTestKey, L"One", TextValue(L"1"));
  two.Set(kTestKey, L"Two", TextValue(L"2"));
  EXPECT_EQ(one.Find(kTestKey, L"Two"), TextValue(L"2"));
  EXPECT_EQ(two.Find(kTestKey, L"One"), TextValue(L"1"));
}

TEST_F(RegistryState, ThreadsWriteSideBySide) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([i] {
      for (int j = 0; j < 5; ++j) {
        TheMachine().Registry().Set(kTestKey, std::to_wstring(i) + L"." + std::to_wstring(j),
                                    TextValue(L"x"));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  Registry other(File());
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 5; ++j) {
      EXPECT_TRUE(other.Find(kTestKey, std::to_wstring(i) + L"." + std::to_wstring(j))) << i << j;
    }
  }
}

TEST_F(RegistryState, KeysAboveANewOneExist) {
  TheMachine().Registry().Set(L"HKEY_LOCAL_MACHINE\\X\\Y\\Z", L"", TextValue(L""));
  EXPECT_TRUE(TheMachine().Registry().HasKey(L"HKEY_LOCAL_MACHINE\\x\\Y"));
}

}  // namespace
}  // namespace Lab
