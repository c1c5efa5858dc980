#include "core/json_documents.h"

#include "core_test.h"

namespace Halvard {
namespace {

using testing::Contains;
using testing::ElementsAre;
using Testing::InfoLine;
using Testing::OwnLog;
using Testing::WarningLine;

class JsonDocuments : public CoreTest {};

Json::Value Resolved(const char* leaf) {
  Json::Value value(leaf);
  JsonResolveProperty(value);
  return value;
}

TEST(StyledText, HasALineForEachMemberAndALineEnd) {
  Json::Value document;
  document["b"] = "\u00e4";
  document["a"] = 1;
  EXPECT_EQ(StyledText(document), L"{\n   \"a\" : 1,\n   \"b\" : \"\\u00e4\"\n}\n");
  EXPECT_EQ(StyledText(Json::Value()), L"null\n");
}

TEST(TextOrNothing, TakesWhatCanBeAText) {
  Json::Value object;
  ASSERT_TRUE(ParseJson(R"({"text": "\u00e4", "number": 7, "flag": true, "null": null,
                            "array": ["a"], "object": {"a": "b"}})",
                        object));
  EXPECT_EQ(TextOrNothing(object, "text"), "\u00e4");
  EXPECT_EQ(TextOrNothing(object, "number"), "7");
  EXPECT_EQ(TextOrNothing(object, "flag"), "true");
  for (const char* member : {"null", "array", "object", "absent"}) {
    EXPECT_EQ(TextOrNothing(object, member), "") << member;
  }
}

TEST(TextOrNothing, FindsNothingInWhatIsNoObject) {
  for (const Json::Value& value :
       {Json::Value(), Json::Value("text"), Json::Value(7), Json::Value(Json::arrayValue)}) {
    EXPECT_EQ(TextOrNothing(value, "text"), "") << value;
  }
}

TEST_F(JsonDocuments, PropertyThatHoldsANumberParsesToANumber) {
  gProperties[L"KV_HTTPS_PORT"] = L"443";
  Json::Value value;
  EXPECT_EQ(GetJsonProperty(L"KV_HTTPS_PORT", value), 0);
  EXPECT_EQ(value, Json::Value(443));
}

TEST_F(JsonDocuments, EmptyPropertyIsNoJson) {
  Json::Value value;
  EXPECT_EQ(GetJsonProperty(L"HV_STATUS_JSON", value), 1603);
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(InfoLine(L"GetJsonProperty: Property 'HV_STATUS_JSON' is not a json object"),
                  InfoLine(L"GetJsonProperty: Json was: ")));
}

TEST_F(JsonDocuments, ValueOfAPropertyThatIsNoJsonIsLogged) {
  gProperties[L"KV_URL"] = L"//127.0.0.1:443";
  Json::Value value;
  EXPECT_EQ(GetJsonProperty(L"KV_URL", value), kJsonFailure);
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"GetJsonProperty: Json was: //127.0.0.1:443")));
}

TEST_F(JsonDocuments, PrivateValueNeverReachesTheLog) {
  gPrivateProperties.insert(L"SSO_PASSWORD");
  gProperties[L"SSO_PASSWORD"] = L"s3cret";
  EXPECT_EQ(Resolved("[SSO_PASSWORD]"), Json::Value("s3cret"));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(InfoLine(L"JsonResolveProperty: Handling property SSO_PASSWORD"),
                  InfoLine(L"GetJsonProperty: Property 'SSO_PASSWORD' is not a json object"),
                  InfoLine(L"GetJsonProperty: Json was: ***"),
                  InfoLine(L"JsonResolveProperty: Substituting SSO_PASSWORD = ***")));
}

TEST_F(JsonDocuments, NumberTextResolvesToAString) {
  gProperties[L"KV_VERSION"] = L"5.5";
  EXPECT_EQ(Resolved("[KV_VERSION]"), Json::Value("5.5"));
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(L"JsonResolveProperty: Handling property KV_VERSION"),
                          InfoLine(L"JsonResolveProperty: Substituting KV_VERSION = '5.5'")));
}

TEST_F(JsonDocuments, UnsetPropertyResolvesToNull) {
  EXPECT_EQ(Resolved("[NOT_SET]"), Json::Value(Json::nullValue));
}

TEST_F(JsonDocuments, NameWithABlankStaysAsItStands) {
  EXPECT_EQ(Resolved("[KV URL]"), Json::Value("[KV URL]"));
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(L"JsonResolveProperty: Handling property KV URL"),
                          InfoLine(L"JsonResolveProperty: Ignoring private property KV URL")));
}

TEST_F(JsonDocuments, LowerCaseNameStaysAsItStands) {
  EXPECT_EQ(Resolved("[abc]"), Json::Value("[abc]"));
}

TEST_F(JsonDocuments, FirstClosingBracketHasToBeTheLastCharacter) {
  for (const char* leaf : {"[A]B]", "x[A]", "[A]x", "[", "", "A]", "[A"}) {
    EXPECT_EQ(Resolved(leaf), Json::Value(leaf)) << leaf;
  }
  EXPECT_TRUE(OwnLog().empty());
}

TEST_F(JsonDocuments, EmptyNameIsTheEmptyProperty) {
  EXPECT_EQ(Resolved("[]"), Json::Value(Json::nullValue));
}

