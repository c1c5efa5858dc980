#include "reply_view.h"

#include <gtest/gtest.h>

namespace Hvctl {
namespace {

constexpr char kPrechecks[] = R"({
  "error": "", "result": "success",
  "sourceInfo": {
    "deploymentType": "embedded", "sourceVersion": "5.5",
    "inventoryInfo": {"hostCount": 3, "vmCount": 14, "deploymentSize": "Tiny"}
  },
  "componentRequirements": )";

std::string Prechecks(const std::string& components) { return kPrechecks + components + "}"; }

std::string TableOf(const std::string& components) {
  const std::string output = ViewReply("invoke_pre_upgrade", Prechecks(components)).output;
  const std::string source = "Source: embedded 5.5, 3 hosts, 14 virtual machines, size Tiny\n\n";
  EXPECT_EQ(output.substr(0, source.size()), source);
  return output.substr(source.size());
}

TEST(ReplyView, ShowsFindingsAsATable) {
  EXPECT_EQ(TableOf(R"([
    {"name": "com.ostrel.keldb", "requirements": {"requirementMismatchSpecs": [
      {"severity": "ERROR", "description": {"localized": "Too old."},
       "resolution": {"localized": "Update it.\nThen restart."}}]}},
    {"name": "com.\u00e4", "requirements": {"requirementMismatchSpecs": [
      {"severity": "INFO", "description": {"localized": ""}, "text": {"localized": "\u8a66"}},
      {"description": {"localized": "Two\nlines"}, "resolution": {"localized": ""}}]}}
  ])"),
            "Severity  Component         Finding\n"
            "ERROR     com.ostrel.keldb  Too old.\n"
            "                            Resolution: Update it.\n"
            "                            Then restart.\n"
            "WARNING   com.\u00e4             \u8a66\n"
            "WARNING   com.\u00e4             Two\n"
            "                            lines\n"
            "\n"
            "1 error, 2 warnings\n");
}

TEST(ReplyView, SaysThatThereAreNoFindings) {
  for (const char* components :
       {"[]", "null", "{}", "7", R"(["text", null, [], {}])", R"([{"requirements": []}])",
        R"([{"requirements": {"requirementMismatchSpecs": {}}}])",
        R"([{"name": 7, "requirements": {"requirementMismatchSpecs": []}}])"}) {
    EXPECT_EQ(TableOf(components), "No findings.\n") << components;
  }
}

TEST(ReplyView, TakesAFindingOfAnyForm) {
  EXPECT_EQ(
      TableOf(
          R"([{"name": [], "requirements": {"requirementMismatchSpecs": [7, {"severity": 1}]}}])"),
      "Severity  Component  Finding\n"
      "WARNING\n"
      "WARNING\n"
      "\n"
      "0 errors, 2 warnings\n");
}

TEST(ReplyView, LetsNoFindingCommandTheTerminal) {
  const std::string table = TableOf(
      R"([{"name": "n", "requirements": {"requirementMismatchSpecs": [
        {"description": {"localized": "a\u001b[2Jb\r\u007fc"}}]}}])");
  EXPECT_NE(table.find("a [2Jb  c"), std::string::npos) << table;
}

TEST(ReplyView, ShowsPrechecksInAnotherFormAsTheyStand) {
  for (const char* operation : {"invoke_pre_upgrade", "get_cached_pre_upgrade_result"}) {
    for (const char* reply : {"[1]\n", "null\n", "no JSON", R"({"result": "fail"})",
                              R"({"sourceInfo": {}})", R"({"componentRequirements": []})"}) {
      EXPECT_EQ(ViewReply(operation, reply).output, reply);
      EXPECT_EQ(ViewReply(operation, reply).note, "");
    }
  }
}

TEST(ReplyView, OfASourceWithoutMembersSaysSo) {
  EXPECT_EQ(ViewReply("get_cached_pre_upgrade_result",
                      R"({"sourceInfo": 7, "componentRequirements": []})")
                .output,
            "Source:  , ? hosts, ? virtual machines\n\nNo findings.\n");
}

TEST(ReplyView, NotesThatTheExportSaysNothing) {
  const ReplyView view = ViewReply("poll_export_status", "null\n");
  EXPECT_EQ(view.output, "null\n");
  EXPECT_EQ(view.note, "The export has written nothing yet, or is writing at this moment.");
}

TEST(ReplyView, NotesTheQuestionOfAnExport) {
  const std::string reply = R"({"question": {"id": "q\u001b\u00e4"}, "status": "waiting"})";
  const ReplyView view = ViewReply("poll_export_status", reply);
  EXPECT_EQ(view.output, reply);
  EXPECT_EQ(view.note,
            "The export waits for an answer to the question \"q\\u001b\u00e4\": hvctl answer "
            "--answer JSON");
}

TEST(ReplyView, ShowsAnyOtherDocumentOfTheExportAsItStands) {
  for (const char* reply :
       {"{}", "[]", "7", R"({"status": "running"})", R"({"question": {"id": ""}})",
        R"({"question": "id"})", R"({"question": {"id": {}}})"}) {
    EXPECT_EQ(ViewReply("poll_export_status", reply).output, reply);
    EXPECT_EQ(ViewReply("poll_export_status", reply).note, "") << reply;
  }
}

TEST(ReplyView, OfOtherOperationsIsTheReply) {
  EXPECT_EQ(ViewReply("invoke_export", "null").output, "null");
  EXPECT_EQ(ViewReply("invoke_export", "null").note, "");
}

}  // namespace
}  // namespace Hvctl
