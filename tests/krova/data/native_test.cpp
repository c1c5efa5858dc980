#include "krova/data/native.h"

#include <cmath>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "krova/data/struct_reader.h"
#include "krova/make_values.h"

namespace Krova::Data {
namespace {

using namespace Krova::Testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Bytes = std::vector<std::uint8_t>;

template <typename Mode, typename Target>
void ExpectNative(const ValuePointer& value, const Target& expected) {
  Target target{};
  MessageList errors;
  EXPECT_TRUE(DataValueHelper::ToNative<Mode>(value, target, errors));
  EXPECT_EQ(target, expected);
  EXPECT_THAT(errors, IsEmpty());
}

template <typename Mode, typename Target, typename... Args>
void ExpectBadCast(const ValuePointer& value, const Target& before, Args... args) {
  Target target = before;
  MessageList errors;
  EXPECT_FALSE(DataValueHelper::ToNative<Mode>(value, target, errors));
  EXPECT_EQ(target, before);
  EXPECT_THAT(errors, ElementsAre(MakeMessage("krova.data.bad.cast", args...)));
}

template <typename Mode>
class ToNative : public ::testing::Test {};
using Modes = ::testing::Types<Loose, Strict>;
TYPED_TEST_SUITE(ToNative, Modes);

TYPED_TEST(ToNative, TakesTheExactKind) {
  ExpectNative<TypeParam>(Null(), Void());
  ExpectNative<TypeParam>(Integer(INT64_MIN), INT64_MIN);
  ExpectNative<TypeParam>(Double(2.5), 2.5);
  ExpectNative<TypeParam>(Boolean(true), true);
  ExpectNative<TypeParam>(Blob({0, 255}), Bytes{0, 255});
  ExpectNative<TypeParam>(String("a"), std::string("a"));
  ExpectNative<TypeParam>(Secret("b"), SecretString("b"));
}

// Every cell of the table of conversions that is a bad cast in both modes, by target.
struct Source {
  const char* kind;
  ValuePointer value;
};
std::vector<Source> AllSources() {
  return {{"Void", Null()},
          {"Long", Integer(1)},
          {"Double", Double(1)},
          {"Boolean", Boolean(true)},
          {"Blob", Blob({1})},
          {"SecretString", Secret("1")},
          {"OPTIONAL", Set(Integer(1))},
          {"OPTIONAL", Unset()},
          {"LIST", List({Integer(1)})},
          {"STRUCTURE", Struct("s")},
          {"ERROR", Error("e")},
          {"_UNKNOWN", nullptr}};
}

template <typename Mode, typename Target>
void ExpectBadCastsOfOthers(const char* name, const char* ownKind, const Target& before) {
  for (const Source& source : AllSources()) {
    if (source.kind == std::string_view(ownKind)) continue;
    ExpectBadCast<Mode>(source.value, before, source.kind, name);
  }
}

TYPED_TEST(ToNative, RefusesEveryOtherKind) {
  ExpectBadCastsOfOthers<TypeParam>("Void", "Void", Void());
  ExpectBadCastsOfOthers<TypeParam>("Long", "Long", std::int64_t{7});
  ExpectBadCastsOfOthers<TypeParam>("Double", "Double", 7.0);
  ExpectBadCastsOfOthers<TypeParam>("Boolean", "Boolean", true);
  ExpectBadCastsOfOthers<TypeParam>("Blob", "Blob", Bytes{7});
  ExpectBadCastsOfOthers<TypeParam>("String", "String", std::string("before"));
  ExpectBadCastsOfOthers<TypeParam>("SecretString", "SecretString", SecretString("before"));
  ExpectBadCastsOfOthers<TypeParam>("DateTime", "DateTime", DateTime());
}

TYPED_TEST(ToNative, DateTimeIsAlwaysReadFromText) {
  DateTime expected;
  ASSERT_TRUE(DateTime::FromText("2016-02-29T12:00:00.000Z", expected));
  ExpectNative<TypeParam>(String("2016-02-29T12:00:00.000Z"), expected);
  for (const char* text :
       {"2015-02-29T12:00:00.000Z", "2016-01-01T24:00:00.000Z", "2016-01-01T00:00:00.000", ""}) {
    ExpectBadCast<TypeParam>(String(text), DateTime(), "String", "DateTime", text);
  }
}

TYPED_TEST(ToNative, TextIsNoVoid) {
  ExpectBadCast<TypeParam>(String(""), Void(), "String", "Void");
}

TEST(ToNativeStrict, RefusesTextForOtherTargets) {
  ExpectBadCast<Strict>(String("123"), std::int64_t{7}, "String", "Long");
  ExpectBadCast<Strict>(String("1.5"), 7.0, "String", "Double");
  ExpectBadCast<Strict>(String("true"), false, "String", "Boolean");
  ExpectBadCast<Strict>(String("AA=="), Bytes{7}, "String", "Blob");
  ExpectBadCast<Strict>(String("x"), SecretString(), "String", "SecretString");
}

TEST(ToNativeLoose, ParsesIntegers) {
  ExpectNative<Loose>(String("123"), std::int64_t{123});
  ExpectNative<Loose>(String("-9223372036854775808"), INT64_MIN);
  ExpectNative<Loose>(String("+5"), std::int64_t{5});
  for (const char* text : {"12a", "", " 1", "1 ", "1.0", "9223372036854775808", "0x10"}) {
    ExpectBadCast<Loose>(String(text), std::int64_t{7}, "String", "Long", text);
  }
}

TEST(ToNativeLoose, ParsesDoubles) {
  ExpectNative<Loose>(String("1.5e3"), 1500.0);
  ExpectNative<Loose>(String("-7"), -7.0);
  ExpectNative<Loose>(String("INFINITY"), HUGE_VAL);
  ExpectNative<Loose>(String("infinity"), HUGE_VAL);
  ExpectNative<Loose>(String("-inf"), -HUGE_VAL);
  double notANumber = 0;
  MessageList errors;
  EXPECT_TRUE(DataValueHelper::ToNative<Loose>(String("nan"), notANumber, errors));
  EXPECT_TRUE(std::isnan(notANumber));
  for (const char* text : {"", "x", "1,5", " 1", "1e"}) {
    ExpectBadCast<Loose>(String(text), 7.0, "String", "Double", text);
  }
}

TEST(ToNativeLoose, ParsesFlags) {
  ExpectNative<Loose>(String("true"), true);
  ExpectNative<Loose>(String("false"), false);
  ExpectNative<Loose>(String("1"), true);
  ExpectNative<Loose>(String("0"), false);
  for (const char* text : {"True", "yes", "2", "", "true "}) {
    ExpectBadCast<Loose>(String(text), true, "String", "Boolean", text);
  }
}

TEST(ToNativeLoose, DecodesBase64) {
  ExpectNative<Loose>(String("aGk="), Bytes{'h', 'i'});
  ExpectNative<Loose>(String(""), Bytes{});
  ExpectBadCast<Loose>(String("aGk"), Bytes{7}, "String", "Blob", "Non-Valid base64!");
  ExpectBadCast<Loose>(String("a*k="), Bytes{7}, "String", "Blob",
                       "Non-Valid Character in Base 64!");
  ExpectBadCast<Loose>(String("a==="), Bytes{7}, "String", "Blob", "Invalid Padding in Base 64!");
}

TEST(ToNativeLoose, TakesTextForASecret) { ExpectNative<Loose>(String("x"), SecretString("x")); }

TEST(ToValue, MakesTheKindOfTheNative) {
  DateTime time;
  EXPECT_NE(ValueCast<VoidValue>(DataValueHelper::ToValue(Void())), nullptr);
  EXPECT_EQ(ValueCast<IntegerValue>(DataValueHelper::ToValue(std::int64_t{5}))->GetValue(), 5);
  EXPECT_EQ(ValueCast<DoubleValue>(DataValueHelper::ToValue(5.5))->GetValue(), 5.5);
  EXPECT_TRUE(ValueCast<BooleanValue>(DataValueHelper::ToValue(true))->GetValue());
  EXPECT_EQ(ValueCast<BlobValue>(DataValueHelper::ToValue(Bytes{1}))->GetValue(), Bytes{1});
  EXPECT_EQ(ValueCast<StringValue>(DataValueHelper::ToValue(std::string("a")))->GetValue(), "a");
  EXPECT_EQ(ValueCast<SecretValue>(DataValueHelper::ToValue(SecretString("b")))->GetValue(), "b");
  EXPECT_EQ(ValueCast<StringValue>(DataValueHelper::ToValue(time))->GetValue(), time.GetText());
}

TEST(DataTypeBinding, GoesThroughTheTypeWord) {
  EXPECT_EQ(DataTypeToValue(DataType::kInteger)->GetValue(), "LONG");
  DataType type = DataType::kVoid;
  MessageList errors;
  EXPECT_TRUE(DataTypeFromValue(String("ANY_ERROR"), type, errors));
  EXPECT_EQ(type, DataType::kDynamicError);
  EXPECT_TRUE(DataTypeFromValue(String("no such word"), type, errors));
  EXPECT_EQ(type, DataType::kUnknown);
  EXPECT_THAT(errors, IsEmpty());
  EXPECT_FALSE(DataTypeFromValue(Integer(1), type, errors));
  EXPECT_THAT(errors, ElementsAre(MakeMessage("krova.data.bad.cast", "Long", "DataType")));
}

// Reading the members of a structure.

class StructReaderTest : public ::testing::Test {
 protected:
  bool Read(const ValuePointer& input) {
    reader_.Add("json", text_);
    return reader_.Read(input, errors_);
  }

