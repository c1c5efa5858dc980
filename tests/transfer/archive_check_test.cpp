#include "transfer/archive_check.h"

#include "archive_tool_test.h"
#include "core/logging.h"
#include "core/temp_directory.h"

namespace Halvard::Transfer {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::EndsWith;
using Testing::ErrorLine;
using testing::Field;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::LogLine;
using testing::Not;
using Testing::OwnLog;
using testing::StartsWith;
using Testing::WarningLine;

class ArchiveCheck : public ArchiveToolTest {
 protected:
  bool Validate() { return HvUtil_ValidateZipArchive(zipFile_, folder_, errorText_); }

  /// What the tool's document comes to.
  bool Check(const std::string& document) {
    Json::Value result;
    EXPECT_TRUE(Json::Reader().parse(document, result));
    return HvUtilCheckResult(result, errorText_);
  }

  /// The tool's command line as the log has it; empty when the tool wasn't run.
  static std::wstring CommandLine() {
    const std::wstring prefix = L"HvUtilLaunch: Running: ";
    for (const LogLine& line : OwnLog()) {
      if (line.message.starts_with(prefix)) return line.message.substr(prefix.size());
    }
    return {};
  }

  std::wstring errorText_ = L"as before";
};

TEST_F(ArchiveCheck, PassesAnArchiveThatHoldsTheFolder) {
  WriteExport();
  Pack();
  EXPECT_TRUE(Validate());
  EXPECT_EQ(errorText_, L"as before");
  EXPECT_THAT(OwnLog(),
              AllOf(Contains(InfoLine(L"HvUtil_TestArchive: Testing zip file: " + zipFile_)),
                    Contains(InfoLine(L"HvUtil_CompareZipAndDir: Comparing " + zipFile_ +
                                      L" with " + folder_)),
                    Contains(InfoLine(L"HvUtilCheckResult: status = success")).Times(2)));
}

TEST_F(ArchiveCheck, HandsOutWhatTheTestFound) {
  WriteExport();
  machine_.WriteFile(zipFile_, "no archive");
  EXPECT_FALSE(Validate());
  EXPECT_THAT(errorText_, EndsWith(L"export.zip: File is not a zip file"));
  EXPECT_THAT(
      OwnLog(),
      AllOf(Contains(InfoLine(L"HvUtilCheckResult: status = failed")),
            Contains(InfoLine(L"HvUtilCheckResult: message: " + errorText_)),
            // The exit code of a tool that found something counts for nothing.
            Contains(Field(&LogLine::message, StartsWith(L"HvUtilLaunch: Failed to run: "))),
            Not(Contains(Field(&LogLine::message, StartsWith(L"HvUtil_CompareZipAndDir"))))));
}

TEST_F(ArchiveCheck, HandsOutWhatTheComparisonFound) {
  WriteExport();
  Pack();
  machine_.WriteFile(folder_ + L"\\late.txt", "");
  EXPECT_FALSE(Validate());
  EXPECT_EQ(errorText_, L"export/late.txt: is missing in the zip file");
}

TEST_F(ArchiveCheck, RunsTheToolThroughAShortLink) {
  InstallToolThatSays(R"({"status": "success"})");
  Json::Value result;
  EXPECT_TRUE(HvUtilLaunch(L"--test \"x\"", result));
  EXPECT_EQ(result["status"], "success");
  EXPECT_THAT(CommandLine(), StartsWith(L"\"C:\\mig"));
  EXPECT_THAT(CommandLine(), EndsWith(L"\\PFiles\\Ostrel\\Rimsa\\python\\python.exe\" \"" +
                                      programFolder_ + L"hv_util.py\" --test \"x\" --result \"" +
                                      GetTempDirectory() + L"hv_util.json\""));
}

TEST_F(ArchiveCheck, CutsTheCommandLineAndLetsTheToolComplain) {
  Json::Value result;
  EXPECT_FALSE(HvUtilLaunch(L"--test " + std::wstring(2'048, L'x'), result));
  EXPECT_EQ(CommandLine().size(), 2'047u);
  EXPECT_THAT(CommandLine(), EndsWith(L"xxx"));
}

TEST_F(ArchiveCheck, GoesOnWithTheLongPathWithoutALink) {
  machine_.PlanFault({.function = "CreateSymbolicLinkW", .from = 1, .error = 5});
  InstallToolThatSays(R"({"status": "success"})");
  EXPECT_TRUE(HvUtil_TestArchive(zipFile_, errorText_));
  EXPECT_THAT(OwnLog(), Contains(Field(&LogLine::message,
                                       StartsWith(L"HvUtilLaunch: Running: \"" + extracted_))));
}

TEST_F(ArchiveCheck, NamesAMissingInterpreter) {
  machine_.PlanFault({.function = "CreateSymbolicLinkW", .from = 1, .error = 5});
  machine_.RemoveFile(extracted_);
  EXPECT_FALSE(HvUtil_TestArchive(zipFile_, errorText_));
  EXPECT_THAT(OwnLog(),
              AllOf(Contains(ErrorLine(L"HvUtilLaunch: File not found [3]: " + extracted_ +
                                       L"\\PFiles\\Ostrel\\Rimsa\\python\\python.exe")),
                    Contains(ErrorLine(L"HvUtil_TestArchive: Failed to run hv_util.py tool."))));
}

TEST_F(ArchiveCheck, NamesAMissingTool) {
  machine_.RemoveFile(programFolder_ + L"hv_util.py");
  EXPECT_FALSE(HvUtil_CompareZipAndDir(zipFile_, folder_, errorText_));
  EXPECT_THAT(
      OwnLog(),
      AllOf(Contains(
                ErrorLine(L"HvUtilLaunch: File not found [2]: " + programFolder_ + L"hv_util.py")),
            Contains(ErrorLine(L"HvUtil_CompareZipAndDir: Failed to run hv_util.py tool."))));
}

TEST_F(ArchiveCheck, NeedsATempDirectory) {
  const std::filesystem::path log = machine_.HostPath(L"%TEMP%\\halvard.log");
  // The log itself lies in that folder, and stays open.
  const LogScope scope;
  machine_.PlanFault({.function = "GetTempPathW", .from = 1, .error = 5});
  Json::Value result;
  EXPECT_FALSE(HvUtilLaunch(L"--test \"x\"", result));
  EXPECT_THAT(Testing::ReadLog(log),
              Contains(ErrorLine(L"HvUtilLaunch: Failed to get the temp directory. Error: 5")));
}

TEST_F(ArchiveCheck, NeverTakesTheWordOfAnEarlierRun) {
  machine_.WriteFile(GetTempDirectory() + L"hv_util.json", R"({"status": "success"})");
  InstallTool("import sys\nsys.exit(0)\n");
  EXPECT_FALSE(HvUtil_TestArchive(zipFile_, errorText_));
  EXPECT_THAT(
      OwnLog(),
      Contains(ErrorLine(L"HvUtilLaunch: Failed to load JSON from the hv_util.py output file " +
                         GetTempDirectory() + L"hv_util.json.")));
}

TEST_F(ArchiveCheck, TakesTheDocumentOverTheExitCode) {
  InstallToolThatSays(R"({"status": "success"})", 7);
  EXPECT_TRUE(HvUtil_TestArchive(zipFile_, errorText_));
  EXPECT_THAT(OwnLog(), Contains(Field(&LogLine::message,
                                       StartsWith(L"HvUtilLaunch: Failed to run: \"C:\\mig"))));
}

TEST_F(ArchiveCheck, FailureWithoutAMessageLeavesTheErrorText) {
  EXPECT_FALSE(Check(R"({"status": "failed"})"));
  EXPECT_EQ(errorText_, L"as before");
  EXPECT_THAT(OwnLog(),
              AllOf(Contains(InfoLine(L"HvUtilCheckResult: status = failed")),
                    Contains(WarningLine(L"HvUtilCheckResult: No message in result JSON."))));
}

TEST_F(ArchiveCheck, EveryOtherStatusIsAFailure) {
  for (const char* status : {"\"Success\"", "\"\"", "true", "null", "[1]", "{\"a\": 1}"}) {
    errorText_.clear();
    EXPECT_FALSE(Check(std::string(R"({"message": "M\u00e4", "status": )") + status + "}"))
        << status;
    EXPECT_EQ(errorText_, L"M\u00e4");
  }
}

TEST_F(ArchiveCheck, MessagesWithoutATextAreEmpty) {
  for (const char* message : {"null", "[1]", "{\"a\": 1}"}) {
    errorText_ = L"as before";
    EXPECT_FALSE(Check(std::string(R"({"status": "failed", "message": )") + message + "}"));
    EXPECT_EQ(errorText_, L"") << message;
  }
}

TEST_F(ArchiveCheck, DocumentsWithoutAStatusAreRefused) {
  for (const char* document : {"{}", "[]", "[\"status\"]", "null", "\"status\"", "3"}) {
    machine_.RemoveFile(L"%TEMP%\\halvard.log");
    Json::Value result;
    ASSERT_TRUE(Json::Reader(Json::Features::all()).parse(document, result)) << document;
    EXPECT_FALSE(HvUtilCheckResult(result, errorText_)) << document;
    EXPECT_EQ(errorText_, L"as before");
    EXPECT_THAT(
        OwnLog(),
        Contains(ErrorLine(L"HvUtilCheckResult: Result file does not contain 'status' data.")))
        << document;
  }
}

}  // namespace
}  // namespace Halvard::Transfer
