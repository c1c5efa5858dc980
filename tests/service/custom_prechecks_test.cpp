// A prepared document in place of the prechecks' results.
#include <optional>

#include "precheck_test.h"

namespace Halvard::MigratorSvc {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using Testing::InfoLine;
using testing::Not;
using testing::StartsWith;
using Testing::WarningLine;

class CustomPrechecks : public PrecheckOperations {
 protected:
  CustomPrechecks() { machine_.SetVariable(L"HV_CUSTOM_PRECHECKS_JSON", kPath); }

  const std::wstring kPath = L"C:\\prepared \u8a66.json";
};

TEST_F(CustomPrechecks, AreAnsweredAsTheyStandWithoutAnyCheckButTheGuards) {
  for (const char* text : {R"({"a" : 1})", "[]", "7", "\"text\"", "null", R"({"result": "fail"})",
                           R"([{"name": "x"}])"}) {
    machine_.WriteFile(kPath, text);
    Json::Value expected;
    ASSERT_TRUE(Json::Reader().parse(text, expected));
    for (const PrecheckOperation& operation : kBoth) {
      Testing::CheckCalls().clear();
      const CallResult result = Call(operation.slot, GoodRequest());
      EXPECT_EQ(result.text, Json::StyledWriter().write(expected));
      EXPECT_THAT(Testing::CheckCalls(), ElementsAre(StartsWith("ValidateKvAdminCredentials")));
      EXPECT_THAT(result.log, Contains(InfoLine(FullName(operation.name) +
                                                L": Returning prechecks from: " + kPath)));
      EXPECT_EQ(result.console, operation.slot == kInvoke ? L"" : Message(kEnglish, 1189) + L"\n");
    }
  }
}

TEST_F(CustomPrechecks, StandBehindTheGuards) {
  machine_.WriteFile(kPath, "{}");
  Json::Value request = GoodRequest();
  request["sso_password"] = "wrong";
  EXPECT_EQ(Utf8ToWide(Call(kInvoke, request).Error()), Message(kEnglish, 1098));
}

TEST_F(CustomPrechecks, ThatCannotBeReadAreNoneAndLeaveNothingInTheReply) {
  struct Row {
    std::optional<std::string> text;
    int code;
  };
  for (const Row& row : {Row{{}, 2}, Row{"", 1006}, Row{R"({"planted": 1, "sourceInfo": [)", 13},
                         Row{"no JSON", 13}, Row{R"([1, 2)", 13}}) {
    machine_.RemoveFile(kPath);
    if (row.text) machine_.WriteFile(kPath, *row.text);
    for (const PrecheckOperation& operation : kBoth) {
      const CallResult result = Call(operation.slot, GoodRequest());
      EXPECT_THAT(
          result.log,
          Contains(WarningLine(FullName(operation.name) + L": Failed to load Json from " + kPath +
                               L" file. Error code: " + std::to_wstring(row.code))));
      EXPECT_EQ(result.reply.size(), 4u) << result.text;
      EXPECT_EQ(result.reply["result"], "success");
    }
  }
}

TEST_F(CustomPrechecks, OfAnEmptyNameAreToldAndGoneOnWithout) {
  machine_.SetVariable(L"HV_CUSTOM_PRECHECKS_JSON", L"");
  for (const PrecheckOperation& operation : kBoth) {
    const CallResult result = Call(operation.slot, GoodRequest());
    EXPECT_EQ(result.reply["result"], "success");
    EXPECT_THAT(result.log, Contains(WarningLine(FullName(operation.name) +
                                                 L": GetEnvironment variable failed for "
                                                 L"'HV_CUSTOM_PRECHECKS_JSON'. Error: 0")));
  }
}

TEST_F(CustomPrechecks, OfATooLongNameAreToldAndGoneOnWithout) {
  machine_.SetVariable(L"HV_CUSTOM_PRECHECKS_JSON", L"C:\\" + std::wstring(258, L'x'));
  const CallResult result = Invoke();
  EXPECT_EQ(result.reply["result"], "success");
  EXPECT_THAT(result.log,
              Contains(WarningLine(FullName(L"InvokePreUpgrade") +
                                   L": Failed to load Json from  file. Error code: 3")));
}

TEST_F(CustomPrechecks, WithoutTheVariableAreNeverSpokenOf) {
  machine_.RemoveVariable(L"HV_CUSTOM_PRECHECKS_JSON");
  for (const Testing::LogLine& line : Invoke().log) {
    EXPECT_THAT(line.message, Not(HasSubstr(L"GetEnvironment")));
    EXPECT_THAT(line.message, Not(HasSubstr(L"load Json")));
  }
}

}  // namespace
}  // namespace Halvard::MigratorSvc
