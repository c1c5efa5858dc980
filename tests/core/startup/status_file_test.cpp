#include "core/startup/status_file.h"

#include <regex>

#include "core/json_documents.h"
#include "core/property_defaults.h"
#include "core/temp_directory.h"
#include "core/text.h"
#include "core_test.h"
#include "machine/string_tables.h"
#include "support/console_capture.h"
#include "support/zip_contents.h"

namespace Halvard {
namespace {

using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using testing::IsEmpty;
using testing::Key;
using Testing::LogLine;

class StatusFile : public CoreTest {
 protected:
  StatusFile() {
    machine_.Set("/clock/startTime", "2026-01-31T12:00:00.000Z");
    InitializeProperties();
    machine_.RemoveFile(L"%TEMP%\\halvard.log");
  }

  void Create() {
    const Testing::ConsoleCapture console;
    CreateHVStatusFile();
    console_ = console.Text();
  }

  std::string Content() const { return machine_.ReadFile(L"%TEMP%\\hv-status.json").value_or(""); }

  static std::vector<LogLine> Lines() {
    std::vector<LogLine> lines = Testing::OwnLog();
    std::erase_if(lines, [](const LogLine& line) {
      return !line.message.starts_with(L"CreateHVStatusFile: ");
    });
    return lines;
  }

  /// The one bundle in a folder. Its name tells the local time to the second.
  std::wstring BundleIn(const std::wstring& folder) const {
    std::vector<std::wstring> names = machine_.ListFolder(folder);
    std::erase_if(names, [](const std::wstring& name) {
      return !std::regex_match(name, std::wregex(LR"(Ostrel-HV-logs-2026\d{10}\.zip)"));
    });
    EXPECT_EQ(names.size(), 1u) << "in " << WideToUtf8(folder);
    return names.empty() ? L"" : names.front();
  }

  std::wstring ConsoleText(std::uint16_t id, const std::wstring& argument) const {
    std::wstring text(Lab::FindString(1033, id));
    return L"\n" + text.replace(text.find(L"[0]"), 3, argument) + L"\n";
  }

  LogLine Created() const {
    std::wstring text = Utf8ToWide(Content());
    text.pop_back();
    return InfoLine(L"CreateHVStatusFile: Created " + path_ + L" file with content: " + text);
  }

