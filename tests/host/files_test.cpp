#include "host/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <string>

#include "failing_allocation.h"
#include "support/lab_instance.h"
#include "support/log_lines.h"

namespace Halvard::Host {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using testing::Field;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::LogLine;
using Testing::OwnLog;
using testing::StartsWith;
using Testing::WarningLine;

/// A folder with blanks, letters of several scripts and a character beyond 16 bits.
const std::wstring kFolder = L"C:\\Exported data \u00e4\u8a66 \U0001D4BD";

class Files : public testing::Test {
 protected:
  const std::wstring profile_{Lab::Instance::kProfile};
  Lab::Instance machine_;
};

using KnownFolders = Files;

TEST_F(KnownFolders, TheAgentsFolderLiesInTheUsersLocalApplicationData) {
  EXPECT_EQ(GetHVLocalAppDataFolder(), profile_ + L"\\AppData\\Local\\Ostrel\\Halvard\\");
  EXPECT_THAT(OwnLog(), IsEmpty());
}

TEST_F(KnownFolders, NoLocalApplicationDataIsAnError) {
  machine_.PlanFault({.function = "SHGetKnownFolderPath", .error = 5});
  EXPECT_EQ(GetHVLocalAppDataFolder(), L"");
  // E_ACCESSDENIED; what follows is the last error, which the call doesn't set.
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(AllOf(
          Field(&LogLine::level, 'E'),
          Field(
              &LogLine::message,
              StartsWith(
                  L"GetHVLocalAppDataFolder: Failed to get the local app data folder: -2147024891 ")))));
}

TEST_F(KnownFolders, TheDesktopEndsInABackslash) {
  EXPECT_EQ(GetDesktopFolder(), profile_ + L"\\Desktop\\");
  EXPECT_THAT(OwnLog(), IsEmpty());
}

TEST_F(KnownFolders, AServiceAccountWithoutADesktopGivesAWarning) {
  machine_.Remove("/knownFolders/Desktop");
  EXPECT_EQ(GetDesktopFolder(), L"");
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(AllOf(
          Field(&LogLine::level, 'W'),
          Field(&LogLine::message,
                StartsWith(
                    L"GetDesktopFolder: Failed to get the desktop folder info: -2147024894 ")))));
}

class FileContents : public Files {
 protected:
  const std::wstring path_ = kFolder + L"\\deployment.node.type";
};

TEST_F(FileContents, AreTheFirstOfSeveralLines) {
  machine_.WriteFile(path_, "embedded\nmanagement\n");
  EXPECT_EQ(GetFileContents(path_), "embedded");
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"GetFileContents: Contents from [" + path_ +
                                             L"] file is [embedded]")));
}

TEST_F(FileContents, KnowTheLineEndsOfWindows) {
  machine_.WriteFile(path_, "embedded\r\nmanagement\r\n");
  EXPECT_EQ(GetFileContents(path_), "embedded");
}

TEST_F(FileContents, NeedNoLineEnd) {
  machine_.WriteFile(path_, "embedded");
  EXPECT_EQ(GetFileContents(path_), "embedded");
}

TEST_F(FileContents, AreNotTrimmed) {
  machine_.WriteFile(path_, " embedded \t\n");
  EXPECT_EQ(GetFileContents(path_), " embedded \t");
}

TEST_F(FileContents, AreEmptyForAnEmptyFileAndAnEmptyLine) {
  machine_.WriteFile(path_, "");
  EXPECT_EQ(GetFileContents(path_), "");
  machine_.WriteFile(path_, "\nembedded\n");
  EXPECT_EQ(GetFileContents(path_), "");
  EXPECT_THAT(
      OwnLog(),
      Contains(InfoLine(L"GetFileContents: Contents from [" + path_ + L"] file is []")).Times(2));
}

TEST_F(FileContents, AreHandedOutAsBytesAndLoggedAsText) {
  machine_.WriteFile(path_, "\xC3\xA4 \xF0\x9F\x94\x91\n");
  EXPECT_EQ(GetFileContents(path_), "\xC3\xA4 \xF0\x9F\x94\x91");
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"GetFileContents: Contents from [" + path_ +
                                             L"] file is [\u00e4 \U0001F511]")));
}

TEST_F(FileContents, OfAMissingFileAreAnError) {
  EXPECT_EQ(GetFileContents(path_), "");
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"GetFileContents: Failed to open file: " + path_)));
}

