#include "runner/answer_file.h"

#include <json/json.h>

#include <string>

#include "host/unique_resource.h"
#include "runner_test.h"

namespace Halvard::Runner {
namespace {

using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using Testing::OwnLog;

class AnswerFile : public RunnerTest {
 protected:
  void Ask(const std::string& output) { machine_.WriteFile(output_, output); }

  Json::Value Written(const std::wstring& path) const {
    Json::Value document;
    EXPECT_TRUE(Json::Reader().parse(machine_.ReadFile(path).value_or(""), document));
    return document;
  }

  const std::wstring temp_ = std::wstring(Lab::Instance::kProfile) + L"\\AppData\\Local\\Temp\\";
  const std::wstring output_ = temp_ + L"UpgradeRunnerExportOutput.json";
};

TEST_F(AnswerFile, IsNamedAfterTheQuestionWithoutANameOfItsOwn) {
  Ask(R"({"question": {"id": "q\u00e4 1"}})");
  EXPECT_TRUE(CreateReplyFile("yes"));
  const std::wstring path = temp_ + L"q\u00e4 1.json";
  Json::Value expected;
  expected["answer"] = "yes";
  expected["reply_to"] = "q\u00e4 1";
  EXPECT_EQ(Written(path), expected);
  EXPECT_EQ(machine_.ReadFile(path), Json::StyledWriter().write(expected));
  // The answer's text ends in a line end.
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(InfoLine(L"CreateReplyFile: Question id: [q\u00e4 1]"),
                  InfoLine(L"CreateReplyFile: Answer is: [\"yes\"\n]"),
                  InfoLine(L"CreateReplyFile: Answer file will be created at [" + path + L"]."),
                  InfoLine(L"CreateReplyFile: Successfully created answer file [" + path + L"].")));
  EXPECT_THAT(NewHandles(), testing::IsEmpty());
}

TEST_F(AnswerFile, WithoutABackslashLiesInTheTempDirectory) {
  Ask(R"({"question": {"id": "q1", "reply_file": "my answer.txt"}})");
  EXPECT_TRUE(CreateReplyFile(true));
  EXPECT_EQ(Written(temp_ + L"my answer.txt")["reply_to"], "q1");
}

TEST_F(AnswerFile, WithABackslashIsTakenWhole) {
  machine_.MakeFolder(L"C:\\Answers");
  Ask(R"({"question": {"id": "q1", "reply_file": "C:\\Answers\\a.json"}})");
  EXPECT_TRUE(CreateReplyFile(true));
  EXPECT_EQ(Written(L"C:\\Answers\\a.json")["reply_to"], "q1");
}

TEST_F(AnswerFile, TakesTheIdAsItsNameForAnEmptyReplyFile) {
  Ask(R"({"question": {"id": 17, "reply_file": ""}})");
  EXPECT_TRUE(CreateReplyFile(true));
  EXPECT_EQ(Written(temp_ + L"17.json")["reply_to"], "17");
}

class AnyAnswer : public AnswerFile, public testing::WithParamInterface<const char*> {};

TEST_P(AnyAnswer, ReachesTheFileUnchanged) {
  Ask(R"({"question": {"id": "q1"}})");
  Json::Value answer;
  // The reader takes documents of any type only in an array.
  ASSERT_TRUE(Json::Reader().parse(std::string("[") + GetParam() + "]", answer));
  EXPECT_TRUE(CreateReplyFile(answer[0]));
  EXPECT_EQ(Written(temp_ + L"q1.json")["answer"], answer[0]);
}

INSTANTIATE_TEST_SUITE_P(Types, AnyAnswer,
                         testing::Values("null", "true", "7", "1.5", "\"text\"", "[1, \"2\"]",
                                         "{\"a\": {\"b\": []}}"));

TEST_F(AnswerFile, ReplacesAnOlderOne) {
  Ask(R"({"question": {"id": "q1"}})");
  machine_.WriteFile(temp_ + L"q1.json", std::string(10'000, 'x'));
  EXPECT_TRUE(CreateReplyFile(1));
  EXPECT_EQ(Written(temp_ + L"q1.json")["answer"], 1);
}

TEST_F(AnswerFile, NeedsTheRunnersOutput) {
  EXPECT_FALSE(CreateReplyFile(1));
  EXPECT_THAT(OwnLog(),
              ElementsAre(ErrorLine(L"CreateReplyFile: Failed to read the json file at [" +
                                    output_ + L"].")));
}

TEST_F(AnswerFile, NeedsAnOutputThatNobodyWrites) {
  Ask(R"({"question": {"id": "q1"}})");
  {
    const Host::UniqueFile runner(CreateFileW(output_.c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                              nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(runner);
    EXPECT_FALSE(CreateReplyFile(1));
  }
  // The client may ask again.
  EXPECT_TRUE(CreateReplyFile(1));
}

class NoQuestion : public AnswerFile, public testing::WithParamInterface<const char*> {};

TEST_P(NoQuestion, HasNoAnswer) {
  Ask(GetParam());
  EXPECT_FALSE(CreateReplyFile(1));
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"CreateReplyFile: Question id is empty in [" +
                                              output_ + L"] file.")));
}

INSTANTIATE_TEST_SUITE_P(Outputs, NoQuestion,
                         testing::Values("{}", "[]", R"({"question": null})",
                                         R"({"question": "id"})", R"({"question": []})",
                                         R"({"question": {}})", R"({"question": {"id": ""}})",
                                         R"({"question": {"id": null}})",
                                         R"({"question": {"id": {"x": 1}}})",
                                         R"({"question": {"id": [1]}})"));

TEST_F(AnswerFile, ThatCantBeWrittenIsAFailure) {
  Ask(R"({"question": {"id": "q1", "reply_file": "C:\\none\\a.json"}})");
  EXPECT_FALSE(CreateReplyFile(1));
  EXPECT_THAT(
      OwnLog(),
      Contains(ErrorLine(
          L"CreateReplyFile: Failed to create answer file [C:\\none\\a.json], Error: [3].")));
}

}  // namespace
}  // namespace Halvard::Runner
