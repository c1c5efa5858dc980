// Making zip files: what goes in, and each failure on the way. How the end of a copy is found out
// is tested in shell_zip_wait_test.cpp.
#include "transfer/shell_zip.h"

#include "machine/machine.h"
#include "zip_test.h"

namespace Halvard::Transfer {
namespace {

using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using testing::IsEmpty;
using testing::Pair;
using Testing::WarningLine;

class EmptyZipFile : public ZipTest {
 protected:
  const std::wstring new_ = parent_ + L"\\new.zip";
};

TEST_F(EmptyZipFile, IsTheRecordThatEndsAZip) {
  EXPECT_TRUE(CreateEmptyZipFile(new_));
  const std::string expected{'P', 'K', 5, 6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(expected.size(), 22u);
  EXPECT_EQ(machine_.ReadFile(new_), expected);
  EXPECT_THAT(Testing::ReadZip(machine_.HostPath(new_)), IsEmpty());
  EXPECT_THAT(Testing::OwnLog(), ElementsAre(InfoLine(L"CreateEmptyZipFile: Successfully created "
                                                      L"empty zip file")));
}

TEST_F(EmptyZipFile, IsntMadeOverAnExistingFile) {
  machine_.WriteFile(new_, "precious");
  EXPECT_FALSE(CreateEmptyZipFile(new_));
  EXPECT_EQ(machine_.ReadFile(new_), "precious");
  EXPECT_THAT(
      Testing::OwnLog(),
      ElementsAre(ErrorLine(L"CreateEmptyZipFile: Failed to create zip file " + new_ + L": 80")));
}

TEST_F(EmptyZipFile, NeedsRoomOnTheDisk) {
  machine_.PlanFault({.function = "WriteFile", .error = 112});
  EXPECT_FALSE(CreateEmptyZipFile(new_));
  EXPECT_THAT(Testing::OwnLog(), ElementsAre(ErrorLine(L"CreateEmptyZipFile: Failed to write to "
                                                       L"new zip " +
                                                       new_ + L": 112")));
}

using ZippedFolder = ZipTest;

TEST_F(ZippedFolder, IsTheOnlyTopLevelEntryWhenItGoesInItself) {
  machine_.WriteFile(source_ + L"\\deep\\two.txt", "two");
  EXPECT_TRUE(Zip(true));
  EXPECT_THAT(Contents(), ElementsAre(Pair("export \u6771\u4eac/deep/two.txt", "two"),
                                      Pair("export \u6771\u4eac/one.txt", "one")));
}

TEST_F(ZippedFolder, DoesntShowWhenItsItemsGoIn) {
  machine_.WriteFile(source_ + L"\\deep\\two.txt", "two");
  EXPECT_TRUE(Zip(false));
  EXPECT_THAT(Contents(), ElementsAre(Pair("deep/two.txt", "two"), Pair("one.txt", "one")));
}

TEST_F(ZippedFolder, MayBeNamedWithABackslashAtTheEnd) {
  bool result = false;
  std::thread([&] { result = ZipDirectory(source_ + L"\\", zip_, true); }).join();
  EXPECT_TRUE(result);
  EXPECT_THAT(Contents(), ElementsAre(Pair("export \u6771\u4eac/one.txt", "one")));
}

TEST_F(ZippedFolder, MayHoldNamesInAllScriptsEmptyFilesAndDeepFolders) {
  std::map<std::string, std::string> expected{{"one.txt", "one"}};
  std::wstring folder = source_;
  std::string name;
  for (int depth = 0; depth < 40; ++depth) {
    folder += L"\\d";
    name += "d/";
  }
  machine_.WriteFile(folder + L"\\empty", "");
  expected[name + "empty"] = "";
  machine_.WriteFile(source_ + L"\\Z\u00fcrich \u0418\u0432\u0430\u043d \u6771\u4eac \U0001F511",
                     std::string(200'000, '\xFF'));
  expected["Z\u00fcrich \u0418\u0432\u0430\u043d \u6771\u4eac \U0001F511"] =
      std::string(200'000, '\xFF');
  machine_.WriteFile(source_ + L"\\'; &% $(x)", "quoted");
  expected["'; &% $(x)"] = "quoted";
  EXPECT_TRUE(Zip());
  EXPECT_EQ(Contents(), expected);
}

// A file of more than 4 GiB takes a minute to be deflated and read again, so that none is zipped
// here. Every zip is written as one with such a file is: this sees to it that it stays so.
TEST_F(ZippedFolder, GoesInByTheFormsForFilesOver4GiB) {
  EXPECT_TRUE(Zip());
  const std::string bytes = *machine_.ReadFile(zip_);
  const std::string endOfDirectory64("PK\6\6", 4);
  const std::string extraWithSizes("\1\0", 2);
  EXPECT_NE(bytes.find(endOfDirectory64), std::string::npos);
  // Behind the local header's 30 bytes and the name.
  EXPECT_NE(bytes.substr(30 + std::string_view("one.txt").size(), 64).find(extraWithSizes),
            std::string::npos);
  EXPECT_THAT(Contents(), ElementsAre(Pair("one.txt", "one")));
}

TEST_F(ZippedFolder, LeavesOutFoldersWithoutAFile) {
  machine_.MakeFolder(source_ + L"\\empty\\emptier");
  EXPECT_TRUE(Zip());
  EXPECT_THAT(Contents(), ElementsAre(Pair("one.txt", "one")));
}

TEST_F(ZippedFolder, LeavesTheZipEmptyWhenItIsEmpty) {
  machine_.RemoveFile(source_ + L"\\one.txt");
  for (const bool includeFolder : {false, true}) {
    EXPECT_FALSE(Zip(includeFolder));
    EXPECT_EQ(ZipSize(), 22u);
    EXPECT_EQ(LinesOf(L"ZipDirectory").back(),
              InfoLine(L"ZipDirectory: The " + zip_ + L" file size is: 22 bytes."));
  }
}

TEST_F(ZippedFolder, HasToExist) {
  machine_.RemoveFile(source_);
  EXPECT_FALSE(Zip());
  EXPECT_THAT(Testing::OwnLog(),
              ElementsAre(InfoLine(L"ZipDirectory: Directory '" + source_ + L"' does not exist")));
}

TEST_F(ZippedFolder, NeedsAZipThatExists) {
  machine_.RemoveFile(zip_);
  EXPECT_FALSE(Zip());
  EXPECT_THAT(Testing::OwnLog(),
              ElementsAre(InfoLine(L"ZipDirectory: Zip file '" + zip_ + L"' does not exist")));
}

TEST_F(ZippedFolder, MayBeZippedTwiceOnOneThread) {
  bool first = false;
  bool second = false;
  std::thread([&] {
    first = ZipDirectory(source_, zip_, false);
    MakeEmptyZip();
    second = ZipDirectory(source_, zip_, true);
  }).join();
  EXPECT_TRUE(first);
  EXPECT_TRUE(second);
  EXPECT_THAT(Contents(), ElementsAre(Pair("export \u6771\u4eac/one.txt", "one")));
}

struct FailureCase {
  const char* name;
  bool includeFolder;
  Lab::Fault fault;
  std::wstring line;
};

class ZipFailure : public ZipTest, public testing::WithParamInterface<FailureCase> {};

TEST_P(ZipFailure, IsLoggedAndAnsweredAndLeavesNothingOfTheShell) {
  machine_.PlanFault(GetParam().fault);
  EXPECT_FALSE(Zip(GetParam().includeFolder));
  EXPECT_EQ(LinesOf(L"ZipDirectory").back(), ErrorLine(GetParam().line));
  EXPECT_EQ(ZipSize(), 22u);
}

// Snapshots are taken of modules, of the threads before the copy and of those after it.
const FailureCase kFailures[] = {
    {"FirstText",
     false,
     {.function = "SysAllocString", .call = 1, .error = 14},
     L"ZipDirectory: Failed SysAllocString"},
    {"SecondText",
     false,
     {.function = "SysAllocString", .call = 2, .error = 14},
     L"ZipDirectory: Failed SysAllocString"},
    {"Com",
     false,
     {.function = "CoInitialize", .error = 0x8007000E},
     L"ZipDirectory: Failed to get shell dispatch: 0x800401f0"},
    {"Class",
     false,
     {.function = "CoCreateInstance", .error = 0x80040154},
     L"ZipDirectory: Failed to get shell dispatch: 0x80040154"},
    {"Interface",
     false,
     {.function = "IShellDispatch_QueryInterface", .error = 0x80004002},
     L"ZipDirectory: Failed to get shell dispatch: 0x80004002"},
    {"Source",
     false,
     {.function = "IShellDispatch_NameSpace", .call = 1, .error = 0x80004005},
     L"ZipDirectory: Failed to get source folder: 0x80004005"},
    {"SourceThatIsNone",
     false,
     {.function = "IShellDispatch_NameSpace", .call = 1, .error = 1},
     L"ZipDirectory: Failed to get source folder: 0x00000001"},
    {"Items",
     false,
     {.function = "Folder_Items", .error = 0x8007000E},
     L"ZipDirectory: Failed to get source folder items: 0x8007000e"},
    {"ItemsThatAreNone",
     false,
     {.function = "Folder_Items", .error = 1},
     L"ZipDirectory: Failed to get source folder items: 0x00000001"},
    {"Zip",
     true,
     {.function = "IShellDispatch_NameSpace", .match = L".zip", .error = 0x80070005},
     L"ZipDirectory: Failed to get destination folder 0x80070005"},
    {"MachineWithoutZipFolders",
     false,
     {.function = "IShellDispatch_NameSpace", .match = L".zip", .error = 1},
     L"ZipDirectory: Failed to get destination folder 0x00000001"},
    {"DispatchOfItems",
     false,
     {.function = "FolderItems_QueryInterface", .error = 0x80004002},
     L"ZipDirectory: Failed to get source dispatch 0x80004002"},
    {"DispatchOfTheFolder",
     true,
     {.function = "Folder_QueryInterface", .error = 0x80004002},
     L"ZipDirectory: Failed to get source dispatch 0x80004002"},
    {"ThreadsBefore",
     false,
     {.function = "CreateToolhelp32Snapshot", .call = 2, .error = 8},
     L"ZipDirectory: Failed to get BEFORE thread list!"},
    {"Copy",
     false,
     {.function = "Folder_CopyHere", .error = 0x80070005},
     L"ZipDirectory: Copy failed: 0x80070005"},
    {"CopyThatIsNone",
     false,
     {.function = "Folder_CopyHere", .error = 1},
     L"ZipDirectory: Copy failed: 0x00000001"},
};

INSTANTIATE_TEST_SUITE_P(Calls, ZipFailure, testing::ValuesIn(kFailures),
                         [](const auto& row) { return row.param.name; });

TEST_F(ZippedFolder, IsntAPlainFile) {
  machine_.RemoveFile(source_);
  machine_.WriteFile(source_, "a file");
  EXPECT_FALSE(Zip());
  EXPECT_EQ(LinesOf(L"ZipDirectory").back(),
            ErrorLine(L"ZipDirectory: Failed to get source folder: 0x00000001"));
}

TEST_F(ZippedFolder, NeedsAZipInsideTheZip) {
  machine_.WriteFile(zip_, "no zip at all, though it has the name");
  EXPECT_FALSE(Zip());
  EXPECT_EQ(LinesOf(L"ZipDirectory").back(),
            ErrorLine(L"ZipDirectory: Failed to get destination folder 0x00000001"));
}

}  // namespace
}  // namespace Halvard::Transfer
