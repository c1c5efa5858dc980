// What one request of a client for the export comes to.
#include "host/unique_resource.h"
#include "machine/machine.h"
#include "service_test.h"

namespace Halvard::MigratorSvc {
namespace {

using testing::Contains;
using testing::HasSubstr;
using Testing::InfoLine;
using Testing::WarningLine;

/// InvokeExport where no thread starts: what it has prepared is there all the same.
class ExportRequest : public ServiceTest {
 protected:
  ExportRequest() { machine_.PlanFault({.function = "CreateThread", .error = 8}); }

  CallResult Invoke(const Json::Value& further, const std::string& locale = "en") {
    gProperties[L"EXPORT_STATUS"] = L"NOT_STARTED";
    Json::Value request = GoodRequest(locale);
    for (const std::string& member : further.getMemberNames()) request[member] = further[member];
    return Call(&AsyncServiceInterface::InvokeExport, request);
  }

  const std::wstring name_ = FullName(L"InvokeExport") + L": ";
};

TEST_F(ExportRequest, WithoutOptionsTakesTheDefault) {
  gProperties[L"USER_OPTIONS"] = L"old";
  EXPECT_THAT(Invoke(Json::Value(Json::objectValue)).log,
              Contains(InfoLine(name_ + L"No user options passed. Using default value: "
                                        L"[{\"keldb.migrateSet\":\"yes\"}].")));
  EXPECT_EQ(gProperties[L"USER_OPTIONS"].Value(), L"{\"keldb.migrateSet\":\"yes\"}");
}

struct Options {
  const char* given;
  const wchar_t* stored;
};

class UserOptions : public ExportRequest, public testing::WithParamInterface<Options> {};

TEST_P(UserOptions, AreStoredAsTheirStyledTextWithItsLineEnd) {
  Json::Value further;
  ASSERT_TRUE(
      Json::Reader().parse(std::string(R"({"user_options": )") + GetParam().given + "}", further));
  const std::wstring stored = GetParam().stored;
  EXPECT_THAT(Invoke(further).log,
              Contains(InfoLine(name_ + L"User options passed: [" + stored + L"]")));
  EXPECT_EQ(gProperties[L"USER_OPTIONS"].Value(), stored);
}

INSTANTIATE_TEST_SUITE_P(
    Types, UserOptions,
    testing::Values(Options{R"({"a":{"b":1}})", L"{\n   \"a\" : {\n      \"b\" : 1\n   }\n}\n"},
                    Options{"{}", L"{}\n"}, Options{"null", L"null\n"}, Options{"true", L"true\n"},
                    Options{"7", L"7\n"}, Options{"\"text\"", L"\"text\"\n"},
                    Options{"\"{}\"", L"\"{}\"\n"}, Options{"\"\"", L"\"\"\n"},
                    Options{"[1, \"\u8a66\"]", L"[ 1, \"\\u8a66\" ]\n"}));

struct Silence {
  const char* given;  ///< Null: absent.
  bool silent;
};

class SilentExport : public ExportRequest, public testing::WithParamInterface<Silence> {};

TEST_P(SilentExport, IsAskedForByTheBooleanAloneAndNeverLasts) {
  Json::Value further(Json::objectValue);
  if (GetParam().given != nullptr) {
    ASSERT_TRUE(
        Json::Reader().parse(std::string(R"({"silent": )") + GetParam().given + "}", further));
  }
  gProperties[L"UR_SILENT_EXPORT"] = L"1";
  const CallResult result = Invoke(further);
  EXPECT_EQ(gProperties[L"UR_SILENT_EXPORT"].Value(), GetParam().silent ? L"1" : L"");
  EXPECT_THAT(result.log, Contains(InfoLine(name_ + L"Running export in silent mode."))
                              .Times(GetParam().silent ? 1 : 0));
}

INSTANTIATE_TEST_SUITE_P(Values, SilentExport,
                         testing::Values(Silence{"true", true}, Silence{"false", false},
                                         Silence{nullptr, false}, Silence{"1", false},
                                         Silence{"\"true\"", false}, Silence{"null", false},
                                         Silence{"[true]", false}, Silence{"{}", false}));

TEST_F(ExportRequest, WithoutAThreadFailsAndBlocksEveryLaterOne) {
  SpeakMachineLanguage(kGerman);
  const CallResult result = Invoke(Json::Value(Json::objectValue), "fr");
  EXPECT_TRUE(result.Failed());
  EXPECT_EQ(Utf8ToWide(result.Error()), Message(kFrench, 1070));
  EXPECT_EQ(result.console, Message(kGerman, 1195) + L"\n" + Message(kGerman, 1070) + L"\n");
  EXPECT_EQ(gProperties[L"EXPORT_STATUS"].Value(), L"RUNNING");
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(Utf8ToWide(Call(&AsyncServiceInterface::InvokeExport, GoodRequest()).Error()),
              Message(kEnglish, 1068));
  }
}

TEST_F(ExportRequest, ThatIsRefusedChangesNothing) {
  gProperties[L"USER_OPTIONS"] = L"old";
  gProperties[L"UR_SILENT_EXPORT"] = L"1";
  gProperties[L"PREUPGRADE_CHECKS_STATUS"] = L"NOT_STARTED";
  EXPECT_TRUE(Invoke(Json::Value(Json::objectValue)).Failed());
  EXPECT_EQ(gProperties[L"USER_OPTIONS"].Value(), L"old");
  EXPECT_EQ(gProperties[L"UR_SILENT_EXPORT"].Value(), L"1");
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("CreateThread"), 0u);
}

