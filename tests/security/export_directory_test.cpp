#include "security/export_directory.h"

#include <utility>

#include "core/core_test.h"
#include "core/startup/process_test.h"
#include "support/console_capture.h"

namespace Halvard::Security {
namespace {

using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using Testing::OwnLog;
using Testing::WarningLine;

constexpr wchar_t kFolder[] = L"C:\\\u00e4 \u6771\u4eac \U0001F511\\export";

class ExportDirectory : public CoreTest {
 protected:
  ExportDirectory() {
    gProperties[L"EXPORT_DIR"] = kFolder;
    gProperties[L"EXPORT_DISK_REQ_SIZE"] = L"100";
    SetFree(100);
  }

  void SetFree(unsigned mebibytes) {
    Json::Value disks;
    disks["C"]["free"] = Json::UInt64{mebibytes} << 20;
    machine_.Set("/disks", disks);
  }

  void SetRights(const std::string& folder, const char* rights) {
    Json::Value described;
    described[folder] = rights;
    machine_.Set("/folderRights", described);
  }

  bool Validate() {
    const Testing::ConsoleCapture console;
    const bool valid = ValidateExportDir();
    console_ = console.Text();
    return valid;
  }

  static std::wstring FreeSize() { return gProperties[L"EXPORT_DISK_FREE_SIZE"]; }

  std::wstring console_;
};

TEST_F(ExportDirectory, IsMadeWhereItIsNotThereYet) {
  EXPECT_TRUE(Validate());
  EXPECT_EQ(console_, L"");
  EXPECT_TRUE(machine_.FileExists(kFolder));
  EXPECT_EQ(FreeSize(), L"100");
  const std::vector<Testing::LogLine> log = OwnLog();
  EXPECT_EQ(log[0],
            WarningLine(std::wstring(L"ValidateExportDir: Non-existent export directory \"") +
                        kFolder + L"\"was passed as input."));
  EXPECT_EQ(log[1], InfoLine(std::wstring(L"DirectoryPermissionCheck: Will check export dir: \"") +
                             kFolder + L"\""));
  EXPECT_EQ(log.back(), InfoLine(L"ValidateExportDir: Required space: 100; FreeSpace: 100"));
}

TEST_F(ExportDirectory, OneThatIsThereIsTakenAsItIs) {
  machine_.MakeFolder(kFolder);
  EXPECT_TRUE(Validate());
  EXPECT_EQ(OwnLog()[0].level, L'I');
}

TEST_F(ExportDirectory, AnEmptyPathIsRefused) {
  gProperties[L"EXPORT_DIR"] = L"";
  EXPECT_FALSE(Validate());
  EXPECT_EQ(console_, English(1007) + L"\n");
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"ValidateExportDir: " + English(1007))));
}

TEST_F(ExportDirectory, RefusalsSpeakTheOperatorsLanguage) {
  SpeakMachineLanguage(1031);
  gProperties[L"EXPORT_DIR"] = L"";
  EXPECT_FALSE(Validate());
  EXPECT_EQ(console_, Message(1031, 1007) + L"\n");
  EXPECT_EQ(OwnLog().back(), InfoLine(L"ValidateExportDir: " + English(1007)));
}

TEST_F(ExportDirectory, OneThatCannotBeMadeIsRefusedWithoutAWordToTheOperator) {
  for (const wchar_t* folder : {L"Q:\\export", L"relative", L"C:\\a|b"}) {
    gProperties[L"EXPORT_DIR"] = folder;
    EXPECT_FALSE(Validate());
    EXPECT_EQ(console_, L"");
    EXPECT_THAT(OwnLog().back().message,
                testing::StartsWith(
                    std::wstring(L"ValidateExportDir: Failed to create export directory at ") +
                    folder + L": "));
  }
  gProperties[L"EXPORT_DIR"] = L"C:\\" + std::wstring(250, L'x');
  EXPECT_FALSE(Validate());
  EXPECT_THAT(OwnLog().back().message, testing::EndsWith(L"x: 206"));
}

TEST_F(ExportDirectory, OneThatAppearsMeanwhileWillDo) {
  machine_.MakeFolder(kFolder);
  for (const unsigned code : {80u, 183u}) {
    machine_.Remove("/faults");
    machine_.PlanFault({.function = "PathFileExistsW", .error = 2});
    machine_.PlanFault({.function = "SHCreateDirectoryExW", .error = code});
    EXPECT_TRUE(Validate()) << code;
  }
}

TEST_F(ExportDirectory, LackingRightsAreTold) {
  machine_.MakeFolder(L"C:\\closed");
  SetRights("C:\\closed", "O:SYD:(A;OICI;0x1200a9;;;BA)");
  gProperties[L"EXPORT_DIR"] = L"C:\\closed\\export";
  EXPECT_FALSE(Validate());
  EXPECT_EQ(console_, English(1038, {L"C:\\closed\\export"}) + L"\n");
  EXPECT_THAT(OwnLog(),
              Contains(ErrorLine(
                  L"DirectoryPermissionCheck: Halvard lacks required permissions in export path")));
  EXPECT_EQ(OwnLog().back(),
            InfoLine(L"ValidateExportDir: " + English(1038, {L"C:\\closed\\export"})));
  EXPECT_EQ(FreeSize(), L"");
  // It was made for the check, and stays.
  EXPECT_TRUE(machine_.FileExists(L"C:\\closed\\export"));
}

