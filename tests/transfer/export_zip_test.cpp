#include "transfer/export_zip.h"

#include "archive_tool_test.h"
#include "machine/string_tables.h"
#include "scripted_shell.h"
#include "support/console_capture.h"

namespace Halvard::Transfer {
namespace {

using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using testing::Not;
using Testing::OwnLog;
using Testing::Shell;
using Testing::WarningLine;

constexpr wchar_t kCreating[] = L"Creating export.zip from export data ...\n";
constexpr wchar_t kValidating[] = L"Validating export.zip...\n";
constexpr wchar_t kReturning[] = L"User choose not to continue, returning ...--\n\n";
constexpr char kFailedTool[] = R"({"status": "failed", "message": "Not whole."})";

class ExportZip : public ArchiveToolTest {
 protected:
  ExportZip() {
    WriteExport();
    Shell() = {};
    Shell().zip = [this](const std::wstring&, const std::wstring&, bool) { return Pack(), true; };
  }

  /// \param typed  What the operator answers, up to the end of the input.
  bool Create(const std::string& typed = "") {
    machine_.RemoveFile(L"%TEMP%\\halvard.log");
    const Testing::PipedInput input(typed);
    const Testing::ConsoleCapture console;
    const bool created = ZipUtil_CreateExportZip(zipFile_, folder_, request_, errorText_);
    console_ = console.Text();
    return created;
  }

  void AskOperators() { request_["interactive"] = true; }
  void FailToZip() {
    Shell().zip = [](const std::wstring&, const std::wstring&, bool) { return false; };
  }

  std::wstring Question() const {
    return L"\n--\nTo continue the migration, create the export.zip file manually from the export "
           L"data (include export folder):\n\n   Zip File: " +
           zipFile_ + L"\nExport Data: " + folder_ +
           L"\n\nPress ENTER after you have manually created the export.zip file, or\nEnter 'n' if "
           L"you do not wish to continue.\n\nContinue? (Y/n) ";
  }

  Json::Value request_{Json::objectValue};
  std::wstring errorText_ = L"as before";
  std::wstring console_;
};

TEST_F(ExportZip, IsMadeByTheShellAndValidated) {
  std::vector<std::wstring> arguments;
  Shell().zip = [&](const std::wstring& folder, const std::wstring& zipFile, bool includeFolder) {
    arguments = {folder, zipFile, includeFolder ? L"with the folder" : L"without"};
    Pack();
    return true;
  };
  EXPECT_TRUE(Create());
  EXPECT_THAT(arguments, ElementsAre(folder_, zipFile_, L"with the folder"));
  EXPECT_EQ(console_, std::wstring(kCreating) + kValidating);
  EXPECT_EQ(errorText_, L"as before");
}

TEST_F(ExportZip, ReplacesAnOlderFile) {
  machine_.WriteFile(zipFile_, "older");
  bool found = true;
  Shell().zip = [&](const std::wstring&, const std::wstring&, bool) {
    found = machine_.FileExists(zipFile_);
    return false;
  };
  EXPECT_FALSE(Create());
  EXPECT_FALSE(found);
}

TEST_F(ExportZip, FreesTheExportOfEmptyFolders) {
  machine_.MakeFolder(folder_ + L"\\empty");
  EXPECT_TRUE(Create());
  EXPECT_FALSE(machine_.FileExists(folder_ + L"\\empty"));
}

TEST_F(ExportZip, FailureOfEachStepIsToldInTheClientsLanguage) {
  gProperties[L"MC_LOCALE"] = L"de";
  const auto expectFailure = [this](std::uint16_t message) {
    EXPECT_FALSE(Create("y\n"));
    const std::wstring text(Lab::FindString(1031, message));
    EXPECT_EQ(errorText_, text);
    EXPECT_EQ(console_, kCreating + (L"\n" + text + L"\n"));
    EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"ZipUtil_CreateExportZip: "
                                             L"ZipUtil_CreateZipUsingShellApi() failed: " +
                                             text)));
    EXPECT_THAT(
        OwnLog(),
        Contains(ErrorLine(L"ZipUtil_CreateExportZip: zip/validate failed, returning error.")));
  };
  FailToZip();
  expectFailure(1073);
  machine_.PlanFault({.function = "FindFirstFileW", .call = 1, .error = 5});
  expectFailure(1072);
  Shell().emptyZipSucceeds = false;
  expectFailure(1071);
}

TEST_F(ExportZip, StepThatFailsFailsWithoutItsMessageToo) {
  Shell().zip = [this](const std::wstring&, const std::wstring&, bool) { return Pack(), false; };
  machine_.PlanFault({.function = "LoadStringW", .call = 2, .error = 1814});
  EXPECT_FALSE(Create());
  EXPECT_EQ(errorText_, L"");
  EXPECT_EQ(console_, kCreating + std::wstring(L"\n\n"));
}

TEST_F(ExportZip, FailedValidationIsToldInTheToolsWords) {
  InstallToolThatSays(kFailedTool);
  EXPECT_FALSE(Create("y\n"));
  EXPECT_EQ(errorText_, L"Not whole.");
  EXPECT_EQ(console_, std::wstring(kCreating) + kValidating +
                          L"\nFailed to validate export.zip.\nNot whole.\n");
  EXPECT_THAT(
      OwnLog(),
      Contains(ErrorLine(L"ZipUtil_CreateExportZip: zip/validate failed, returning error.")));
}

