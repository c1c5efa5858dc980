#include "runner/runner_input.h"

#include <json/json.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "core/logging.h"
#include "core/property_defaults.h"
#include "core/text.h"
#include "files/rights.h"
#include "runner_test.h"

namespace Halvard::Runner {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using Testing::ErrorLine;
using testing::Field;
using testing::HasSubstr;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::LogLine;
using testing::Not;

const std::wstring kDirectory = L"C:\\Temp \u00e4\u8a66 \U0001D4BD\\";
const std::wstring kPath = kDirectory + L"UpgradeRunnerInput.json";

class RunnerInput : public RunnerTest {
 protected:
  RunnerInput() {
    InitializeProperties();
    machine_.MakeFolder(kDirectory);
    gProperties[L"SSO_PASSWORD"] = L"top-secret";
    gProperties[L"EXPORT_DIR"] = L"D:\\out";
  }
  ~RunnerInput() override { EXPECT_THAT(NewHandles(), IsEmpty()); }

  /// Writes the file. \return The document in it.
  Json::Value Create(const std::wstring& migrationType, RunnerPhase phase) {
    gProperties[L"MIGRATION_TYPE"] = migrationType;
    EXPECT_EQ(CreateUpgradeRunnerInputFile(kDirectory, phase), kPath);
    Json::Value input;
    EXPECT_TRUE(Json::Reader().parse(machine_.ReadFile(kPath).value_or(""), input));
    return input;
  }