TEST_F(FileContents, OfAFolderAreAnError) {
  machine_.MakeFolder(kFolder);
  EXPECT_EQ(GetFileContents(kFolder), "");
  EXPECT_THAT(OwnLog(),
              ElementsAre(ErrorLine(L"GetFileContents: Failed to open file: " + kFolder)));
}

using RemoveDirectoryAndContentsOf = Files;

TEST_F(RemoveDirectoryAndContentsOf, AFolderDeletesAllInIt) {
  machine_.WriteFile(kFolder + L"\\inner \u00e4\\deep\\data.bin", "x");
  machine_.WriteFile(kFolder + L"\\data.bin", "x");
  machine_.MakeFolder(kFolder + L"\\empty");
  EXPECT_TRUE(RemoveDirectoryAndContents(kFolder));
  EXPECT_THAT(machine_.ListFolder(L"C:\\"), testing::Not(Contains(kFolder.substr(3))));
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(L"RemoveDirectoryAndContents: Deleting directory: " + kFolder),
                          InfoLine(L"RemoveDirectoryAndContents: Successfully deleted directory: " +
                                   kFolder)));
}

TEST_F(RemoveDirectoryAndContentsOf, AnEmptyPathIsASuccess) {
  EXPECT_TRUE(RemoveDirectoryAndContents(L""));
  EXPECT_THAT(OwnLog(), IsEmpty());
}

TEST_F(RemoveDirectoryAndContentsOf, APathWithATrailingBackslashLogsItAsItIs) {
  machine_.MakeFolder(kFolder);
  EXPECT_TRUE(RemoveDirectoryAndContents(kFolder + L"\\"));
  EXPECT_THAT(machine_.ListFolder(L"C:\\"), testing::Not(Contains(kFolder.substr(3))));
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"RemoveDirectoryAndContents: Deleting directory: " +
                                          kFolder + L"\\")));
}

TEST_F(RemoveDirectoryAndContentsOf, AMissingFolderIsAnErrorWithTheShellsCode) {
  EXPECT_FALSE(RemoveDirectoryAndContents(kFolder));
  EXPECT_THAT(OwnLog(),
              Contains(ErrorLine(L"RemoveDirectoryAndContents: Failed to delete directory: " +
                                 kFolder + L", Error: 2")));
}

TEST_F(RemoveDirectoryAndContentsOf, AFolderThatTheShellRefusesStays) {
  machine_.WriteFile(kFolder + L"\\data.bin", "x");
  machine_.PlanFault({.function = "SHFileOperationW", .error = 120});
  EXPECT_FALSE(RemoveDirectoryAndContents(kFolder));
  EXPECT_TRUE(machine_.FileExists(kFolder + L"\\data.bin"));
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(L"RemoveDirectoryAndContents: Deleting directory: " + kFolder),
                          ErrorLine(L"RemoveDirectoryAndContents: Failed to delete directory: " +
                                    kFolder + L", Error: 120")));
}

TEST_F(RemoveDirectoryAndContentsOf, AnyFolderFailsWithoutMemory) {
  machine_.MakeFolder(kFolder);
  {
    const Testing::FailingAllocation failing;
    EXPECT_FALSE(RemoveDirectoryAndContents(kFolder));
  }
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"RemoveDirectoryAndContents: removeDir is null.")));
  EXPECT_THAT(machine_.ListFolder(L"C:\\"), Contains(kFolder.substr(3)));
}

using RemoveDirectoryIfEmptyOf = Files;

TEST_F(RemoveDirectoryIfEmptyOf, AnEmptyFolderRemovesIt) {
  machine_.MakeFolder(kFolder);
  EXPECT_TRUE(RemoveDirectoryIfEmpty(kFolder));
  EXPECT_THAT(machine_.ListFolder(L"C:\\"), testing::Not(Contains(kFolder.substr(3))));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(InfoLine(L"RemoveDirectoryIfEmpty: Successfully deleted empty directory " +
                           kFolder + L".")));
}

TEST_F(RemoveDirectoryIfEmptyOf, AFolderWithContentIsASuccess) {
  machine_.WriteFile(kFolder + L"\\data.bin", "x");
  EXPECT_TRUE(RemoveDirectoryIfEmpty(kFolder));
  EXPECT_TRUE(machine_.FileExists(kFolder + L"\\data.bin"));
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(L"RemoveDirectoryIfEmpty: Ignoring non empty directory " +
                                   kFolder + L".")));
}