class ExportPoll : public ServiceTest {
 protected:
  CallResult Poll() { return Call(&AsyncServiceInterface::PollExportStatus, GoodRequest()); }

  const std::wstring output_ = std::wstring(Lab::Instance::kProfile) +
                               L"\\AppData\\Local\\Temp\\UpgradeRunnerExportOutput.json";
};

TEST_F(ExportPoll, IsNullBeforeTheFirstWriting) {
  const CallResult result = Poll();
  EXPECT_EQ(result.text, "null\n");
  EXPECT_EQ(result.console, L"");
}

struct Output {
  const char* title;
  std::string text;
  std::string reply;
  bool lacksStatus;
};

class RunnerOutput : public ExportPoll, public testing::WithParamInterface<Output> {};

TEST_P(RunnerOutput, IsAnsweredAsTheReaderMadeIt) {
  machine_.WriteFile(output_, GetParam().text);
  const CallResult result = Poll();
  EXPECT_EQ(result.text, GetParam().reply);
  std::wstring text = Utf8ToWide(GetParam().reply);
  // The log drops the line end at a message's end.
  text.pop_back();
  EXPECT_THAT(result.log,
              Contains(WarningLine(FullName(L"PollExportStatus") +
                                   L": UpgradeRunnerExportOutput.json content: " + text))
                  .Times(GetParam().lacksStatus ? 1 : 0));
  EXPECT_EQ(machine_.ReadFile(output_), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, RunnerOutput,
    testing::Values(
        Output{
            "Progress", R"({"status":"running","progress":{"percent":40}})",
            "{\n   \"progress\" : {\n      \"percent\" : 40\n   },\n   \"status\" : \"running\"\n}\n",
            false},
        Output{"Comment", "// why\n{\"status\":1}", "\n// why\n{\n   \"status\" : 1\n}\n", false},
        Output{"NoStatus", R"({"progress":1})", "{\n   \"progress\" : 1\n}\n", true},
        Output{"StatusInOtherCase", R"({"Status":1})", "{\n   \"Status\" : 1\n}\n", true},
        Output{"NullStatus", R"({"status":null})", "{\n   \"status\" : null\n}\n", false},
        Output{"EmptyObject", "{}", "{}\n", false}, Output{"EmptyArray", "[]", "[]\n", false},
        Output{"Array", R"(["status"])", "[ \"status\" ]\n", true},
        Output{"Text", R"("status")", "\"status\"\n", true}, Output{"Number", "7", "7\n", true},
        Output{"False", "false", "false\n", true}, Output{"Null", "null", "null\n", false},
        Output{"Empty", "", "null\n", false}, Output{"NoJson", "no JSON", "null\n", false},
        Output{"Zeros", std::string(10, '\0'), "null\n", false},
        Output{"CutInAList", R"({"status":"running","files":[1,2)",
               "{\n   \"files\" : [ 1, 2 ],\n   \"status\" : \"running\"\n}\n", false},
        Output{"CutBeforeTheStatus", R"({"files":[1],"sta)", "{\n   \"files\" : [ 1 ]\n}\n", true},
        Output{"NotUtf8", "{\"status\":\"\xff\"}", "{\n   \"status\" : \"\\ufffd\"\n}\n", false},
        Output{"TextBehind", R"({"status":1} {"status":2})", "{\n   \"status\" : 1\n}\n", false}),
    [](const auto& row) { return std::string(row.param.title); });

TEST_F(ExportPoll, IsAnsweredForEachPlaceWhereADocumentCanBeCut) {
  const std::string whole =
      R"({"status":"running","question":{"id":"q\u00e4","text":"\\\"?"},"list":[1,-2.5e3,null,true,[{}]]})";
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    machine_.WriteFile(output_, whole.substr(0, size));
    // The call itself checks that there is one answer, and that it is JSON.
    const CallResult result = Poll();
    EXPECT_EQ(result.reply.isObject(), size >= 1) << size;
  }
  EXPECT_EQ(Poll().reply["list"].size(), 5u);
}