  /// Expects that no file comes of it. \return The errors in the log.
  std::vector<LogLine> Errors(RunnerPhase phase = RunnerPhaseRequirements) {
    EXPECT_EQ(CreateUpgradeRunnerInputFile(kDirectory, phase), L"");
    std::vector<LogLine> lines = Testing::OwnLog();
    std::erase_if(lines, [](const LogLine& line) { return line.level != 'E'; });
    return lines;
  }
};

std::vector<std::string> Names(const Json::Value& object) { return object.getMemberNames(); }

struct TypeCase {
  const wchar_t* type;
  std::vector<std::string> components;
  std::vector<std::string> sso;       ///< Members that its component has.
  std::vector<std::string> settings;  ///< Members in the export phase.
  Json::Value host;
  Json::Value port;
  Json::Value upgradeType;
};

const std::vector<std::string> kAllSettings = {"destinationPlatform", "export-folder",
                                               "infrastructure", "upgrade-type", "user-options"};
const std::vector<std::string> kAllSso = {"password", "platform", "url", "username", "version"};

const TypeCase kTypes[] = {
    {L"embedded",
     {"com.ostrel.kelvd", "com.ostrel.sso"},
     {"platform", "url", "version"},
     kAllSettings,
     "127.0.0.1",
     "443",
     "embedded"},
    {L"management",
     {"com.ostrel.kelvd"},
     {},
     kAllSettings,
     "node.example",
     Json::nullValue,
     "management"},
    {L"infrastructure",
     {"com.ostrel.sso"},
     kAllSso,
     kAllSettings,
     "127.0.0.1",
     "443",
     "infrastructure"},
    {L"tum",
     {"com.ostrel.kelvd"},
     {},
     {"destinationPlatform", "export-folder", "infrastructure", "user-options"},
     "127.0.0.1",
     "443",
     Json::nullValue},
    {L"other",
     {"com.ostrel.kelvd", "com.ostrel.sso"},
     kAllSso,
     kAllSettings,
     "127.0.0.1",
     "443",
     "other"}};

class MigrationType : public RunnerInput, public testing::WithParamInterface<TypeCase> {};

TEST_P(MigrationType, DecidesWhatTheExportPhaseIsTold) {
  gProperties[L"INFRA_NODE_ADDRESS"] = L"node.example";
  const Json::Value input = Create(GetParam().type, RunnerPhaseExport);
  const Json::Value& components = input["source-components"];
  const Json::Value& settings = input["upgrade-settings"];
  EXPECT_EQ(Names(input), (std::vector<std::string>{"source-components", "upgrade-settings"}));
  EXPECT_EQ(Names(components), GetParam().components);
  if (components.isMember("com.ostrel.sso")) {
    EXPECT_EQ(Names(components["com.ostrel.sso"][0]), GetParam().sso);
  }
  EXPECT_EQ(Names(settings), GetParam().settings);
  EXPECT_EQ(settings["infrastructure"]["host"], GetParam().host);
  EXPECT_TRUE(settings["infrastructure"].isMember("httpsPort"));
  EXPECT_EQ(settings["infrastructure"]["httpsPort"], GetParam().port);
  EXPECT_EQ(settings["upgrade-type"], GetParam().upgradeType);
}

TEST_P(MigrationType, LeavesFolderAndInfrastructureToTheExportPhase) {
  const Json::Value input = Create(GetParam().type, RunnerPhaseRequirements);
  std::vector<std::string> expected = GetParam().settings;
  std::erase(expected, "export-folder");
  std::erase(expected, "infrastructure");
  EXPECT_EQ(Names(input["upgrade-settings"]), expected);
  EXPECT_EQ(Names(input["source-components"]), GetParam().components);
  EXPECT_EQ(gProperties[L"EXPORT_DIR"].Value(), L"D:\\out");
}

INSTANTIATE_TEST_SUITE_P(Types, MigrationType, testing::ValuesIn(kTypes), [](const auto& row) {
  const std::wstring type = row.param.type;
  return std::string(type.begin(), type.end());
});

class WholeInput : public RunnerInput,
                   public testing::WithParamInterface<std::tuple<std::string, RunnerPhase>> {};

TEST_P(WholeInput, IsThatOfTypeAndPhaseToTheByte) {
  gProperties[L"KV_URL"] = L"//kelvane.example:8443";
  gProperties[L"KELVD_SA_USER"] = L".\\svc";
  gProperties[L"KELVD_SA_PASSWORD"] = L"p\u00e4ss \u8a66";
  gProperties[L"INFRA_NODE_ADDRESS"] = L"node.example";
  const auto& [type, phase] = GetParam();
  gProperties[L"MIGRATION_TYPE"] = Utf8ToWide(type);
  EXPECT_EQ(CreateUpgradeRunnerInputFile(kDirectory, phase), kPath);
  const bool isExport = phase == RunnerPhaseExport;
  std::ifstream expected(RUNNER_INPUT_FILES "/" + type +
                         (isExport ? "-export.json" : "-requirements.json"));
  EXPECT_EQ(machine_.ReadFile(kPath), std::string(std::istreambuf_iterator<char>(expected), {}));
}

INSTANTIATE_TEST_SUITE_P(
    TypesAndPhases, WholeInput,
    testing::Combine(testing::Values("embedded", "management", "infrastructure", "tum"),
                     testing::Values(RunnerPhaseRequirements, RunnerPhaseExport)),
    [](const auto& row) {
      const bool isExport = std::get<1>(row.param) == RunnerPhaseExport;
      return std::get<0>(row.param) + (isExport ? "Export" : "Requirements");
    });

TEST_F(RunnerInput, HoldsWhatThePropertiesHold) {
  gProperties[L"KV_URL"] = L"//kelvane.example:8443";
  gProperties[L"KV_SSL_THUMBPRINT"] = L"AB:CD";
  gProperties[L"KELVD_SA_USER"] = L".\\svc";
  gProperties[L"KELVD_SA_PASSWORD"] = L"p\u00e4ss \u8a66";
  const Json::Value input = Create(L"embedded", RunnerPhaseExport);
  const Json::Value& kelvd = input["source-components"]["com.ostrel.kelvd"][0];
  EXPECT_EQ(kelvd["password"], "top-secret");
  EXPECT_EQ(kelvd["platform"], "Windows");
  EXPECT_EQ(kelvd["url"], "//kelvane.example:8443");
  EXPECT_EQ(kelvd["username"], "administrator@ostrel.local");
  EXPECT_EQ(kelvd["kv.svcuser"], ".\\svc");
  EXPECT_EQ(kelvd["kv.svcuserpassword"], "p\xC3\xA4ss \xE8\xA9\xA6");
  EXPECT_EQ(kelvd["kv.thumbprint"], "AB:CD");
  EXPECT_EQ(kelvd["version"], "5.5");
  const Json::Value& settings = input["upgrade-settings"];
  EXPECT_EQ(settings["destinationPlatform"], "linux");
  EXPECT_EQ(settings["infrastructure"]["username"], "administrator@ostrel.local");
  EXPECT_EQ(settings["infrastructure"]["password"], "top-secret");
  // The client's options are a document in the document.
  EXPECT_EQ(settings["user-options"]["keldb.migrateSet"], "yes");
}

TEST_F(RunnerInput, EmptyPropertyIsNull) {
  const Json::Value input = Create(L"embedded", RunnerPhaseRequirements);
  const Json::Value& kelvd = input["source-components"]["com.ostrel.kelvd"][0];
  EXPECT_TRUE(kelvd.isMember("kv.svcuser"));
  EXPECT_TRUE(kelvd["kv.svcuser"].isNull());
}

TEST_F(RunnerInput, ManagementAsksForAPortThatNobodyWrites) {
  gProperties[L"RHTTPPROXY_EXT_PORT2"] = L"8443";
  const Json::Value input = Create(L"management", RunnerPhaseExport);
  EXPECT_TRUE(input["upgrade-settings"]["infrastructure"]["httpsPort"].isNull());
  EXPECT_EQ(gProperties.Snapshot().count(L"INFRA_NODE_HTTPS_PORT"), 1u);
}

TEST_F(RunnerInput, EachExportPhaseGoesOneFolderDeeper) {
  const auto folder = [](const Json::Value& input) {
    return input["upgrade-settings"]["export-folder"].asString();
  };
  EXPECT_EQ(folder(Create(L"embedded", RunnerPhaseExport)), "D:\\out\\export");
  EXPECT_EQ(gProperties[L"EXPORT_DIR"].Value(), L"D:\\out\\export");
  EXPECT_EQ(folder(Create(L"embedded", RunnerPhaseExport)), "D:\\out\\export\\export");
  EXPECT_EQ(gProperties[L"EXPORT_DIR"].Value(), L"D:\\out\\export\\export");
  EXPECT_THAT(Testing::OwnLog(),
              Contains(InfoLine(
                  L"CreateUpgradeRunnerInputFile: Export directory is: D:\\out\\export\\export")));
}

TEST_F(RunnerInput, ExportDirectoryMayEndInABackslashOrBeEmpty) {
  gProperties[L"EXPORT_DIR"] = L"D:\\out\\";
  (void)Create(L"embedded", RunnerPhaseExport);
  EXPECT_EQ(gProperties[L"EXPORT_DIR"].Value(), L"D:\\out\\export");
  gProperties[L"EXPORT_DIR"] = L"";
  (void)Create(L"embedded", RunnerPhaseExport);
  EXPECT_EQ(gProperties[L"EXPORT_DIR"].Value(), L"export");
}

TEST_F(RunnerInput, PlaceholderThatIsNoPropertyNameStays) {
  gProperties[L"UR_INPUT_JSON"] =
      LR"({"upgrade-settings":{"a":"[abc]","b":"[KV URL]","c":"[A]B]","d":"x[KV_URL]"}})";
  const Json::Value input = Create(L"", RunnerPhaseRequirements);
  const Json::Value& settings = input["upgrade-settings"];
  EXPECT_EQ(settings["a"], "[abc]");
  EXPECT_EQ(settings["b"], "[KV URL]");
  EXPECT_EQ(settings["c"], "[A]B]");
  EXPECT_EQ(settings["d"], "x[KV_URL]");
}