TEST_F(RemoveDirectoryIfEmptyOf, AMissingFolderIsAFailure) {
  EXPECT_FALSE(RemoveDirectoryIfEmpty(kFolder));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(WarningLine(L"RemoveDirectoryIfEmpty: Failed to delete passed directory " +
                              kFolder + L". Error code: 2")));
}

TEST_F(RemoveDirectoryIfEmptyOf, AFolderInUseIsAFailure) {
  machine_.MakeFolder(kFolder);
  machine_.PlanFault({.function = "RemoveDirectoryW", .error = 32});
  EXPECT_FALSE(RemoveDirectoryIfEmpty(kFolder));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(WarningLine(L"RemoveDirectoryIfEmpty: Failed to delete passed directory " +
                              kFolder + L". Error code: 32")));
}

TEST_F(RemoveDirectoryIfEmptyOf, ALinkLeavesItsTargetAlone) {
  machine_.WriteFile(kFolder + L"\\data.bin", "x");
  std::wstring link;
  ASSERT_TRUE(CreateShortSymbolicLink(kFolder, link));
  EXPECT_TRUE(RemoveDirectoryIfEmpty(link));
  EXPECT_THAT(machine_.ListFolder(L"C:\\"), testing::Not(Contains(link.substr(3))));
  EXPECT_TRUE(machine_.FileExists(kFolder + L"\\data.bin"));
}

class EmptySubDirectories : public Files {
 protected:
  void SetUp() override {
    machine_.MakeFolder(kFolder + L"\\empty");
    machine_.MakeFolder(kFolder + L"\\nested\\empty");
    machine_.WriteFile(kFolder + L"\\full\\data.bin", "x");
    machine_.WriteFile(kFolder + L"\\data.bin", "x");
  }
};

TEST_F(EmptySubDirectories, GoAndEverythingElseStays) {
  EXPECT_TRUE(RemoveEmptySubDirectories(kFolder));
  EXPECT_THAT(machine_.ListFolder(kFolder), ElementsAre(L"data.bin", L"full", L"nested"));
  EXPECT_THAT(OwnLog(),
              Contains(InfoLine(L"RemoveDirectoryIfEmpty: Successfully deleted empty directory " +
                                kFolder + L"\\empty.")));
}

TEST_F(EmptySubDirectories, AreLookedForOnOneLevelOnly) {
  EXPECT_TRUE(RemoveEmptySubDirectories(kFolder));
  EXPECT_THAT(machine_.ListFolder(kFolder + L"\\nested"), ElementsAre(L"empty"));
}

TEST_F(EmptySubDirectories, OfNoPathAreASuccessWithAWarning) {
  EXPECT_TRUE(RemoveEmptySubDirectories(L""));
  EXPECT_THAT(OwnLog(),
              ElementsAre(WarningLine(L"RemoveEmptySubDirectories: Empty string passed.")));
}

TEST_F(EmptySubDirectories, OfAMissingFolderAreAFailure) {
  EXPECT_FALSE(RemoveEmptySubDirectories(L"C:\\missing"));
  EXPECT_THAT(OwnLog(), ElementsAre(WarningLine(
                            L"RemoveEmptySubDirectories: Failed to get sub directories for "
                            L"C:\\missing. Error code: 3")));
}

TEST_F(EmptySubDirectories, ThatCannotBeListedToTheEndAreAFailure) {
  machine_.PlanFault({.function = "FindNextFileW", .call = 3, .error = 5});
  EXPECT_FALSE(RemoveEmptySubDirectories(kFolder));
  EXPECT_THAT(
      OwnLog(),
      Contains(WarningLine(L"RemoveEmptySubDirectories: Failed to iterate sub directories of " +
                           kFolder + L". Error code: 5")));
}

TEST_F(EmptySubDirectories, KeepTheCodeOfTheListingWhenTheSearchCannotBeClosed) {
  machine_.PlanFault({.function = "FindClose", .error = 6});
  EXPECT_TRUE(RemoveEmptySubDirectories(kFolder));
}

TEST_F(EmptySubDirectories, ThatCannotBeRemovedStopTheWalk) {
  machine_.PlanFault({.function = "RemoveDirectoryW", .call = 1, .error = 5});
  EXPECT_FALSE(RemoveEmptySubDirectories(kFolder));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("RemoveDirectoryW"), 1u);
  EXPECT_EQ(OwnLog().size(), 1u);
}

