#include "krova/protocol/json/value_to_json_adapter.h"

#include <gtest/gtest.h>

#include <memory>

#include "krova/protocol/value_text.h"

namespace Krova::Protocol::Json {
namespace {

using std::make_shared;
using Testing::WriteValue;

TEST(WriteValue, EachKindHasItsForm) {
  EXPECT_EQ(WriteValue(make_shared<Data::VoidValue>()), "null");
  EXPECT_EQ(WriteValue(make_shared<Data::IntegerValue>(-7)), "-7");
  EXPECT_EQ(WriteValue(make_shared<Data::DoubleValue>(0.0)), "0.0E0");
  EXPECT_EQ(WriteValue(make_shared<Data::DoubleValue>(2.0)), "2.0E0");
  EXPECT_EQ(WriteValue(make_shared<Data::BooleanValue>(true)), "true");
  EXPECT_EQ(WriteValue(make_shared<Data::StringValue>("a\"b")), R"("a\"b")");
  EXPECT_EQ(WriteValue(make_shared<Data::BlobValue>(std::vector<std::uint8_t>{'f'})),
            R"({"BINARY":"Zg=="})");
  EXPECT_EQ(WriteValue(make_shared<Data::ListValue>()), "[]");
  EXPECT_EQ(WriteValue(make_shared<Data::StructValue>("n")), R"({"STRUCTURE":{"n":{}}})");
  EXPECT_EQ(WriteValue(make_shared<Data::ErrorValue>("n")), R"({"ERROR":{"n":{}}})");
}

TEST(WriteValue, SecretGoesOutInClear) {
  EXPECT_EQ(WriteValue(make_shared<Data::SecretValue>("s3cret\n")), R"({"SECRET":"s3cret\n"})");
}

TEST(WriteValue, UnsetOptionalAndOneOfVoidHaveTheSameText) {
  EXPECT_EQ(WriteValue(make_shared<Data::OptionalValue>()), R"({"OPTIONAL":null})");
  EXPECT_EQ(WriteValue(make_shared<Data::OptionalValue>(make_shared<Data::VoidValue>())),
            R"({"OPTIONAL":null})");
}

TEST(WriteValue, FieldsGoInByteOrderOfTheirNames) {
  const auto value = make_shared<Data::StructValue>("n");
  for (const char* name : {"b", "a", "B", "\xC3\xA4", "", "aa"}) {
    value->SetField(name, make_shared<Data::VoidValue>());
  }
  EXPECT_EQ(WriteValue(value),
            "{\"STRUCTURE\":{\"n\":{\"\":null,\"B\":null,\"a\":null,\"aa\":null,"
            "\"b\":null,\"\xC3\xA4\":null}}}");
}

TEST(WriteValue, NamesAreEscaped) {
  const auto value = make_shared<Data::ErrorValue>("a\"b");
  value->SetField("c\nd", make_shared<Data::ListValue>());
  EXPECT_EQ(WriteValue(value), R"({"ERROR":{"a\"b":{"c\nd":[]}}})");
}

TEST(WriteValue, CompoundsInCompounds) {
  const auto list = make_shared<Data::ListValue>();
  list->push_back(make_shared<Data::IntegerValue>(1));
  list->push_back(make_shared<Data::OptionalValue>(make_shared<Data::ListValue>()));
  list->push_back(make_shared<Data::StringValue>("x"));
  const auto value = make_shared<Data::StructValue>("n");
  value->SetField("a", list);
  value->SetField("b", make_shared<Data::OptionalValue>(list));
  EXPECT_EQ(WriteValue(value), R"({"STRUCTURE":{"n":{"a":[1,{"OPTIONAL":[]},"x"],)"
                               R"("b":{"OPTIONAL":[1,{"OPTIONAL":[]},"x"]}}}})");
}

TEST(WriteValue, UnsetValuesAreEmptyObjects) {
  EXPECT_EQ(WriteValue(nullptr), "{}");
  const auto list = make_shared<Data::ListValue>();
  list->push_back(nullptr);
  list->push_back(make_shared<Data::OptionalValue>(nullptr));
  EXPECT_EQ(WriteValue(list), R"([{},{"OPTIONAL":{}}])");
}

}  // namespace
}  // namespace Krova::Protocol::Json
