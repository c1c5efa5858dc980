// What no well-behaved client sends. Every call gets its one answer.
#include "service_test.h"

namespace Halvard::MigratorSvc {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using Testing::InfoLine;
using testing::StartsWith;
using Testing::WarningLine;

constexpr char kUnreadableReply[] =
    "{\n   \"error\" : \"Internal error. Failed to convert input string to Json object.\",\n"
    "   \"result\" : \"fail\"\n}\n";

class OddInput : public ServiceTest {
 protected:
  /// The text to each operation.
  template <typename Check>
  void SendToAll(const std::string& input, const Check& check) {
    for (const KnownOperation& operation : kOperations) {
      SCOPED_TRACE(operation.id + std::string(": ") + input.substr(0, 60));
      check(operation, CallWithText(operation.slot, input));
    }
  }

  static std::string Nested(std::size_t depth, const std::string& inner = "") {
    return std::string(depth, '[') + inner + std::string(depth, ']');
  }
};

TEST_F(OddInput, TextThatIsNoJsonIsRefusedByEachOperationAndTouchesNothing) {
  gProperties[L"MC_LOCALE"] = L"fr";
  gProperties[L"SSO_USERNAME"] = L"a@b.c";
  for (const std::string input : {"", " ", "{", "{\"locale\":\"de\"", "locale", "{'locale':'de'}",
                                  "\xff\xfe", "{\"locale\"}", "[1,", "// only a comment"}) {
    SendToAll(input, [](const KnownOperation& operation, const CallResult& result) {
      EXPECT_EQ(result.text, kUnreadableReply);
      EXPECT_EQ(result.console, L"");
      EXPECT_THAT(result.log,
                  ElementsAre(InfoLine(L"Entering function: " + FullName(operation.name)),
                              WarningLine(L"ConvertStringToJsonObject: Failed to convert passed "
                                          L"string to Json object."),
                              InfoLine(L"Leaving function: " + FullName(operation.name))));
    });
  }
  EXPECT_EQ(gProperties[L"MC_LOCALE"].Value(), L"fr");
  EXPECT_EQ(gProperties[L"SSO_USERNAME"].Value(), L"a@b.c");
}

TEST_F(OddInput, NestingBeyondTheReadersLimitIsNoJson) {
  for (const std::string& input :
       {Nested(1001), Nested(100000), "{\"locale\":" + Nested(1200) + "}",
        "{\"sso_username\":" + std::string(5000, '[') + "}"}) {
    SendToAll(input, [](const KnownOperation&, const CallResult& result) {
      EXPECT_EQ(result.text, kUnreadableReply);
    });
  }
}

TEST_F(OddInput, DocumentThatIsNoObjectIsRefusedLikeOneThatIsNoJson) {
  gProperties[L"MC_LOCALE"] = L"fr";
  for (const std::string input :
       {"[]", "[{\"locale\":\"de\"}]", "7", "-1.5e300", "\"{}\"", "true", "false"}) {
    SendToAll(input, [](const KnownOperation& operation, const CallResult& result) {
      EXPECT_EQ(result.text, kUnreadableReply);
      EXPECT_EQ(result.console, L"");
      EXPECT_THAT(
          result.log,
          Contains(Field(
              &Testing::LogLine::message,
              StartsWith(FullName(operation.name) +
                         L": The request, or the Upgrade Runner's output, can't be read: "))));
    });
  }
  SendToAll(Nested(900), [](const KnownOperation&, const CallResult& result) {
    EXPECT_EQ(result.text, kUnreadableReply);
  });
  EXPECT_EQ(gProperties[L"MC_LOCALE"].Value(), L"fr");
}

TEST_F(OddInput, LocaleWithoutATextIsRefusedBeforeAnyGuard) {
  for (const std::string locale : {"{}", "[]", "{\"a\":1}", "[\"de\"]"}) {
    SendToAll("{\"locale\":" + locale + "}", [](const KnownOperation&, const CallResult& result) {
      EXPECT_EQ(result.text, kUnreadableReply);
      EXPECT_EQ(result.console, L"");
    });
  }
  EXPECT_THAT(Testing::CheckCalls(), testing::IsEmpty());
}

TEST_F(OddInput, CredentialsWithoutATextAreRefusedByTheGuardThatReadsThem) {
  gProperties[L"EXPORT_STATUS"] = L"FINISHED";
  gProperties[L"EXPORT_RESULT"] = L"SUCCESS";
  for (const char* member : {"sso_username", "sso_password"}) {
    for (const Json::ValueType type : {Json::objectValue, Json::arrayValue}) {
      Json::Value request = GoodRequest();
      request[member] = Json::Value(type);
      SendToAll(Json::FastWriter().write(request),
                [](const KnownOperation&, const CallResult& result) {
                  EXPECT_EQ(result.text, kUnreadableReply);
                });
    }
  }
}

TEST_F(OddInput, NullDocumentAndNullMembersAreAbsentOnes) {
  for (const std::string input :
       {"null", "{}", "{\"locale\":null,\"sso_username\":null,\"sso_password\":null}"}) {
    const CallResult result = CallWithText(&AsyncServiceInterface::PollExportStatus, input);
    EXPECT_EQ(Utf8ToWide(result.Error()), Message(kEnglish, 1096));
    EXPECT_EQ(gProperties[L"MC_LOCALE"].Value(), L"en");
  }
}

TEST_F(OddInput, NumbersAndBooleansAreReadAsTheirText) {
  gProperties[L"EXPORT_STATUS"] = L"RUNNING";
  gProperties[L"SSO_USERNAME"] = L"42";
  gProperties[L"SSO_PASSWORD"] = L"true";
  const CallResult result =
      CallWithText(&AsyncServiceInterface::PollExportStatus,
                   "{\"locale\":1033,\"sso_username\":42,\"sso_password\":true}");
  EXPECT_EQ(result.text, "null\n");
  EXPECT_THAT(result.log,
              Contains(WarningLine(L"SetMCLocale: Client locale: 1033 is not supported.")));
}

TEST_F(OddInput, OfMembersOfOneNameTheLastCounts) {
  const CallResult result = CallWithText(
      &AsyncServiceInterface::PollExportStatus,
      "{\"locale\":\"fr\",\"sso_username\":\"\",\"locale\":\"de\",\"sso_username\":\"a@b.c\","
      "\"sso_password\":\"wrong\"}");
  EXPECT_EQ(Utf8ToWide(result.Error()), Message(kGerman, 1098));
}

TEST_F(OddInput, CommentsAreNoFault) {
  const CallResult result =
      CallWithText(&AsyncServiceInterface::PollExportStatus,
                   "/* who asks */ {\"locale\":\"de\" // German\n} // no more");
  EXPECT_EQ(Utf8ToWide(result.Error()), Message(kGerman, 1096));
}

TEST_F(OddInput, TextBehindTheDocumentIsIgnored) {
  const CallResult result =
      CallWithText(&AsyncServiceInterface::PollExportStatus, "{\"locale\":\"de\"} and more");
  EXPECT_EQ(Utf8ToWide(result.Error()), Message(kGerman, 1096));
}

TEST_F(OddInput, BytesThatAreNoUtf8BecomeReplacementCharacters) {
  const CallResult result =
      CallWithText(&AsyncServiceInterface::PollExportStatus,
                   "{\"locale\":\"\xff\",\"sso_username\":\"\xc3\",\"sso_password\":\"\xe4\"}");
  EXPECT_EQ(Utf8ToWide(result.Error()), Message(kEnglish, 1098));
  EXPECT_THAT(result.log,
              Contains(WarningLine(L"SetMCLocale: Client locale: \ufffd is not supported.")));
  EXPECT_THAT(Testing::CheckCalls(),
              ElementsAre("ValidateKvAdminCredentials(localhost, 443, , , \ufffd)"));
}

TEST_F(OddInput, EmbeddedNulEndsNoText) {
  const CallResult result =
      CallWithText(&AsyncServiceInterface::PollExportStatus,
                   "{\"locale\":\"de\\u0000\",\"sso_username\":\"a@b.c\",\"sso_password\":\"" +
                       AcceptedPassword() + "\\u0000x\"}");
  // "de" and a NUL is another name than "de", and so it is with the password.
  EXPECT_EQ(Utf8ToWide(result.Error()), Message(kEnglish, 1098));
}

TEST_F(OddInput, LineEndsOfAClientStandInTheLogAsTheyCame) {
  const std::string line = "2026-01-31 12:00:00.123Z| halvard-14510545| I: made up";
  (void)Call(&AsyncServiceInterface::PollExportStatus, GoodRequest("fr\n" + line + "\nfr"));
  EXPECT_THAT(machine_.ReadFile(L"%TEMP%\\halvard.log"),
              testing::Optional(testing::HasSubstr("\n" + line + "\n")));
}

TEST_F(OddInput, HugeMembersAreRead) {
  const std::string huge(4'000'000, 'x');
  const CallResult result =
      CallWithText(&AsyncServiceInterface::PollExportStatus,
                   "{\"locale\":\"" + huge + "\",\"sso_username\":\"" + huge +
                       "\",\"sso_password\":\"" + huge + "\",\"more\":" + Nested(800) + "}");
  EXPECT_EQ(Utf8ToWide(result.Error()), Message(kEnglish, 1098));
}

TEST_F(OddInput, MemberThatNobodyKnowsIsIgnored) {
  Json::Value request = GoodRequest();
  request["nonsense"]["a"][3] = 1;
  EXPECT_EQ(Call(&AsyncServiceInterface::PollExportStatus, request).text, "null\n");
}

}  // namespace
}  // namespace Halvard::MigratorSvc
