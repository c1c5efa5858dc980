// An export from the client's first call to its end, with a runner that is a process of its own.
#include <atomic>
#include <thread>

#include "core/property_defaults.h"
#include "service_test.h"
#include "support/machine_processes.h"
#include "support/scripted_runner.h"
#include "support/started_threads.h"

namespace Halvard::MigratorSvc {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Testing::Step;

class ExportOperations : public ServiceTest {
 protected:
  ExportOperations() {
    InitializeProperties();
    StartSession();
    gProperties[L"MC_LOCALE"] = L"en";
    gProperties[L"URExtractDirectory"] = Testing::ScriptedRunner::kFolder;
  }
  ~ExportOperations() override {
    threads_.AwaitEnd();
    EXPECT_THAT(Lab::ProcessesOf(machine_), IsEmpty());
  }

  CallResult Invoke(const Json::Value& further = Json::Value(Json::objectValue)) {
    Json::Value request = GoodRequest();
    for (const std::string& member : further.getMemberNames()) request[member] = further[member];
    return Call(&AsyncServiceInterface::InvokeExport, request);
  }
  CallResult Poll() { return Call(&AsyncServiceInterface::PollExportStatus, GoodRequest()); }
  CallResult Answer(const Json::Value& answer) {
    Json::Value request = GoodRequest();
    request["answer"] = answer;
    return Call(&AsyncServiceInterface::CreateAnswerFile, request);
  }

  /// An export to its end.
  void Export(const std::vector<Json::Value>& steps) {
    runner_.OrderExport(steps);
    ASSERT_EQ(Invoke().reply["result"], "success");
    threads_.AwaitEnd();
  }

  /// The three phase properties, as "prechecks/export/result".
  static std::string Phases() {
    return WideToUtf8(gProperties[L"PREUPGRADE_CHECKS_STATUS"].Value() + L"/" +
                      gProperties[L"EXPORT_STATUS"].Value() + L"/" +
                      gProperties[L"EXPORT_RESULT"].Value());
  }

