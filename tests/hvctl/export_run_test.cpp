#include "export_run.h"

#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "scripted_agent.h"

namespace Hvctl {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr char kNothing[] = "null";
constexpr char kRunning[] =
    R"({"status": "running", "progress": 40, "progressMessage": {"localized": "Writing"}})";
constexpr char kDone[] = R"({"status": "success", "progress": 100})";
constexpr char kFailed[] = R"({"status": "error", "progress": 20, "error": {
    "text": {"localized": "No room."}, "resolution": {"localized": "Make some."}}})";
constexpr char kQuestion[] = R"({"status": "running", "progress": 10, "question": {
    "id": "keep", "text": {"localized": "Keep it?"}, "choices": ["yes", "no", 3], "default": "no"}})";
constexpr char kRefused[] = R"({"result": "fail", "error": "Not now."})";

class ExportRunTest : public testing::Test {
 protected:
  ExportRunTest() { agent_.Reply("invoke_export", {R"({"result": "success", "error": ""})"}); }

  void PollsGive(std::deque<std::string> documents) {
    agent_.Reply("poll_export_status", std::move(documents));
  }

  /// The failure of what is done; success for none.
  template <typename Done>
  ExitCode FailureOf(Done done) {
    try {
      done();
    } catch (const Failure& failure) {
      text_ = failure.what();
      return failure.Code();
    }
    return ExitCode::kSuccess;
  }
  ExitCode Follow() {
    return FailureOf([this] { (void)run_.Follow(); });
  }

  /// Whether the export's answers were these.
  std::vector<std::string> Answers() const {
    std::vector<std::string> answers;
    for (const Json::Value& input : agent_.InputsOf("create_answer_file")) {
      answers.push_back(WriteJson(input["answer"]));
    }
    return answers;
  }

  ScriptedAgent agent_;
  OperationInputs inputs_{UsualOptions(),
                          [](const Parameter&, const std::string&) { return "secret"; }};
  std::map<std::string, Json::Value> answers_;
  std::deque<std::string> typed_;
  std::vector<std::string> asked_;
  const Ask ask_ = [this](const std::string& prompt) -> std::optional<std::string> {
    asked_.push_back(prompt);
    if (typed_.empty()) return std::nullopt;
    const std::string line = typed_.front();
    typed_.pop_front();
    return line;
  };
  int pauses_ = 0;
  const Pause pause_ = [this](std::chrono::milliseconds time) {
    EXPECT_EQ(time.count(), 1000);
    ++pauses_;
  };
  std::ostringstream output_;
  const std::unique_ptr<MigrationView> view_ = MakeMigrationView(ProgressForm::kLines, output_);
  ExportRun run_{agent_, inputs_, answers_, ask_, pause_, *view_};
  std::string text_;
};

TEST_F(ExportRunTest, IsFollowedWithAPauseBetweenLooksUntilItsGoodEnd) {
  PollsGive({kNothing, kRunning, kRunning, kDone});
  run_.Start();
  EXPECT_EQ(Follow(), ExitCode::kSuccess);
  EXPECT_EQ(output_.str(), " 40 %  Writing\n100 %  \n");
  // The first look was that of the start.
  EXPECT_EQ(pauses_, 2);
  EXPECT_EQ(agent_.InputsOf("invoke_export").at(0)["sso_password"], "secret");
}

TEST_F(ExportRunTest, FailureTellsTheExportsOwnReason) {
  PollsGive({kRunning, kFailed});
  EXPECT_EQ(Follow(), ExitCode::kExportFailed);
  EXPECT_EQ(text_, "No room.\nResolution: Make some.");
}

TEST_F(ExportRunTest, FailureWithoutAReasonIsToldAsSuch) {
  PollsGive({R"({"status": "error"})"});
  EXPECT_EQ(Follow(), ExitCode::kExportFailed);
  EXPECT_EQ(text_, "The export has failed and gives no reason.");
}

TEST_F(ExportRunTest, DocumentOfTheRunBeforeIsNotTakenForThisOne) {
  PollsGive({kFailed, kFailed, kFailed, kNothing, kRunning, kDone});
  run_.Start();
  EXPECT_EQ(Follow(), ExitCode::kSuccess);
}

TEST_F(ExportRunTest, SameEndAsBeforeIsBelievedAfterAWhile) {
  PollsGive({kFailed});
  run_.Start();
  EXPECT_EQ(Follow(), ExitCode::kExportFailed);
  EXPECT_EQ(pauses_, 10);
}

TEST_F(ExportRunTest, SameEndAsBeforeIsBelievedOnceSomethingElseWasThere) {
  PollsGive({kFailed, kNothing, kFailed});
  run_.Start();
  EXPECT_EQ(Follow(), ExitCode::kExportFailed);
  EXPECT_EQ(pauses_, 1);
}

TEST_F(ExportRunTest, RefusedStartTellsWhy) {
  agent_.Reply("invoke_export", {kRefused});
  EXPECT_EQ(FailureOf([this] { run_.Start(); }), ExitCode::kRefused);
  EXPECT_EQ(text_, "The export doesn't start: Not now.");
}

TEST_F(ExportRunTest, RefusedLookTellsWhy) {
  PollsGive({kRunning, kRefused});
  EXPECT_EQ(Follow(), ExitCode::kRefused);
  EXPECT_EQ(text_, "The agent doesn't tell how far the export is: Not now.");
}

TEST_F(ExportRunTest, SilenceOfFiveMinutesIsAFailure) {
  PollsGive({kNothing});
  EXPECT_EQ(Follow(), ExitCode::kExportFailed);
  EXPECT_EQ(pauses_, 300);
  EXPECT_THAT(text_, HasSubstr("said nothing for five minutes"));
}

