#include "runner/runner_extraction.h"

#include <memory>
#include <string>

#include "core/automated_tum_upgrade.h"
#include "core/locales.h"
#include "core/temp_directory.h"
#include "machine/machine.h"
#include "runner_test.h"
#include "support/console_capture.h"

namespace Halvard::Runner {
namespace {

using Testing::ConsoleCapture;
using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using Testing::LogLine;
using testing::Not;
using Testing::OwnLog;
using Testing::WarningLine;

constexpr wchar_t kPython[] = L"C:\\Halvard\\Ostrel-python.msi";
constexpr wchar_t kRunner[] = L"C:\\Halvard\\rimsa-upgrade-runner.msi";
constexpr wchar_t kProgress[] = L"Extracting Halvard scripts...\n";
constexpr wchar_t kFailed[] = L"Error: Failed to extract Halvard scripts.\n";
constexpr wchar_t kPending[] =
    L"Error: Another instance of Windows Installation is in progress. Relaunch the Halvard after the pending installation is completed.\n";
const std::wstring kSaid = L"PythonUpgradeRunnerExtractor::ExtractPythonAndUpgradeRunner: ";

LogLine FailureLine(const std::wstring& code) {
  return ErrorLine(kSaid + L"Failed to extract upgrade scripts. Error code: " + code);
}

class Extraction : public RunnerTest {
 protected:
  Extraction() {
    SetThreadUILanguage(1033);
    SetHVLocale();
    automatedTumUpgrade = false;
    machine_.RemoveFile(GetTempDirectory() + L"halvard.log");
  }
  ~Extraction() override {
    automatedTumUpgrade = false;
    EXPECT_THAT(NewHandles(), testing::IsEmpty());
  }

  /// Extracts, and keeps what the console showed.
  std::unique_ptr<PythonUpgradeRunnerExtractor> Extract() {
    const ConsoleCapture console;
    auto extractor = std::make_unique<PythonUpgradeRunnerExtractor>();
    console_ = console.Text();
    return extractor;
  }

  /// An extraction that has to fail, to its end.
  void ExtractInVain() {
    EXPECT_FALSE(Extract()->Extracted());
    EXPECT_TRUE(gProperties[L"URExtractDirectory"].empty());
  }

  bool IsThere(const std::wstring& path) const { return machine_.FileExists(target_ + path); }

  const std::wstring target_ = std::wstring(Lab::Instance::kProfile) +
                               L"\\AppData\\Local\\Ostrel\\Halvard\\PythonURExtractDir";
  const std::wstring interpreter_ = L"\\PFiles\\Ostrel\\Rimsa\\python\\python.exe";
  const std::wstring scripts_ = L"\\PFiles\\Ostrel\\Rimsa\\rimsa_upgrade_runner\\";
  std::wstring console_;
};

TEST_F(Extraction, UnpacksBothPackagesAndTellsWhere) {
  const auto extractor = Extract();
  EXPECT_TRUE(extractor->Extracted());
  EXPECT_EQ(console_, kProgress);
  EXPECT_TRUE(IsThere(interpreter_));
  EXPECT_TRUE(IsThere(scripts_ + L"UpgradeRunner.py"));
  EXPECT_TRUE(IsThere(scripts_ + L"UpgradeOrchestrator.py"));
  EXPECT_EQ(gProperties[L"SOURCE_DIRECTORY"].Value(), L"C:\\Halvard\\");
  EXPECT_EQ(gProperties[L"PYTHON_EXTRACT_PATH"].Value(), target_);
  EXPECT_EQ(gProperties[L"URExtractDirectory"].Value(), target_);
  // The first run on a machine finds no folder to remove.
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(L"RemoveDirectoryAndContents: Deleting directory: " + target_),
                          ErrorLine(L"RemoveDirectoryAndContents: Failed to delete directory: " +
                                    target_ + L", Error: 124"),
                          InfoLine(kSaid + L"Extracting python msi."),
                          InfoLine(kSaid + L"Installing upgrade runner msi.")));
}

TEST_F(Extraction, EndRemovesTheFolder) {
  auto extractor = Extract();
  extractor.reset();
  EXPECT_FALSE(machine_.FileExists(target_));
  EXPECT_EQ(OwnLog().back(),
            InfoLine(L"PythonUpgradeRunnerExtractor::~PythonUpgradeRunnerExtractor: Successfully "
                     L"cleaned up temporary directory " +
                     target_));
}