  const Lab::StartedThreads threads_;
  Testing::ScriptedRunner runner_{machine_};
};

constexpr char kExportSuccess[] = R"({"status": "success"})";
constexpr char kError[] = R"({"status": "error"})";

TEST_F(ExportOperations, ExportIsStartedFollowedQuestionedAnsweredAndEnded) {
  SpeakMachineLanguage(kGerman);
  runner_.OrderExport(
      {Step("tell", "started"), Step("wait", "1"), Step("write", R"({"status": "running"})"),
       Step("tell", "2"), Step("wait", "3"),
       Step("write",
            R"({"question": {"id": "q1", "reply_file": "answer.json"}, "status": "waiting"})"),
       Step("tell", "4"), Step("wait", "answer.json"), Step("write", kExportSuccess)});
  const CallResult started = Invoke();
  EXPECT_EQ(started.text, "{\n   \"error\" : \"\",\n   \"result\" : \"success\"\n}\n");
  EXPECT_EQ(started.console, Message(kGerman, 1195) + L"\n" + Message(kGerman, 1069) + L"\n");
  runner_.WaitFor(L"started");
  EXPECT_EQ(Poll().text, "null\n");
  EXPECT_TRUE(Answer("too early").Failed());
  runner_.Tell(L"1");
  runner_.WaitFor(L"2");
  EXPECT_EQ(Poll().reply["status"], "running");
  runner_.Tell(L"3");
  runner_.WaitFor(L"4");
  EXPECT_EQ(Poll().reply["question"]["id"], "q1");
  EXPECT_FALSE(Answer("yes").Failed());
  threads_.AwaitEnd();
  EXPECT_THAT(runner_.Read(L"answer.json"), HasSubstr("\"answer\" : \"yes\""));
  EXPECT_EQ(Poll().reply["status"], "success");
  EXPECT_EQ(Phases(), "FINISHED/FINISHED/SUCCESS");
}

TEST_F(ExportOperations, CredentialsAreComparedWhileItRunsAndAfterItHasSucceeded) {
  runner_.OrderExport(
      {Step("tell", "started"), Step("wait", "go on"), Step("write", kExportSuccess)});
  (void)Invoke();
  runner_.WaitFor(L"started");
  Testing::CheckCalls().clear();
  (void)Poll();
  runner_.Tell(L"go on");
  threads_.AwaitEnd();
  EXPECT_EQ(Poll().reply["status"], "success");
  EXPECT_THAT(Testing::CheckCalls(), IsEmpty());
}

TEST_F(ExportOperations, CredentialsAreValidatedAgainAfterItHasFailed) {
  Export({Step("write", kError), Step("exit", 1)});
  EXPECT_EQ(Phases(), "FINISHED/FINISHED/FAIL");
  Testing::CheckCalls().clear();
  EXPECT_EQ(Poll().reply["status"], "error");
  EXPECT_THAT(Testing::CheckCalls(),
              ElementsAre(testing::StartsWith("ValidateKvAdminCredentials")));
}

TEST_F(ExportOperations, SecondOneIsRefusedOnlyWhileTheFirstRuns) {
  runner_.OrderExport(
      {Step("tell", "started"), Step("wait", "go on"), Step("write", kExportSuccess)});
  (void)Invoke();
  runner_.WaitFor(L"started");
  EXPECT_EQ(Utf8ToWide(Invoke().Error()), Message(kEnglish, 1068));
  runner_.Tell(L"go on");
  threads_.AwaitEnd();
  Export({Step("write", kError), Step("exit", 1)});
  EXPECT_EQ(Poll().reply["status"], "error");
  Export({Step("write", kExportSuccess)});
  EXPECT_EQ(Phases(), "FINISHED/FINISHED/SUCCESS");
  // Each run has put one more folder behind the other.
  EXPECT_TRUE(gProperties[L"EXPORT_DIR"].Value().ends_with(L"\\export\\export\\export"));
}

TEST_F(ExportOperations, SilenceLastsForOneExport) {
  Json::Value silent;
  silent["silent"] = true;
  runner_.OrderExport({Step("arguments", "first")});
  (void)Invoke(silent);
  threads_.AwaitEnd();
  runner_.OrderExport({Step("arguments", "second")});
  (void)Invoke();
  threads_.AwaitEnd();
  EXPECT_THAT(runner_.Read(L"first"), HasSubstr("\"--silent\""));
  EXPECT_THAT(runner_.Read(L"second"), Not(HasSubstr("--silent")));
}

struct PassedOptions {
  const char* given;   ///< Null: none.
  const char* member;  ///< As the runner reads it, compact.
};

class OptionsOfTheRunner : public ExportOperations,
                           public testing::WithParamInterface<PassedOptions> {};

TEST_P(OptionsOfTheRunner, AreAnObjectOrATextWithItsLineEnd) {
  Json::Value further(Json::objectValue);
  if (GetParam().given != nullptr) {
    ASSERT_TRUE(Json::Reader().parse(std::string(R"({"user_options": )") + GetParam().given + "}",
                                     further));
  }
  runner_.OrderExport({Step("keep", "input")});
  (void)Invoke(further);
  threads_.AwaitEnd();
  Json::Value input;
  ASSERT_TRUE(Json::Reader().parse(runner_.Read(L"input"), input));
  EXPECT_EQ(Json::FastWriter().write(input["upgrade-settings"]["user-options"]),
            std::string(GetParam().member) + "\n");
}

INSTANTIATE_TEST_SUITE_P(Values, OptionsOfTheRunner,
                         testing::Values(PassedOptions{nullptr, R"({"keldb.migrateSet":"yes"})"},
                                         PassedOptions{R"({"a":{"b":[1,"[SSO_PASSWORD]"]}})",
                                                       R"({"a":{"b":[1,"[SSO_PASSWORD]"]}})"},
                                         PassedOptions{"\"text\"", R"("\"text\"\n")"},
                                         PassedOptions{"true", R"("true\n")"},
                                         PassedOptions{"null", R"("null\n")"}));

TEST_F(ExportOperations, PollsOfManyThreadsAreAllAnsweredWhileTheRunnerWrites) {
  std::string list;
  for (int i = 0; i < 400; ++i) list += (i == 0 ? "" : ",") + std::to_string(i);
  const std::string document = R"({"list": [)" + list + R"(], "status": "running"})";
  runner_.OrderExport(
      {Step("tell", "started"), Step("rewrite", document, "stop"), Step("write", kExportSuccess)});
  (void)Invoke();
  runner_.WaitFor(L"started");
  constexpr int kPolls = 150;
  const std::string request = Json::FastWriter().write(GoodRequest());
  std::atomic<int> answers = 0;
  std::vector<std::thread> clients;
  for (int i = 0; i < 3; ++i) {
    clients.emplace_back([&] {
      for (int poll = 0; poll < kPolls; ++poll) {
        service_.PollExportStatus(
            request, nullptr,
            [&](const std::optional<std::string>& output, const auto& error, const auto&) {
              Json::Value reply;
              EXPECT_EQ(error, nullptr);
              EXPECT_TRUE(Json::Reader().parse(output.value_or(""), reply));
              EXPECT_TRUE(reply.isNull() || reply.isObject()) << output.value_or("");
              EXPECT_NE(reply.get("result", ""), "fail");
              ++answers;
            });
      }
    });
  }
  for (std::thread& client : clients) client.join();
  EXPECT_EQ(answers, 3 * kPolls);
  runner_.Tell(L"stop");
  threads_.AwaitEnd();
  EXPECT_EQ(Poll().reply["status"], "success");
  EXPECT_EQ(Phases(), "FINISHED/FINISHED/SUCCESS");
}

TEST_F(ExportOperations, PasswordsStayOutOfLogsAnswersAndLeftFiles) {
  gProperties[L"SSO_PASSWORD"] = L"";
  runner_.OrderExport({Step("keep", "input"), Step("write", kExportSuccess)});
  const CallResult result = Invoke();
  threads_.AwaitEnd();
  EXPECT_THAT(runner_.Read(L"input"), HasSubstr("right \\u00e4"));
  runner_.Remove(L"input");
  EXPECT_THAT(result.text, Not(HasSubstr("right ")));
  for (const wchar_t* name : {L"%TEMP%\\halvard.log", L"%TEMP%\\UpgradeRunnerInput.json",
                              L"%TEMP%\\UpgradeRunnerExportOutput.json"}) {
    EXPECT_THAT(machine_.ReadFile(name).value_or(""), Not(HasSubstr("right "))) << WideToUtf8(name);
  }
}

}  // namespace
}  // namespace Halvard::MigratorSvc