TEST_F(RunnerInput, OtherPhaseLeavesTheSettingsAlone) {
  const Json::Value input = Create(L"embedded", static_cast<RunnerPhase>(1913));
  EXPECT_EQ(Names(input["upgrade-settings"]), kAllSettings);
  EXPECT_EQ(input["upgrade-settings"]["export-folder"], "D:\\out");
}

TEST_F(RunnerInput, NoPasswordReachesTheLog) {
  gProperties[L"KELVD_SA_PASSWORD"] = L"also-secret";
  (void)Create(L"embedded", RunnerPhaseExport);
  EXPECT_THAT(Testing::OwnLog(), Each(Field(&LogLine::message, Not(HasSubstr(L"secret")))));
}

TEST_F(RunnerInput, AdmitsAdministratorsAlone) {
  (void)Create(L"embedded", RunnerPhaseRequirements);
  EXPECT_EQ(Lab::AccessListOf(machine_.HostPath(kPath)), "D:P(A;;FA;;;BA)");
}

TEST_F(RunnerInput, LeftOverFileDoesNotLendItsRights) {
  machine_.WriteFile(kPath, "planted");
  (void)Create(L"embedded", RunnerPhaseRequirements);
  EXPECT_EQ(Lab::AccessListOf(machine_.HostPath(kPath)), "D:P(A;;FA;;;BA)");
}