TEST_F(Extraction, EndTellsOfAFolderThatStays) {
  machine_.PlanFault({.function = "SHFileOperationW", .call = 2, .error = 32});
  auto extractor = Extract();
  extractor.reset();
  EXPECT_TRUE(IsThere(interpreter_));
  EXPECT_EQ(OwnLog().back(),
            WarningLine(L"PythonUpgradeRunnerExtractor::~PythonUpgradeRunnerExtractor: Failed to "
                        L"cleanup temporary directory " +
                        target_));
}

TEST_F(Extraction, WhatACrashedRunHasLeftIsRemovedFirst) {
  machine_.WriteFile(target_ + L"\\old\\file", "stale");
  machine_.WriteFile(target_ + scripts_ + L"old.py", "stale");
  const auto extractor = Extract();
  EXPECT_TRUE(extractor->Extracted());
  EXPECT_FALSE(IsThere(L"\\old"));
  EXPECT_FALSE(IsThere(scripts_ + L"old.py"));
}

TEST_F(Extraction, GoesOnOverALeftoverThatCannotBeRemoved) {
  machine_.WriteFile(target_ + L"\\old\\file", "stale");
  machine_.PlanFault({.function = "SHFileOperationW", .call = 1, .error = 32});
  EXPECT_TRUE(Extract()->Extracted());
}

TEST_F(Extraction, TakesThePackagesBesideTheProgram) {
  const std::wstring folder = L"C:\\Werkzeuge \u00e4\u8a66 \U0001D4BD\\";
  machine_.WriteFile(folder + L"Ostrel-python.msi", machine_.ReadFile(kPython).value());
  machine_.WriteFile(folder + L"rimsa-upgrade-runner.msi", machine_.ReadFile(kRunner).value());
  machine_.RemoveFile(L"C:\\Halvard");
  machine_.Set("/program/path", "C:\\Werkzeuge \u00e4\u8a66 \U0001D4BD\\Ostrel-Halvard.exe");
  EXPECT_TRUE(Extract()->Extracted());
  EXPECT_EQ(gProperties[L"SOURCE_DIRECTORY"].Value(), folder);
}

TEST_F(Extraction, WithoutTheProgramsPathThereIsNoFolder) {
  machine_.Set("/program/currentDirectory", "C:\\Windows");
  machine_.PlanFault({.function = "GetModuleFileNameW", .error = 5});
  ExtractInVain();
  EXPECT_TRUE(gProperties[L"SOURCE_DIRECTORY"].empty());
  EXPECT_EQ(console_, std::wstring(kProgress) + kFailed);
  EXPECT_THAT(OwnLog(), Contains(FailureLine(L"2")));
}

TEST_F(Extraction, PendingInstallationHasALineOfItsOwn) {
  machine_.Set("/installer/busy", true);
  ExtractInVain();
  EXPECT_EQ(console_, std::wstring(kProgress) + kPending);
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(kSaid + L"Failed to extract python msi.")));
  EXPECT_THAT(OwnLog(), Contains(FailureLine(L"1618")));
}

TEST_F(Extraction, PendingInstallationMayBeginBetweenThePackages) {
  machine_.PlanFault({.function = "MsiInstallProductW", .call = 2, .error = 1618});
  ExtractInVain();
  EXPECT_EQ(console_, std::wstring(kProgress) + kPending);
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(kSaid + L"Failed to extract UpgradeRunner msi.")));
  EXPECT_THAT(OwnLog(), Contains(FailureLine(L"1618")));
}

class InstallerCode : public Extraction, public testing::WithParamInterface<std::uint32_t> {};