TEST_F(ExportZip, ToolWithoutAMessageLeavesAnEmptyError) {
  InstallToolThatSays(R"({"status": "failed"})");
  EXPECT_FALSE(Create());
  EXPECT_EQ(errorText_, L"");
}

TEST_F(ExportZip, BareEnterValidatesWhatTheOperatorMade) {
  AskOperators();
  // The operator has been as quick as the shell was slow.
  Shell().zip = [this](const std::wstring&, const std::wstring&, bool) { return Pack(), false; };
  EXPECT_TRUE(Create("\n"));
  EXPECT_EQ(console_, kCreating + std::wstring(L"\nFailed to zip the export directory.\n") +
                          Question() + kValidating + L"Validated export.zip, continuing ...\n");
  EXPECT_EQ(errorText_, L"as before");
  EXPECT_THAT(
      OwnLog(),
      Not(Contains(ErrorLine(L"ZipUtil_CreateExportZip: zip/validate failed, returning error."))));
}

TEST_F(ExportZip, OperatorGivesUp) {
  AskOperators();
  FailToZip();
  for (const std::string answer : {"n", "N", "no, thanks", "Never"}) {
    errorText_.clear();
    EXPECT_FALSE(Create(answer + "\n"));
    EXPECT_EQ(errorText_, L"Failed to zip the export directory.");
    EXPECT_EQ(console_, kCreating + std::wstring(L"\nFailed to zip the export directory.\n") +
                            Question() + kReturning);
    EXPECT_THAT(OwnLog(), Contains(WarningLine(L"ZipUtil_CreateExportZip: User choose '" +
                                               std::wstring(answer.begin(), answer.end()) +
                                               L"', returning...")));
  }
}

TEST_F(ExportZip, OperatorIsAskedUntilTheFileIsWholeOrGivenUp) {
  AskOperators();
  FailToZip();
  InstallToolThatSays(kFailedTool);
  EXPECT_FALSE(Create("y\n\nn\n"));
  const std::wstring again =
      std::wstring(kValidating) + L"\nFailed to validate export.zip.\nNot whole." + Question();
  EXPECT_EQ(console_, kCreating + std::wstring(L"\nFailed to zip the export directory.\n") +
                          Question() + again + again + kReturning);
  // What the client gets is what the last validation said.
  EXPECT_EQ(errorText_, L"Not whole.");
}

TEST_F(ExportZip, ValidationWithoutAMessageIsntToldInTheWordsOfAnEarlierFailure) {
  AskOperators();
  FailToZip();
  InstallToolThatSays(R"({"status": "failed"})");
  EXPECT_FALSE(Create("\nn\n"));
  EXPECT_EQ(console_, kCreating + std::wstring(L"\nFailed to zip the export directory.\n") +
                          Question() + kValidating + L"\nFailed to validate export.zip.\n" +
                          Question() + kReturning);
  EXPECT_EQ(errorText_, L"");
}

TEST_F(ExportZip, EndOfTheInputEndsWithTheErrorAsItStood) {
  AskOperators();
  FailToZip();
  EXPECT_FALSE(Create(""));
  EXPECT_EQ(errorText_, L"as before");
  EXPECT_THAT(
      OwnLog(),
      Contains(WarningLine(L"ZipUtil_CreateExportZip: getline() failed, breaking out of loop.")));
  InstallToolThatSays(kFailedTool);
  EXPECT_FALSE(Create("\n"));
  EXPECT_EQ(errorText_, L"Not whole.");
}

TEST_F(ExportZip, OperatorReadsInTheMachinesLanguage) {
  SpeakMachineLanguage(1036);
  gProperties[L"MC_LOCALE"] = L"de";
  AskOperators();
  FailToZip();
  EXPECT_FALSE(Create("n\n"));
  // The error is for the client; the questions exist in English alone.
  const std::wstring german(Lab::FindString(1031, 1073));
  EXPECT_EQ(errorText_, german);
  EXPECT_NE(console_.find(L"\n" + german + L"\n"), std::wstring::npos);
}

TEST_F(ExportZip, InteractiveModeIsAskedForByABooleanAlone) {
  EXPECT_FALSE(IsInteractiveZipMode(request_));
  for (const Json::Value& value : {Json::Value("true"), Json::Value(1), Json::Value(false),
                                   Json::Value(), Json::Value(Json::objectValue)}) {
    request_["interactive"] = value;
    EXPECT_FALSE(IsInteractiveZipMode(request_)) << value;
  }
  request_["interactive"] = true;
  EXPECT_TRUE(IsInteractiveZipMode(request_));
}

TEST_F(ExportZip, InteractiveModeIsOnByAVariableWithoutAValueToo) {
  machine_.SetVariable(L"HV_INTERACTIVE_MODE", L"");
  EXPECT_TRUE(IsInteractiveZipMode(request_));
}

}  // namespace
}  // namespace Halvard::Transfer