TEST_F(RunnerInput, LeftOverFileThatStaysGetsNoPasswords) {
  machine_.WriteFile(kPath, "planted");
  machine_.PlanFault({.function = "DeleteFileW", .match = L"UpgradeRunnerInput", .error = 5});
  EXPECT_THAT(Errors(),
              ElementsAre(ErrorLine(L"CreateUpgradeRunnerInputFile: Failed to save json to " +
                                    kPath + L" file. Error: 5")));
  EXPECT_EQ(machine_.ReadFile(kPath), "planted");
}

class BadTemplate : public RunnerInput, public testing::WithParamInterface<const wchar_t*> {};

TEST_P(BadTemplate, IsRefused) {
  gProperties[L"UR_INPUT_JSON"] = GetParam();
  EXPECT_THAT(Errors(), ElementsAre(ErrorLine(L"CreateUpgradeRunnerInputFile: UR_INPUT_JSON "
                                              L"property is not a valid json.")));
  EXPECT_FALSE(machine_.FileExists(kPath));
}

INSTANTIATE_TEST_SUITE_P(Texts, BadTemplate, testing::Values(L"", L"{", L"443", L"[]", L"\"x\""));

constexpr wchar_t kCopyLine[] =
    L"CreateUpgradeRunnerInputFile: Failed to copy the input string to buffer.";
constexpr wchar_t kBackslashLine[] =
    L"CreateUpgradeRunnerInputFile: Failed to add backslash using PathAddBackslash().";

TEST_F(RunnerInput, ExportDirectoryOf260CharactersIsNotCopied) {
  const std::wstring directory = L"D:\\" + std::wstring(257, L'x');
  gProperties[L"EXPORT_DIR"] = directory;
  EXPECT_THAT(Errors(RunnerPhaseExport), ElementsAre(ErrorLine(kCopyLine)));
  EXPECT_EQ(gProperties[L"EXPORT_DIR"].Value(), directory);
  EXPECT_FALSE(machine_.FileExists(kPath));
}

TEST_F(RunnerInput, ExportDirectoryOf259CharactersHasNoRoomForABackslash) {
  const std::wstring directory = L"D:\\" + std::wstring(256, L'x');
  gProperties[L"EXPORT_DIR"] = directory;
  EXPECT_THAT(Errors(RunnerPhaseExport), ElementsAre(ErrorLine(kBackslashLine)));
  EXPECT_EQ(gProperties[L"EXPORT_DIR"].Value(), directory);
  EXPECT_FALSE(machine_.FileExists(kPath));
}

TEST_F(RunnerInput, LongestExportDirectoriesFit) {
  for (const std::wstring& directory :
       {L"D:\\" + std::wstring(255, L'x'), L"D:\\" + std::wstring(255, L'x') + L"\\"}) {
    gProperties[L"EXPORT_DIR"] = directory;
    (void)Create(L"embedded", RunnerPhaseExport);
    EXPECT_EQ(gProperties[L"EXPORT_DIR"].Value(), L"D:\\" + std::wstring(255, L'x') + L"\\export");
  }
}

TEST_F(RunnerInput, BackslashMayFail) {
  // The log needs the function too, to find its folder; so it is open already.
  const LogScope log;
  machine_.PlanFault({.function = "PathAddBackslashW", .error = 1});
  EXPECT_THAT(Errors(RunnerPhaseExport), ElementsAre(ErrorLine(kBackslashLine)));
}

TEST_F(RunnerInput, NeedsADescriptor) {
  machine_.PlanFault({.function = "SetEntriesInAclW", .error = 8});
  EXPECT_THAT(
      Errors(),
      ElementsAre(
          ErrorLine(L"AllocateSecurityDescriptor: Unable to set security entries in ACL: 8"),
          ErrorLine(L"CreateUpgradeRunnerInputFile: Could not allocate an admin security "
                    L"descriptor.")));
  EXPECT_FALSE(machine_.FileExists(kPath));
}

TEST_F(RunnerInput, TellsOfAFileThatCannotBeWritten) {
  machine_.PlanFault({.function = "WriteFile", .error = 112});
  EXPECT_THAT(Errors(),
              ElementsAre(ErrorLine(L"CreateUpgradeRunnerInputFile: Failed to save json to " +
                                    kPath + L" file. Error: 112")));
}

TEST_F(RunnerInput, NeedsItsFolder) {
  machine_.RemoveFile(kDirectory);
  EXPECT_THAT(Errors(),
              ElementsAre(ErrorLine(L"CreateUpgradeRunnerInputFile: Failed to save json to " +
                                    kPath + L" file. Error: 3")));
}

}  // namespace
}  // namespace Halvard::Runner