// 1641 and 3010 stand for a success that wants a restart, which unpacking never does.
TEST_P(InstallerCode, EndsTheExtractionWithEitherPackage) {
  const std::wstring code = std::to_wstring(GetParam());
  machine_.PlanFault(
      {.function = "MsiInstallProductW", .match = L"Ostrel-python.msi", .error = GetParam()});
  ExtractInVain();
  EXPECT_EQ(console_, std::wstring(kProgress) + kFailed);
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(kSaid + L"Failed to extract python msi.")));
  EXPECT_THAT(OwnLog(), Contains(FailureLine(code)));
  EXPECT_THAT(OwnLog(), Not(Contains(InfoLine(kSaid + L"Installing upgrade runner msi."))));

  machine_.Remove("/faults");
  machine_.PlanFault({.function = "MsiInstallProductW",
                      .match = L"rimsa-upgrade-runner.msi",
                      .error = GetParam()});
  ExtractInVain();
  EXPECT_EQ(console_, std::wstring(kProgress) + kFailed);
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(kSaid + L"Failed to extract UpgradeRunner msi.")));
  EXPECT_THAT(OwnLog(), Contains(FailureLine(code)).Times(2));
}

INSTANTIATE_TEST_SUITE_P(Codes, InstallerCode,
                         testing::Values(2, 1601, 1602, 1603, 1619, 1620, 1625, 1641, 3010));

TEST_F(Extraction, PackageThatLacksTheInterpreterIsAFailure) {
  machine_.WriteFile(kPython, machine_.ReadFile(kRunner).value());
  ExtractInVain();
  EXPECT_EQ(console_, std::wstring(kProgress) + kFailed);
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(kSaid + L"Failed to extract python successfully: " +
                                           target_ + interpreter_)));
  EXPECT_THAT(OwnLog(), Contains(FailureLine(L"0")));
}

TEST_F(Extraction, PackageThatLacksTheRunnerIsAFailure) {
  machine_.WriteFile(kRunner, machine_.ReadFile(kPython).value());
  const auto extractor = Extract();
  EXPECT_FALSE(extractor->Extracted());
  EXPECT_TRUE(gProperties[L"URExtractDirectory"].empty());
  EXPECT_EQ(console_, std::wstring(kProgress) + kFailed);
  EXPECT_THAT(OwnLog(),
              Contains(ErrorLine(kSaid + L"Failed to extract UpgradeRunner successfully: " +
                                 target_ + scripts_ + L"UpgradeRunner.py")));
  EXPECT_THAT(OwnLog(), Contains(FailureLine(L"0")));
  // The first half stays for as long as the object.
  EXPECT_TRUE(IsThere(interpreter_));
}

TEST_F(Extraction, UpdateManagersMigrationNeedsTheOrchestrator) {
  machine_.PlanFault({.function = "PathFileExistsW", .match = L"Orchestrator", .error = 2});
  EXPECT_TRUE(Extract()->Extracted());
  gProperties[L"URExtractDirectory"] = L"";
  automatedTumUpgrade = true;
  ExtractInVain();
  EXPECT_THAT(OwnLog(),
              Contains(ErrorLine(kSaid + L"Failed to extract UpgradeRunner successfully: " +
                                 target_ + scripts_ + L"UpgradeOrchestrator.py")));
}

TEST_F(Extraction, WithoutAFolderForTheUsersDataNothingIsUnpacked) {
  machine_.PlanFault({.function = "SHGetKnownFolderPath", .error = 0x80070002});
  ExtractInVain();
  EXPECT_EQ(console_, std::wstring(kProgress) + kFailed);
  EXPECT_THAT(OwnLog(), Contains(FailureLine(L"0")));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("MsiInstallProductW"), 0u);
  EXPECT_TRUE(gProperties[L"SOURCE_DIRECTORY"].empty());
  EXPECT_EQ(OwnLog().back(),
            InfoLine(L"PythonUpgradeRunnerExtractor::~PythonUpgradeRunnerExtractor: Successfully "
                     L"cleaned up temporary directory "));
}

TEST_F(Extraction, FullDiskIsAFailure) {
  machine_.Set("/disks/C/free", 1000);
  ExtractInVain();
  EXPECT_EQ(console_, std::wstring(kProgress) + kFailed);
  EXPECT_THAT(OwnLog(), Contains(FailureLine(L"1603")));
}

TEST_F(Extraction, ShowsNoWindows) {
  EXPECT_TRUE(Extract()->Extracted());
  EXPECT_EQ(MsiSetInternalUI(INSTALLUILEVEL_DEFAULT, nullptr), INSTALLUILEVEL_NONE);
}

}  // namespace
}  // namespace Halvard::Runner