TEST_F(EmptySubDirectories, LeaveNoSearchOpen) {
  machine_.PlanFault({.function = "RemoveDirectoryW", .call = 2, .error = 5});
  EXPECT_FALSE(RemoveEmptySubDirectories(kFolder));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("FindClose"), 1u);
}

class ShortSymbolicLink : public Files {
 protected:
  bool Create(const std::wstring& target) {
    link_ = L"left over";
    return CreateShortSymbolicLink(target, link_);
  }

  /// True for "C:\mig" and a number, in one to four hexadecimal digits.
  static bool IsShortName(const std::wstring& path, const std::wstring& root) {
    static const std::wregex kName(L"mig[0-9A-F]{1,4}\\.tmp", std::regex::icase);
    return path.starts_with(root) && std::regex_match(path.substr(root.size()), kName);
  }

  std::wstring link_;
};

TEST_F(ShortSymbolicLink, LiesInTheDrivesRootAndLeadsToTheTarget) {
  machine_.WriteFile(kFolder + L"\\data.bin", "x");
  ASSERT_TRUE(Create(kFolder));
  EXPECT_TRUE(IsShortName(link_, L"C:\\")) << machine_.HostPath(link_);
  EXPECT_EQ(GetFileContents(link_ + L"\\data.bin"), "x");
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"CreateShortSymbolicLink: Symbolic link '" + link_ +
                                          L"' created for path '" + kFolder + L"'.")));
}

TEST_F(ShortSymbolicLink, LiesOnTheTargetsDrive) {
  std::filesystem::create_directory(machine_.Folder() / "drive_d");
  machine_.MakeFolder(L"D:\\export");
  ASSERT_TRUE(Create(L"D:\\export"));
  EXPECT_TRUE(IsShortName(link_, L"D:\\")) << machine_.HostPath(link_);
}

TEST_F(ShortSymbolicLink, NeedsNoTarget) {
  EXPECT_TRUE(Create(L"C:\\missing"));
  EXPECT_NE(link_, L"");
}

TEST_F(ShortSymbolicLink, FailsWithoutAFreeName) {
  machine_.PlanFault({.function = "GetTempFileNameW", .error = 5});
  EXPECT_FALSE(Create(kFolder));
  EXPECT_EQ(link_, L"");
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(ErrorLine(
          L"CreateShortSymbolicLink: Failed to get a temporary file name to create symlink.")));
}

TEST_F(ShortSymbolicLink, FailsForATargetWithoutADrivesRoot) {
  for (const wchar_t* target : {L"", L"\\\\server\\share\\folder", L"Q:\\no such drive"}) {
    EXPECT_FALSE(Create(target));
    EXPECT_EQ(link_, L"");
  }
}

TEST_F(ShortSymbolicLink, FailsWhenItsNameIsHeld) {
  machine_.PlanFault({.function = "DeleteFileW", .error = 32});
  EXPECT_FALSE(Create(kFolder));
  EXPECT_EQ(link_, L"");
  const std::vector<LogLine> log = OwnLog();
  ASSERT_EQ(log.size(), 1u);
  const std::wstring text = L"CreateShortSymbolicLink: Failed to delete the temp file: ";
  EXPECT_EQ(log[0].level, 'E');
  ASSERT_THAT(log[0].message, StartsWith(text));
  EXPECT_TRUE(IsShortName(log[0].message.substr(text.size()), L"C:\\"));
}

TEST_F(ShortSymbolicLink, FailsWithoutTheRightAndLeavesNothingBehind) {
  machine_.PlanFault({.function = "CreateSymbolicLinkW", .error = 1314});
  const std::vector<std::wstring> before = machine_.ListFolder(L"C:\\");
  EXPECT_FALSE(Create(kFolder));
  EXPECT_EQ(link_, L"");
  EXPECT_EQ(machine_.ListFolder(L"C:\\"), before);
  const std::vector<LogLine> log = OwnLog();
  ASSERT_EQ(log.size(), 1u);
  EXPECT_EQ(log[0].level, 'E');
  EXPECT_THAT(
      log[0].message,
      AllOf(StartsWith(L"CreateShortSymbolicLink: Failed to create a symbolic link 'C:\\mig"),
            testing::EndsWith(L"' pointing to '" + kFolder + L"'. Error code: 1314.")));
}

}  // namespace
}  // namespace Halvard::Host