TEST_F(ExportPoll, IsAnsweredForNestingBeyondTheReadersLimit) {
  machine_.WriteFile(output_, std::string(100'000, '['));
  // What can be answered is nested as deeply as a reader goes, too deeply for this test's own.
  std::string text;
  service_.PollExportStatus(Json::FastWriter().write(GoodRequest()), nullptr,
                            [&](const auto& output, const auto&, const auto&) { text = *output; });
  EXPECT_TRUE(text.starts_with("[\n")) << text.substr(0, 80);
  machine_.WriteFile(output_, R"({"status":"success"})");
  EXPECT_EQ(Poll().reply["status"], "success");
}

TEST_F(ExportPoll, IsNullWhileTheRunnerHasTheFileAndRightAfterwards) {
  machine_.WriteFile(output_, R"({"status":"running"})");
  {
    const Host::UniqueFile runner(CreateFileW(output_.c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                              nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(runner);
    EXPECT_EQ(Poll().text, "null\n");
  }
  EXPECT_EQ(Poll().reply["status"], "running");
}

TEST_F(ExportPoll, AnswersInEveryPhase) {
  machine_.WriteFile(output_, R"({"status":"running"})");
  for (const wchar_t* status : {L"NOT_STARTED", L"RUNNING", L"FINISHED"}) {
    gProperties[L"EXPORT_STATUS"] = status;
    gProperties[L"SSO_USERNAME"] = L"administrator@ostrel.local";
    gProperties[L"SSO_PASSWORD"] = Testing::kAcceptedPassword;
    EXPECT_EQ(Poll().reply["status"], "running");
  }
}

class AnswerRequest : public ExportPoll {
 protected:
  CallResult Answer(const Json::Value& answer, const std::string& locale = "en") {
    Json::Value request = GoodRequest(locale);
    request["answer"] = answer;
    return Call(&AsyncServiceInterface::CreateAnswerFile, request);
  }
};

TEST_F(AnswerRequest, ReachesTheFileUnchanged) {
  SpeakMachineLanguage(kGerman);
  machine_.WriteFile(output_, R"({"question": {"id": "q1", "reply_file": "C:\\a.json"}})");
  Json::Value answer;
  answer["reply"].append(Json::Value());
  answer["reply"].append(2.5);
  const CallResult result = Answer(answer, "fr");
  EXPECT_EQ(result.text, "{\n   \"error\" : \"\",\n   \"result\" : \"success\"\n}\n");
  EXPECT_EQ(result.console, Message(kGerman, 1196) + L"\n" + Message(kGerman, 1083) + L"\n");
  Json::Value written;
  ASSERT_TRUE(Json::Reader().parse(machine_.ReadFile(L"C:\\a.json").value_or(""), written));
  EXPECT_EQ(written["answer"], answer);
  EXPECT_EQ(written["reply_to"], "q1");
}

TEST_F(AnswerRequest, WithoutAnAnswerAnswersNull) {
  machine_.WriteFile(output_, R"({"question": {"id": "q1", "reply_file": "C:\\a.json"}})");
  EXPECT_FALSE(Call(&AsyncServiceInterface::CreateAnswerFile, GoodRequest()).Failed());
  EXPECT_THAT(machine_.ReadFile(L"C:\\a.json"), testing::Optional(HasSubstr("\"answer\" : null")));
}

TEST_F(AnswerRequest, FailsWhileNoQuestionIsPending) {
  SpeakMachineLanguage(kGerman);
  for (const char* output :
       {"", "{}", R"({"status": "running"})", "[]", R"({"question": {"id": )"}) {
    machine_.WriteFile(output_, output);
    const CallResult result = Answer("yes", "fr");
    EXPECT_TRUE(result.Failed());
    EXPECT_EQ(Utf8ToWide(result.Error()), Message(kFrench, 1082));
    EXPECT_EQ(result.reply.size(), 2u);
    EXPECT_EQ(result.console, Message(kGerman, 1196) + L"\n" + Message(kGerman, 1082) + L"\n");
  }
}

}  // namespace
}  // namespace Halvard::MigratorSvc