  const std::wstring path_ = GetTempDirectory() + L"hv-status.json";
  const std::wstring desktop_ = std::wstring(Lab::Instance::kProfile) + L"\\Desktop";
  std::wstring console_;
};

TEST_F(StatusFile, TellsOfASuccess) {
  gProperties[L"HV_PORT"] = L"9123";
  gProperties[L"HV_THUMBPRINT"] = L"AA:BB";
  Create();
  EXPECT_EQ(Content(),
            "{\n   \"error\" : null,\n   \"initialization\" : \"success\",\n"
            "   \"port\" : \"9123\",\n   \"thumbprint\" : \"AA:BB\"\n}\n");
  EXPECT_EQ(console_, L"");
  EXPECT_THAT(machine_.ListFolder(desktop_), IsEmpty());
  EXPECT_THAT(Lines(), ElementsAre(Created()));
  EXPECT_EQ(gProperties[L"HV_INITIALIZATION"].Value(), L"success");
}

TEST_F(StatusFile, TellsOfAFailureAndBundlesTheLogsOnTheDesktop) {
  gProperties[L"HV_INIT_ERROR"] = L"It failed: \u00e4\u6771\u4eac \"x\".";
  Create();
  EXPECT_EQ(
      Content(),
      "{\n   \"error\" : \"It failed: \\u00e4\\u6771\\u4eac \\\"x\\\".\",\n"
      "   \"initialization\" : \"fail\",\n   \"port\" : null,\n   \"thumbprint\" : null\n}\n");
  const std::wstring bundle = desktop_ + L"\\" + BundleIn(desktop_);
  EXPECT_EQ(console_, ConsoleText(1162, bundle));
  EXPECT_THAT(Testing::ReadZip(machine_.HostPath(bundle)), ElementsAre(Key("halvard.log")));
  EXPECT_THAT(Lines(), ElementsAre(Created()));
}

TEST_F(StatusFile, IsWrittenOverAnOldOne) {
  machine_.WriteFile(L"%TEMP%\\hv-status.json", std::string(1'000, 'x'));
  Create();
  EXPECT_THAT(Content(), testing::StartsWith("{\n   \"error\" : null,\n"));
  EXPECT_THAT(Content(), testing::EndsWith("\n}\n"));
}

TEST_F(StatusFile, KeepsTheTemplateForTheNextTime) {
  Create();
  gProperties[L"HV_PORT"] = L"9124";
  Create();
  EXPECT_THAT(Content(), testing::HasSubstr("\"port\" : \"9124\""));
}

TEST_F(StatusFile, ResolvesItsPlacesAsEveryDocument) {
  gProperties[L"HV_PORT"] = L"1";
  gProperties[L"HV_INIT_ERROR"] = L"{\"code\": 5}";
  Create();
  Json::Value status;
  ASSERT_TRUE(ParseJson(Content(), status));
  EXPECT_EQ(status["port"], Json::Value(true));
  EXPECT_EQ(status["error"]["code"], 5);
}

TEST_F(StatusFile, IsntWrittenBeforeThereIsATemplate) {
  gProperties[L"HV_STATUS_JSON"] = L"";
  gProperties[L"HV_INIT_ERROR"] = L"Second instance.";
  Create();
  EXPECT_FALSE(machine_.FileExists(L"%TEMP%\\hv-status.json"));
  EXPECT_THAT(machine_.ListFolder(desktop_), IsEmpty());
  EXPECT_EQ(console_, L"");
  EXPECT_THAT(Lines(), ElementsAre(ErrorLine(L"CreateHVStatusFile: HV_STATUS_JSON property is not "
                                             L"a valid json.")));
  EXPECT_EQ(gProperties[L"HV_INITIALIZATION"].Value(), L"");
}

TEST_F(StatusFile, BundleGoesToTheTempFolderWithoutADesktop) {
  gProperties[L"HV_INIT_ERROR"] = L"Failed.";
  machine_.RemoveFile(desktop_);
  Create();
  const std::wstring bundle = GetTempDirectory() + BundleIn(L"%TEMP%");
  EXPECT_EQ(console_, ConsoleText(1162, bundle));
  EXPECT_THAT(Lines(), ElementsAre(InfoLine(L"CreateHVStatusFile: Creating log zip in the temp "
                                            L"directory."),
                                   Created()));
}

TEST_F(StatusFile, IsWrittenThoughTheBundleFails) {
  gProperties[L"HV_INIT_ERROR"] = L"Failed.";
  machine_.PlanFault({.function = "CoCreateInstance", .error = 0x80040154});
  Create();
  EXPECT_EQ(console_, ConsoleText(1161, GetTempDirectory() + L"halvard.log"));
  EXPECT_THAT(Lines(), ElementsAre(ErrorLine(L"CreateHVStatusFile: Failed to create a log zip "
                                             L"bundle."),
                                   Created()));
}

TEST_F(StatusFile, ThatCannotBeWrittenIsLogged) {
  machine_.PlanFault({.function = "CreateFileW", .match = L"hv-status", .error = 5});
  Create();
  EXPECT_THAT(Lines(), ElementsAre(ErrorLine(L"CreateHVStatusFile: Failed to save json to " +
                                             path_ + L" file. Error: 5")));
}

TEST_F(StatusFile, BundleOfATimeThatCannotBeToldHasNone) {
  machine_.Set("/clock/startTime", "1605-01-01T00:00:00.000Z");
  gProperties[L"HV_INIT_ERROR"] = L"Failed.";
  Create();
  EXPECT_THAT(machine_.ListFolder(desktop_), ElementsAre(L"Ostrel-HV-logs-.zip"));
}

}  // namespace
}  // namespace Halvard
