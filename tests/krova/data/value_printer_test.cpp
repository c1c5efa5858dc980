#include "krova/data/value_printer.h"

#include <cmath>
#include <limits>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <boost/format.hpp>

#include "krova/data/message_value.h"
#include "krova/data/value.h"
#include "krova/deep_trees.h"
#include "krova/make_values.h"
#include "krova/small_stack.h"

namespace Krova::Data {
namespace {

using Testing::Integer;
using Testing::String;

std::shared_ptr<const ListValue> Elements(ValueList elements) {
  return std::make_shared<ListValue>(std::move(elements));
}
std::shared_ptr<StructValue> Structure(std::string name, FieldList fields = {}) {
  return std::make_shared<StructValue>(std::move(name), FieldMap(std::move(fields)));
}
std::string PrintError(ValueList messages) {
  return std::make_shared<ErrorValue>("e", Elements(std::move(messages)))->ToString();
}

TEST(ToString, OfVoidIsNull) { EXPECT_EQ(std::make_shared<VoidValue>()->ToString(), "NULL"); }

TEST(ToString, OfScalarsIsWhatAFormatPrints) {
  for (const std::int64_t value : {INT64_MIN, INT64_C(-1), INT64_C(0), INT64_C(42), INT64_MAX}) {
    EXPECT_EQ(Integer(value)->ToString(), (boost::format("%1%") % value).str());
  }
  const double doubles[] = {0.0,      -0.0,      1.0,         0.5,
                            1.0 / 3,  1e6,       123456,      1234567,
                            1e-4,     1e-5,      -2.5e300,    5e-324,
                            1e21,     99999.95,  999999.5,    std::numeric_limits<double>::max(),
                            INFINITY, -INFINITY, std::nan("")};
  for (const double value : doubles) {
    EXPECT_EQ(std::make_shared<DoubleValue>(value)->ToString(),
              (boost::format("%1%") % value).str());
  }
  for (const bool value : {false, true}) {
    EXPECT_EQ(std::make_shared<BooleanValue>(value)->ToString(),
              (boost::format("%1%") % value).str());
  }
}

TEST(ToString, OfTextIsTheText) {
  EXPECT_EQ(String("")->ToString(), "");
  EXPECT_EQ(String("100%1% \xD0\xAF\n")->ToString(), "100%1% \xD0\xAF\n");
  EXPECT_EQ(String(std::string("a\0b", 3))->ToString(), std::string("a\0b", 3));
}

TEST(ToString, OfABlobIsItsBytesAsText) {
  const auto blob = std::make_shared<BlobValue>(std::vector<std::uint8_t>{'h', 'i', 0, 255});
  EXPECT_EQ(blob->ToString(), std::string("hi\0\xFF", 4));
  EXPECT_EQ(std::make_shared<BlobValue>(std::vector<std::uint8_t>{})->ToString(), "");
}

TEST(ToString, OfOptionals) {
  EXPECT_EQ(std::make_shared<OptionalValue>()->ToString(), "Optional< >");
  EXPECT_EQ(Testing::InOptional(Integer(1))->ToString(), "Optional< 1>");
  EXPECT_EQ(Testing::InOptional(Testing::InOptional(Integer(1)))->ToString(),
            "Optional< Optional< 1>>");
}

TEST(ToString, OfLists) {
  EXPECT_EQ(Elements({})->ToString(), "[ ] ");
  EXPECT_EQ(Elements({Integer(1)})->ToString(), "[ 1, ] ");
  EXPECT_EQ(Elements({Integer(1), Elements({}), Integer(2)})->ToString(), "[ 1, [ ] , 2, ] ");
}

TEST(ToString, OfStructs) {
  EXPECT_EQ(Structure("n")->ToString(), "{{ n : { } }} ");
  EXPECT_EQ(Structure("n", {{"b", Integer(2)}, {"a", String("x")}})->ToString(),
            "{{ n : { a : x, b : 2, } }} ");
  EXPECT_EQ(Structure("n", {{"a", Structure("m", {{"c", Elements({Integer(1)})}})}})->ToString(),
            "{{ n : { a : {{ m : { c : [ 1, ] , } }} , } }} ");
}

TEST(ToString, NeverShowsASecret) {
  const ValuePointer secret = std::make_shared<SecretValue>("hunter2");
  EXPECT_EQ(secret->ToString(), "<secret>");
  EXPECT_EQ(Structure("n", {{"f", secret}})->ToString(), "{{ n : { f : <secret>, } }} ");
  EXPECT_EQ(Elements({secret})->ToString(), "[ <secret>, ] ");
  EXPECT_EQ(Testing::InOptional(secret)->ToString(), "Optional< <secret>>");
  EXPECT_EQ(PrintError({secret}), "Error:\n   e\nMessages:\n   Not a message -> <secret>\n");
  EXPECT_EQ(PrintError({Structure("m", {{"id", secret}})}),
            "Error:\n   e\nMessages:\n   Id not valid -> <secret>\n");
}

TEST(ToString, OfAnErrorWithoutMessages) {
  const std::string expected = "Error:\n   e\nNo messages!\n";
  EXPECT_EQ(std::make_shared<ErrorValue>("e")->ToString(), expected);
  EXPECT_EQ(PrintError({}), expected);
  const auto notAList = std::make_shared<ErrorValue>("e");
  notAList->SetField("messages", String("text"));
  EXPECT_EQ(notAList->ToString(), expected);
  const auto unset = std::make_shared<ErrorValue>("e");
  unset->SetField("messages", nullptr);
  EXPECT_EQ(unset->ToString(), expected);
}

TEST(ToString, OfAnErrorShowsIdsAndWhatIsNoMessage) {
  EXPECT_EQ(PrintError({MessageToValue(MakeMessage("krova.data.invalid.type")), Integer(5),
                        Structure("anonymous"), Structure("odd", {{"id", Elements({Integer(1)})}}),
                        std::make_shared<ErrorValue>("inner"), nullptr,
                        Structure("unset", {{"id", nullptr}})}),
            "Error:\n"
            "   e\n"
            "Messages:\n"
            "   krova.data.invalid.type\n"
            "   Not a message -> 5\n"
            "   Id not found for -> anonymous\n"
            "   Id not valid -> [ 1, ] \n"
            "   Not a message -> Error:\n   inner\nNo messages!\n\n"
            "   Not a message -> \n"
            "   Id not valid -> \n");
}

TEST(ToString, LeavesOutAnErrorsOtherFields) {
  const auto error = std::make_shared<ErrorValue>("e", Elements({}));
  error->SetField("request_id", String("7"));
  EXPECT_EQ(error->ToString(), "Error:\n   e\nNo messages!\n");
}

TEST(ToString, PrintsNothingForUnsetChildren) {
  EXPECT_EQ(Elements({nullptr, Integer(1)})->ToString(), "[ , 1, ] ");
  EXPECT_EQ(Structure("n", {{"f", nullptr}})->ToString(), "{{ n : { f : , } }} ");
  EXPECT_EQ(Testing::InOptional(nullptr)->ToString(), "Optional< >");
}

// The text of a deep tree: what opens a layer and what closes it.
struct DeepText {
  Testing::DeepTree tree;
  const char* opening;
  const char* closing;
};
constexpr DeepText kDeepTexts[] = {
    {Testing::kDeepTrees[0], "[ ", ", ] "},
    {Testing::kDeepTrees[1], "Optional< ", ">"},
    {Testing::kDeepTrees[2], "{{ s : { id : ", ", } }} "},
    {Testing::kDeepTrees[3], "Error:\n   e\nMessages:\n   Not a message -> ", "\n"},
};

class DeepToString : public ::testing::TestWithParam<DeepText> {};

TEST_P(DeepToString, NeedsNoStack) {
  Testing::RunOnSmallStack([] {
    const ValuePointer tree = Testing::Nest(GetParam().tree, Testing::kDeep, Integer(1));
    const std::string text = tree->ToString();

    const int layers = Testing::kDeep / GetParam().tree.levels;
    std::string expected;
    for (int layer = 0; layer < layers; ++layer) expected += GetParam().opening;
    expected += "1";
    for (int layer = 0; layer < layers; ++layer) expected += GetParam().closing;
    EXPECT_TRUE(text == expected);  // Not EXPECT_EQ: it would print megabytes.
  });
}

INSTANTIATE_TEST_SUITE_P(Kinds, DeepToString, ::testing::ValuesIn(kDeepTexts),
                         [](const auto& row) { return std::string(row.param.tree.name); });

}  // namespace
}  // namespace Krova::Data
