#include "support/lab_instance.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Lab {
namespace {

using testing::ElementsAre;

TEST(LabInstance, IsGoneAfterItsEnd) {
  std::filesystem::path folder;
  {
    const Instance instance;
    folder = instance.Folder();
    EXPECT_TRUE(std::filesystem::exists(folder));
  }
  EXPECT_FALSE(std::filesystem::exists(folder.parent_path()));
}

TEST(LabInstance, ProfileHasMoreThanPlainLetters) {
  const Instance instance;
  EXPECT_EQ(TheMachine().Describe().processVariables.at(L"TEMP"),
            std::wstring(Instance::kProfile) + L"\\AppData\\Local\\Temp");
  EXPECT_TRUE(instance.FileExists(L"%TEMP%\\"));
}

TEST(LabInstance, FilesComeAndGo) {
  Instance instance;
  EXPECT_EQ(instance.ReadFile(L"C:\\x\\y\\z.txt"), std::nullopt);
  instance.WriteFile(L"C:\\x\\y\\z.txt", "text");
  EXPECT_EQ(instance.ReadFile(L"c:\\X\\y/Z.txt"), "text");
  EXPECT_THAT(instance.ListFolder(L"C:\\x\\y"), ElementsAre(L"z.txt"));
  instance.RemoveFile(L"C:\\x");
  EXPECT_FALSE(instance.FileExists(L"C:\\x\\y\\z.txt"));
}

TEST(LabInstance, RegistryCanBeEdited) {
  Instance instance("embedded-platform");
  const std::wstring key = L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Ostrel, Inc.\\Kelvane Server";
  EXPECT_EQ(instance.RegistryString(key, L"INSTALL_TYPE"), L"embedded");
  instance.SetRegistryString(key, L"INSTALL_TYPE", L"management");
  EXPECT_EQ(instance.RegistryString(key, L"INSTALL_TYPE"), L"management");
  instance.RemoveRegistryValue(key, L"install_type");
  EXPECT_EQ(instance.RegistryString(key, L"INSTALL_TYPE"), std::nullopt);
  instance.RemoveRegistryKey(key);
  EXPECT_EQ(instance.RegistryString(key, L"OSTREL_COMMONAPPDATA"), std::nullopt);
}

TEST(LabInstance, VariablesCanBeRemovedFromEverywhere) {
  Instance instance;
  instance.SetSystemVariable(L"A", L"1");
  instance.SetVariable(L"A", L"2");
  EXPECT_EQ(TheMachine().Describe().processVariables.at(L"A"), L"2");
  instance.RemoveVariable(L"A");
  EXPECT_FALSE(TheMachine().Describe().processVariables.contains(L"A"));
}

}  // namespace
}  // namespace Lab