TEST_F(JsonDocuments, JsonObjectReplacesThePlaceholder) {
  gProperties[L"USER_OPTIONS"] = L"{\"keldb.migrateSet\":\"yes\"}";
  Json::Value expected;
  expected["keldb.migrateSet"] = "yes";
  EXPECT_EQ(Resolved("[USER_OPTIONS]"), expected);
  EXPECT_THAT(
      OwnLog(),
      Contains(InfoLine(L"JsonResolveProperty: Substituting USER_OPTIONS with json object")));
}

TEST_F(JsonDocuments, JsonArrayStaysText) {
  gProperties[L"USER_OPTIONS"] = L"[1, 2]";
  EXPECT_EQ(Resolved("[USER_OPTIONS]"), Json::Value("[1, 2]"));
}

TEST_F(JsonDocuments, SubstitutedTextIsNotResolvedAgain) {
  gProperties[L"EXPORT_DIR"] = L"[HV_PORT]";
  gProperties[L"HV_PORT"] = L"9123";
  EXPECT_EQ(Resolved("[EXPORT_DIR]"), Json::Value("[HV_PORT]"));
}

struct TextCase {
  const wchar_t* text;
  Json::Value value;
};

TEST_F(JsonDocuments, TextTurnsIntoNullBooleanOrString) {
  const TextCase cases[] = {
      {L"", Json::Value(Json::nullValue)},
      {L"0", Json::Value(false)},
      {L"false", Json::Value(false)},
      {L"FALSE", Json::Value(false)},
      {L"1", Json::Value(true)},
      {L"true", Json::Value(true)},
      {L"True", Json::Value(true)},
      {L"00", Json::Value("00")},
      {L"01", Json::Value("01")},
      {L"443", Json::Value("443")},
      {L"yes", Json::Value("yes")},
      {L" true", Json::Value(" true")},
      {L"Z\u00fcrich", Json::Value("Z\xC3\xBCrich")},
  };
  for (const TextCase& row : cases) {
    gProperties[L"HV_PORT"] = row.text;
    EXPECT_EQ(Resolved("[HV_PORT]"), row.value) << Json::Value(row.value);
  }
}

TEST_F(JsonDocuments, OnlyStringsAreLeftToResolve) {
  Json::Value number(7);
  JsonResolveProperty(number);
  EXPECT_EQ(number, Json::Value(7));
}

TEST_F(JsonDocuments, PropertyNamesAreCapitalsDigitsAndUnderscores) {
  EXPECT_TRUE(IsPropertyName(L"RHTTPPROXY_EXT_PORT2"));
  EXPECT_TRUE(IsPropertyName(L""));
  EXPECT_TRUE(IsPropertyName(L"\u00c4"));
  EXPECT_FALSE(IsPropertyName(L"URExtractDirectory"));
  EXPECT_FALSE(IsPropertyName(L"A-B"));
  EXPECT_FALSE(IsPropertyName(L"\u0661"));
}

void AppendMark(Json::Value& value, void* marks) {
  static_cast<std::string*>(marks)->append(value.toStyledString());
  value = "seen";
}

TEST_F(JsonDocuments, TreeIsWalkedDepthFirstInTheOrderOfItsMembers) {
  Json::Value tree;
  ASSERT_TRUE(ParseJson(R"({"b": [1, {"c": 2}], "a": "x", "d": {}, "e": []})", tree));
  std::string seen;
  ResolveJsonTree(tree, AppendMark, &seen);
  EXPECT_EQ(seen, "\"x\"\n1\n2\n");
  Json::Value expected;
  ASSERT_TRUE(
      ParseJson(R"({"b": ["seen", {"c": "seen"}], "a": "seen", "d": {}, "e": []})", expected));
  EXPECT_EQ(tree, expected);
}

TEST_F(JsonDocuments, LeafAloneIsATree) {
  Json::Value leaf("[KV_VERSION]");
  gProperties[L"KV_VERSION"] = L"5.5";
  ResolveJsonTree(leaf, JsonResolveProperty, nullptr);
  EXPECT_EQ(leaf, Json::Value("5.5"));
}

TEST_F(JsonDocuments, ClientTextThatIsNoJsonIsReported) {
  Json::Value value;
  EXPECT_TRUE(ConvertStringToJsonObject("{\"locale\": \"de\"}", value));
  EXPECT_EQ(value["locale"], "de");
  EXPECT_TRUE(OwnLog().empty());
  EXPECT_FALSE(ConvertStringToJsonObject("{\"locale\": ", value));
  EXPECT_THAT(OwnLog(),
              ElementsAre(WarningLine(
                  L"ConvertStringToJsonObject: Failed to convert passed string to Json object.")));
}

TEST_F(JsonDocuments, NestingBeyondTheReadersLimitIsNoJson) {
  Json::Value value;
  EXPECT_FALSE(ParseJson(std::string(100'000, '['), value));
}

TEST_F(JsonDocuments, CommentsAreKept) {
  Json::Value value;
  ASSERT_TRUE(ParseJson("// why\n{\"a\": 1}\n", value));
  EXPECT_EQ(value.getComment(Json::commentBefore), "// why");
}

}  // namespace
}  // namespace Halvard