  StructReader reader_;
  std::string text_ = "before";
  MessageList errors_;
};

TEST_F(StructReaderTest, ReadsAStringField) {
  EXPECT_TRUE(Read(Struct("operation-input", {{"json", String("{}")}, {"x", Integer(1)}})));
  EXPECT_EQ(text_, "{}");
  EXPECT_THAT(errors_, IsEmpty());
}

TEST_F(StructReaderTest, AnEmptyTextIsNoStructure) {
  EXPECT_TRUE(Read(String("")));
  EXPECT_EQ(text_, "before");
  EXPECT_THAT(errors_, IsEmpty());
}

TEST_F(StructReaderTest, AnyOtherTextIsABadCast) {
  EXPECT_FALSE(Read(String("text")));
  EXPECT_THAT(errors_, ElementsAre(MakeMessage("krova.data.bad.cast", "text")));
}

TEST_F(StructReaderTest, AnyOtherKindIsInvalid) {
  for (const ValuePointer& value : {Integer(1), Error("e", {{"json", String("x")}}),
                                    Set(Struct("s")), Secret(""), ValuePointer()}) {
    errors_.clear();
    EXPECT_FALSE(Read(value));
    EXPECT_THAT(errors_, ElementsAre(MakeMessage("krova.data.invalid.type")));
  }
}

TEST_F(StructReaderTest, AMissingFieldLeavesTheTextEmpty) {
  EXPECT_FALSE(Read(Struct("s", {{"Json", String("x")}})));
  EXPECT_EQ(text_, "");
  EXPECT_THAT(errors_, ElementsAre(MakeMessage("krova.data.structure.getfield.unknown", "json")));
}

TEST_F(StructReaderTest, AFieldOfAnotherKindIsABadCast) {
  EXPECT_FALSE(Read(Struct("s", {{"json", Secret("x")}})));
  EXPECT_EQ(text_, "");
  EXPECT_THAT(errors_, ElementsAre(MakeMessage("krova.data.bad.cast", "SecretString", "String")));
}

TEST_F(StructReaderTest, AnUnsetFieldIsReported) {
  EXPECT_FALSE(Read(Struct("s", {{"json", nullptr}})));
  EXPECT_EQ(text_, "");
  EXPECT_THAT(errors_, ElementsAre(MakeMessage("krova.data.unset.non.optional.field", "json")));
}

TEST_F(StructReaderTest, ReadsSeveralFieldsAndReportsEachFailure) {
  std::string other;
  reader_.Add("other", other);
  EXPECT_FALSE(Read(Struct("s", {{"other", Integer(1)}})));
  EXPECT_THAT(errors_, ElementsAre(MakeMessage("krova.data.bad.cast", "Long", "String"),
                                   MakeMessage("krova.data.structure.getfield.unknown", "json")));
}

}  // namespace
}  // namespace Krova::Data
