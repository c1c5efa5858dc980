#include "krova/protocol/json/value_frames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "krova/protocol/value_text.h"

namespace Krova::Protocol::Json {
namespace {

using Data::DataType;
using Data::TypeOf;
using Data::ValueCast;
using Data::ValuePointer;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

ValuePointer Value(std::string_view text) {
  const Testing::ReadOutcome outcome = Testing::ReadValue(text);
  EXPECT_TRUE(outcome.isJson) << text;
  EXPECT_THAT(outcome.faults, IsEmpty()) << text;
  return outcome.value;
}

template <typename Kind>
std::shared_ptr<const Kind> ValueAs(std::string_view text) {
  auto value = ValueCast<Kind>(Value(text));
  if (value == nullptr) throw std::runtime_error("another kind: " + std::string(text));
  return value;
}

MessageList Faults(std::string_view text) {
  const Testing::ReadOutcome outcome = Testing::ReadValue(text);
  EXPECT_TRUE(outcome.isJson) << text;
  EXPECT_EQ(outcome.value, nullptr) << text;
  return outcome.faults;
}

BaseMessage InvalidToken(const char* word) {
  return MakeJsonProtocolMessage("krova.protocol.json.invalid.token", word);
}

std::vector<BaseMessage> InvalidTokens(std::initializer_list<const char*> words) {
  std::vector<BaseMessage> messages;
  for (const char* word : words) messages.push_back(InvalidToken(word));
  return messages;
}

TEST(ReadValue, NullIsVoid) { EXPECT_EQ(TypeOf(Value("null")), DataType::kVoid); }

TEST(ReadValue, TrueAndFalseAreBooleans) {
  EXPECT_TRUE(ValueAs<Data::BooleanValue>("true")->GetValue());
  EXPECT_FALSE(ValueAs<Data::BooleanValue>("false")->GetValue());
}

TEST(ReadValue, NumberWithoutFractionAndExponentIsAnInteger) {
  EXPECT_EQ(ValueAs<Data::IntegerValue>("0")->GetValue(), 0);
  EXPECT_EQ(ValueAs<Data::IntegerValue>("-0")->GetValue(), 0);
  EXPECT_EQ(ValueAs<Data::IntegerValue>("4294967296")->GetValue(), 4294967296);
  EXPECT_EQ(ValueAs<Data::IntegerValue>("-9223372036854775808")->GetValue(), INT64_MIN);
}

TEST(ReadValue, IntegerBeyondTheRangeStaysAnInteger) {
  EXPECT_EQ(ValueAs<Data::IntegerValue>("9223372036854775808")->GetValue(), INT64_MAX);
  EXPECT_EQ(ValueAs<Data::IntegerValue>("18446744073709551616")->GetValue(), INT64_MAX);
  EXPECT_EQ(ValueAs<Data::IntegerValue>("-18446744073709551616")->GetValue(), INT64_MIN);
}

TEST(ReadValue, OtherNumbersAreDoubles) {
  EXPECT_EQ(ValueAs<Data::DoubleValue>("0.0")->GetValue(), 0.0);
  EXPECT_EQ(ValueAs<Data::DoubleValue>("1e2")->GetValue(), 100.0);
  EXPECT_EQ(ValueAs<Data::DoubleValue>("-1.5E+3")->GetValue(), -1500.0);
  EXPECT_EQ(ValueAs<Data::DoubleValue>("0.1")->GetValue(), 0.1);
}

TEST(ReadValue, StringWithEscapes) {
  EXPECT_EQ(ValueAs<Data::StringValue>(R"("")")->GetValue(), "");
  EXPECT_EQ(ValueAs<Data::StringValue>(R"("a\"b\\\/\b\f\n\r\t")")->GetValue(), "a\"b\\/\b\f\n\r\t");
  EXPECT_EQ(ValueAs<Data::StringValue>(R"("\u0041\u00e4\u20AC\ud83d\ude00")")->GetValue(),
            "A\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
  EXPECT_EQ(ValueAs<Data::StringValue>(R"("a\u0000b")")->GetValue(), std::string("a\0b", 3));
}

TEST(ReadValue, BytesThatAreNoUtf8PassThrough) {
  EXPECT_EQ(ValueAs<Data::StringValue>("\"\xFF\x80\xC3\"")->GetValue(), "\xFF\x80\xC3");
}

TEST(ReadValue, EscapeAtEveryPlaceOfAString) {
  for (std::size_t place = 0; place < 40; ++place) {
    for (const auto& [escape, plain] : {std::pair("\\n", "\n"), std::pair("\\u20ac", "\u20ac")}) {
      const std::string before(place, 'a');
      const std::string after(40 - place, 'b');
      const std::string text = "\"" + before + escape + after + escape + after + "\"";
      ASSERT_EQ(ValueAs<Data::StringValue>(text)->GetValue(),
                before + plain + after + plain + after);
    }
  }
}

TEST(ReadValue, EmptyListAndNestedLists) {
  EXPECT_THAT(*ValueAs<Data::ListValue>("[]"), IsEmpty());
  const auto list = ValueAs<Data::ListValue>(R"([1,[2,[]],"x",{"OPTIONAL":3},[null]])");
  ASSERT_THAT(*list, SizeIs(5));
  EXPECT_EQ(Testing::WriteValue(list), R"([1,[2,[]],"x",{"OPTIONAL":3},[null]])");
}

TEST(ReadValue, BinaryIsABlob) {
  EXPECT_THAT(ValueAs<Data::BlobValue>(R"({"BINARY":"Zm8="})")->GetValue(), ElementsAre('f', 'o'));
  EXPECT_THAT(ValueAs<Data::BlobValue>(R"({"BINARY":""})")->GetValue(), IsEmpty());
}

TEST(ReadValue, BadBase64IsAFaultWithTheText) {
  for (const std::string text : {"Zg", "Z*==", "Z==="}) {
    EXPECT_THAT(Faults("{\"BINARY\":\"" + text + "\"}"),
                ElementsAre(MakeJsonProtocolMessage("krova.protocol.json.invalid.base64", text),
                            InvalidToken("endObj")));
  }
}

TEST(ReadValue, SecretIsKept) {
  EXPECT_EQ(ValueAs<Data::SecretValue>(R"({"SECRET":"pa\"ss"})")->GetValue(), "pa\"ss");
}

TEST(ReadValue, OptionalOfNullIsUnset) {
  EXPECT_FALSE(ValueAs<Data::OptionalValue>(R"({"OPTIONAL":null})")->HasValue());
}

TEST(ReadValue, OptionalOfAnUnsetValueIsUnset) {
  EXPECT_FALSE(ValueAs<Data::OptionalValue>(R"({"OPTIONAL":{}})")->HasValue());
}

TEST(ReadValue, OptionalOfAValueIsSet) {
  const auto optional = ValueAs<Data::OptionalValue>(R"({"OPTIONAL":{"OPTIONAL":"x"}})");
  ASSERT_TRUE(optional->HasValue());
  EXPECT_EQ(TypeOf(optional->GetValue()), DataType::kOptional);
}

TEST(ReadValue, StructureWithFields) {
  const auto value = ValueAs<Data::StructValue>(R"({"STRUCTURE":{"n":{"b":1,"a":"x"}}})");
  EXPECT_EQ(value->GetName(), "n");
  EXPECT_EQ(Testing::WriteValue(value), R"({"STRUCTURE":{"n":{"a":"x","b":1}}})");
}

TEST(ReadValue, StructureWithoutFields) {
  const auto value = ValueAs<Data::StructValue>(R"({"STRUCTURE":{"n":{}}})");
  EXPECT_EQ(value->GetName(), "n");
  EXPECT_TRUE(value->empty());
}

TEST(ReadValue, FieldGivenTwiceKeepsTheLastValue) {
  const auto value = ValueAs<Data::StructValue>(R"({"STRUCTURE":{"n":{"a":1,"b":2,"a":3}}})");
  EXPECT_EQ(Testing::WriteValue(value), R"({"STRUCTURE":{"n":{"a":3,"b":2}}})");
}

TEST(ReadValue, ErrorHasTheShapeOfAStructure) {
  const auto value = ValueAs<Data::ErrorValue>(R"({"ERROR":{"e":{"messages":[]}}})");
  EXPECT_EQ(value->GetName(), "e");
  EXPECT_TRUE(value->HasField("messages"));
}

TEST(ReadValue, StructuresInStructures) {
  const std::string text =
      R"({"STRUCTURE":{"a":{"x":{"STRUCTURE":{"b":{"y":[{"ERROR":{"c":{}}}]}}},"z":1}}})";
  EXPECT_EQ(Testing::WriteValue(Value(text)), text);
}

TEST(ReadValue, EmptyObjectLeavesTheValueUnset) {
  EXPECT_EQ(Value("{}"), nullptr);
  const auto list = ValueAs<Data::ListValue>("[{},1]");
  EXPECT_EQ(list->at(0), nullptr);
  const auto structure = ValueAs<Data::StructValue>(R"({"STRUCTURE":{"n":{"f":{}}}})");
  ASSERT_NE(structure->FindField("f"), nullptr);
  EXPECT_EQ(*structure->FindField("f"), nullptr);
}

TEST(ReadValue, UnknownFormIsAFaultWithTheKey) {
  for (const std::string key : {"", "binary", "STRING", "LIST", "VOID", "STRUCT_REF", "_UNKNOWN",
                                "OPAQUE", "DYNAMIC_STRUCTURE"}) {
    EXPECT_THAT(Faults("{\"" + key + "\":1}"),
                ElementsAre(MakeJsonProtocolMessage("krova.protocol.json.invalid.type", key),
                            InvalidToken("long"), InvalidToken("endObj")));
  }
}

TEST(ReadValue, SecondKeyOfAWrapperIsABadString) {
  for (const std::string wrapper : {R"("BINARY":"")", R"("SECRET":"")", R"("OPTIONAL":1)",
                                    R"("STRUCTURE":{"n":{}})", R"("ERROR":{"n":{}})"}) {
    EXPECT_EQ(Faults("{" + wrapper + ",\"BINARY\":null}"),
              InvalidTokens({"string", "null", "endObj"}))
        << wrapper;
  }
}

TEST(ReadValue, SecondNameIsABadString) {
  EXPECT_EQ(Faults(R"({"STRUCTURE":{"n":{},"m":{}}})"),
            InvalidTokens({"string", "startObj", "endObj", "endObj", "endObj"}));
}

TEST(ReadValue, StructureWithoutANameIsABadEndOfObject) {
  EXPECT_EQ(Faults(R"({"STRUCTURE":{}})"), InvalidTokens({"endObj", "endObj"}));
  EXPECT_EQ(Faults(R"({"ERROR":{}})"), InvalidTokens({"endObj", "endObj"}));
}

struct BadToken {
  const char* token;
  const char* word;
};
constexpr BadToken kBadTokens[] = {{"null", "null"},  {"true", "bool"},    {"1", "long"},
                                   {"1.5", "double"}, {"\"x\"", "string"}, {"[]", "startArray"},
                                   {"{}", "startObj"}};

/// Where only one kind of token is accepted, all others are faults.
void ExpectOnly(const std::string& before, const std::string& after, const char* acceptedWord) {
  for (const BadToken& bad : kBadTokens) {
    if (bad.word == std::string(acceptedWord)) continue;
    const MessageList faults = Faults(before + bad.token + after);
    ASSERT_FALSE(faults.empty()) << before << bad.token;
    EXPECT_EQ(faults.front(), InvalidToken(bad.word)) << before << bad.token;
  }
}

TEST(ReadValue, WrappersTakeOneKindOfTokenOnly) {
  ExpectOnly(R"({"BINARY":)", "}", "string");
  ExpectOnly(R"({"SECRET":)", "}", "string");
  ExpectOnly(R"({"STRUCTURE":)", "}", "startObj");
  ExpectOnly(R"({"ERROR":)", "}", "startObj");
  ExpectOnly(R"({"STRUCTURE":{"n":)", "}}", "startObj");
  ExpectOnly(R"({"ERROR":{"n":)", "}}", "startObj");
}

TEST(ReadValue, EachTokenAfterAFaultIsReported) {
  EXPECT_EQ(Faults(R"([1,{"SECRET":null},[true,1.5,"s"],{"OPTIONAL":[]}])"),
            InvalidTokens({"null", "endObj", "startArray", "bool", "double", "string", "endArray",
                           "startObj", "string", "startArray", "endArray", "endObj", "endArray"}));
}

}  // namespace
}  // namespace Krova::Protocol::Json