TEST_F(ExportDirectory, AFileInThePathIsRefused) {
  machine_.WriteFile(L"C:\\file", "");
  gProperties[L"EXPORT_DIR"] = L"C:\\file";
  EXPECT_FALSE(Validate());
  EXPECT_EQ(console_, English(1038, {L"C:\\file"}) + L"\n");
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"DirectoryPermissionCheck: Failed to lookup export "
                                           L"path permissions.")));
}

// A message that can't be loaded is empty, and the first that is asked for can't be loaded here.
TEST_F(ExportDirectory, RefusalsAreLoggedAndThenShownButForMissingRoom) {
  machine_.MakeFolder(L"C:\\closed");
  SetRights("C:\\closed", "O:SYD:(A;OICI;0x1200a9;;;BA)");
  const std::pair<const wchar_t*, std::wstring> rows[] = {
      {L"", English(1007)},
      {L"C:\\closed\\export", English(1038, {L"C:\\closed\\export"})},
      {kFolder, L""}};
  for (const auto& [folder, shown] : rows) {
    gProperties[L"EXPORT_DIR"] = folder;
    gProperties[L"EXPORT_DISK_REQ_SIZE"] = L"101";
    machine_.Remove("/faults");
    machine_.PlanFault({.function = "LoadStringW", .call = 1, .error = 1814});
    EXPECT_FALSE(Validate());
    EXPECT_EQ(console_, shown + L"\n");
  }
}

struct Required {
  const char* rights;
  bool valid;
};

TEST_F(ExportDirectory, NeedsEachRightButExecution) {
  machine_.MakeFolder(L"C:\\x");
  gProperties[L"EXPORT_DIR"] = L"C:\\x";
  constexpr Required kRows[] = {
      {"O:SYD:(A;OICI;FA;;;BA)", true},
      {"O:SYD:(D;OICI;0x20;;;BA)(A;OICI;FA;;;BA)", true},
      {"O:SYD:(D;OICI;0x1;;;BA)(A;OICI;FA;;;BA)", false},
      {"O:SYD:(D;OICI;0x2;;;BA)(A;OICI;FA;;;BA)", false},
      {"O:SYD:(D;OICI;0x40;;;BA)(A;OICI;FA;;;BA)", false},
      {"O:SYD:(D;OICI;0x10000;;;BA)(A;OICI;FA;;;BA)", false},
      {"O:SYD:(D;OICI;0x80000;;;BA)(A;OICI;FA;;;BA)", false},
  };
  for (const Required& row : kRows) {
    SetRights("C:\\x", row.rights);
    EXPECT_EQ(DirectoryPermissionCheck(), row.valid) << row.rights;
  }
}

TEST_F(ExportDirectory, UnknownRoomIsTold) {
  machine_.PlanFault({.function = "GetDiskFreeSpaceExW", .error = 21});
  EXPECT_FALSE(Validate());
  EXPECT_EQ(console_, English(1001, {kFolder}) + L"\n");
  EXPECT_EQ(OwnLog().back(),
            ErrorLine(std::wstring(L"ValidateExportDir: Unable to obtain disk free space for "
                                   L"export directory: ") +
                      kFolder + L": 21"));
  EXPECT_EQ(FreeSize(), L"");
}

struct Room {
  const wchar_t* required;
  unsigned free;
  bool valid;
  const wchar_t* read;
};

TEST_F(ExportDirectory, NeedsAsMuchRoomAsIsRequired) {
  constexpr Room kRows[] = {{L"100", 100, true, L"100"},
                            {L"101", 100, false, L"101"},
                            {L"0", 0, true, L"0"},
                            {L"", 0, true, L"0"},
                            {L"text", 0, true, L"0"},
                            {L"5x", 4, false, L"5"},
                            {L"-4", 0, true, L"-4"},
                            {L"2147483647", 4'000'000'000, true, L"2147483647"},
                            {L"2147483647", 5, false, L"2147483647"}};
  for (const Room& row : kRows) {
    SCOPED_TRACE(testing::PrintToString(row.required));
    gProperties[L"EXPORT_DISK_REQ_SIZE"] = row.required;
    SetFree(row.free);
    EXPECT_EQ(Validate(), row.valid);
    EXPECT_EQ(FreeSize(), std::to_wstring(row.free));
    if (row.valid) continue;
    const std::wstring text = English(1002, {kFolder, row.read, std::to_wstring(row.free)});
    EXPECT_EQ(console_, text + L"\n");
    EXPECT_EQ(OwnLog().back(), InfoLine(L"ValidateExportDir: " + text));
  }
}

}  // namespace
}  // namespace Halvard::Security