TEST_F(ExportRunTest, SameWordForTenMinutesBringsOneHintAndIsFollowedOn) {
  std::deque<std::string> looks(1500, kRunning);
  looks.push_back(kDone);
  PollsGive(looks);
  EXPECT_EQ(Follow(), ExitCode::kSuccess);
  EXPECT_THAT(output_.str(), AllOf(StartsWith(" 40 %  Writing\nThe export has said the same for "),
                                   EndsWith("with --again.\n100 %  \n")));
}

TEST_F(ExportRunTest, HintWaitsForTenMinutesWithoutAChange) {
  std::deque<std::string> looks(600, kRunning);
  looks.push_back(R"({"status": "running", "progress": 41})");
  looks.insert(looks.end(), 600, kRunning);
  looks.push_back(kDone);
  PollsGive(looks);
  EXPECT_EQ(Follow(), ExitCode::kSuccess);
  EXPECT_THAT(output_.str(), Not(HasSubstr("ten minutes")));
}

TEST_F(ExportRunTest, LostConnectionsAreTriedAgainForAMinute) {
  PollsGive({kLost, kLost, kDone});
  EXPECT_EQ(Follow(), ExitCode::kSuccess);
  EXPECT_EQ(output_.str(), "No connection. Trying again for a minute.\n100 %  \n");
  pauses_ = 0;
  PollsGive({kLost});
  EXPECT_EQ(Follow(), ExitCode::kNoConnection);
  EXPECT_EQ(pauses_, 60);
}

TEST_F(ExportRunTest, QuestionIsAnsweredOnceAsLongAsItShows) {
  answers_["keep"] = Parsed(R"({"really": true})");
  PollsGive({kQuestion, kQuestion, kRunning, kDone});
  EXPECT_EQ(Follow(), ExitCode::kSuccess);
  EXPECT_THAT(Answers(), ElementsAre(R"({"really":true})"));
  EXPECT_THAT(output_.str(), HasSubstr("Keep it? {\"really\":true}\n"));
  EXPECT_THAT(asked_, IsEmpty());
}

TEST_F(ExportRunTest, SameQuestionIsAnsweredAgainWhenItComesAgain) {
  answers_["keep"] = "yes";
  PollsGive({kQuestion, kRunning, kQuestion, kDone});
  EXPECT_EQ(Follow(), ExitCode::kSuccess);
  EXPECT_EQ(Answers().size(), 2u);
}

TEST_F(ExportRunTest, QuestionThatShowsForLongAfterItsAnswerIsAnsweredAgain) {
  answers_["keep"] = "yes";
  std::deque<std::string> documents(32, kQuestion);
  documents.push_back(kDone);
  PollsGive(documents);
  EXPECT_EQ(Follow(), ExitCode::kSuccess);
  EXPECT_EQ(Answers().size(), 2u);
}

TEST_F(ExportRunTest, PersonIsAskedUntilItIsOneOfTheChoices) {
  typed_ = {"maybe", "yes"};
  PollsGive({kQuestion, kDone});
  EXPECT_EQ(Follow(), ExitCode::kSuccess);
  EXPECT_THAT(Answers(), ElementsAre("\"yes\""));
  EXPECT_THAT(asked_, ElementsAre("Keep it? (yes, no, 3; Enter for no): ",
                                  "Keep it? (yes, no, 3; Enter for no): "));
}

TEST_F(ExportRunTest, EnterMeansTheDefaultAndANumberStaysOne) {
  typed_ = {"", "3"};
  PollsGive({kQuestion, kRunning, kQuestion, kDone});
  EXPECT_EQ(Follow(), ExitCode::kSuccess);
  EXPECT_THAT(Answers(), ElementsAre("\"no\"", "3"));
}

TEST_F(ExportRunTest, QuestionWithoutChoicesTakesAnyText) {
  typed_ = {"3"};
  PollsGive({R"({"question": {"id": "a\u001bb"}})", kDone});
  EXPECT_EQ(Follow(), ExitCode::kSuccess);
  EXPECT_THAT(Answers(), ElementsAre("\"3\""));
  EXPECT_THAT(asked_, ElementsAre("Question a b: "));
}

TEST_F(ExportRunTest, QuestionThatNobodyAnswersEndsTheWaitWithTheWayOut) {
  PollsGive({kQuestion});
  EXPECT_EQ(Follow(), ExitCode::kUnanswered);
  EXPECT_THAT(text_, HasSubstr("--answer keep=VALUE"));
  EXPECT_THAT(Answers(), IsEmpty());
}

TEST_F(ExportRunTest, RefusedAnswerIsTriedAgainTenTimes) {
  answers_["keep"] = "yes";
  agent_.Reply("create_answer_file", {kRefused, R"({"result": "success"})"});
  PollsGive({kQuestion, kQuestion, kDone});
  EXPECT_EQ(Follow(), ExitCode::kSuccess);
  EXPECT_EQ(Answers().size(), 2u);
  agent_.Reply("create_answer_file", {kRefused});
  PollsGive({kQuestion});
  EXPECT_EQ(Follow(), ExitCode::kRefused);
  EXPECT_EQ(text_, "The answer to keep isn't taken: Not now.");
  EXPECT_EQ(Answers().size(), 2u + 11u);
}

TEST_F(ExportRunTest, TakesADocumentOfAnyForm) {
  PollsGive({"[]", "7", "{}", R"({"progress": "x", "question": "y"})",
             R"({"progress": -5, "status": 3, "progressMessage": "z"})",
             R"({"progress": 1e300, "question": {"id": []}})", kDone});
  EXPECT_EQ(Follow(), ExitCode::kSuccess);
}

}  // namespace
}  // namespace Hvctl
