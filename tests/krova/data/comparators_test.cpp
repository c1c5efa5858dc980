#include "krova/data/comparators.h"

#include <cmath>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "krova/data/definition_builder.h"
#include "krova/deep_trees.h"
#include "krova/make_values.h"
#include "krova/small_stack.h"

namespace Krova::Data {
namespace {

using namespace Krova::Testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

void ExpectEqual(const ValuePointer& first, const ValuePointer& second) {
  MessageList errors;
  EXPECT_TRUE(ValueComparatorHelper::Compare(first, second, errors));
  EXPECT_THAT(errors, IsEmpty());
}

void ExpectDifference(const ValuePointer& first, const ValuePointer& second,
                      const BaseMessage& message) {
  MessageList errors;
  EXPECT_FALSE(ValueComparatorHelper::Compare(first, second, errors));
  EXPECT_THAT(errors, ElementsAre(message));
}

std::vector<ValuePointer> OneOfEachKind() {
  return {Null(),      Integer(1), Double(1), Boolean(true), Blob({1}),  String("1"),
          Secret("1"), Error("e"), Unset(),   List(),        Struct("s")};
}

TEST(CompareValues, EachKindEqualsItself) {
  const std::vector<ValuePointer> others = OneOfEachKind();
  std::size_t place = 0;
  for (const ValuePointer& value : OneOfEachKind()) ExpectEqual(value, others[place++]);
}

TEST(CompareValues, KindsDiffer) {
  for (const ValuePointer& first : OneOfEachKind()) {
    for (const ValuePointer& second : OneOfEachKind()) {
      if (TypeOf(first) == TypeOf(second)) continue;
      ExpectDifference(first, second,
                       MakeMessage("krova.data.type.mismatch", TypeWord(TypeOf(first)),
                                   TypeWord(TypeOf(second))));
    }
  }
}

TEST(CompareValues, ScalarsDifferByValue) {
  const auto notEqual = [](const char* word, const char* first, const char* second) {
    return MakeMessage("krova.data.comparator.values.not.equal", word, first, second);
  };
  ExpectDifference(Integer(1), Integer(2), notEqual("LONG", "1", "2"));
  ExpectDifference(Double(1.5), Double(2), notEqual("DOUBLE", "1.5", "2"));
  ExpectDifference(Boolean(true), Boolean(false), notEqual("BOOLEAN", "1", "0"));
  ExpectDifference(Blob({'a'}), Blob({'b'}), notEqual("BINARY", "a", "b"));
  ExpectDifference(String("a"), String("A"), notEqual("STRING", "a", "A"));
  ExpectDifference(Secret("a"), Secret("b"), notEqual("SECRET", "<secret>", "<secret>"));
}

TEST(CompareValues, DoublesAreComparedByTheirBits) {
  ExpectEqual(Double(std::nan("")), Double(std::nan("")));
  ExpectDifference(Double(0.0), Double(-0.0),
                   MakeMessage("krova.data.comparator.values.not.equal", "DOUBLE", "0", "-0"));
}

TEST(CompareValues, ASetAndAnUnsetOptionalDifferUnderAnIdWithoutText) {
  const BaseMessage message{"krova.data.value.comparator.values.not.equal",
                            "Unknown message.",
                            {"OPTIONAL", "Optional< 1>", "Optional< >"}};
  ExpectDifference(Set(Integer(1)), Unset(), message);
  ExpectDifference(
      Unset(), Set(Integer(1)),
      BaseMessage{
          message.id, message.default_message, {"OPTIONAL", "Optional< >", "Optional< 1>"}});
}

TEST(CompareValues, SetOptionalsCompareTheirChildren) {
  ExpectEqual(Set(Integer(1)), Set(Integer(1)));
  ExpectDifference(Set(Integer(1)), Set(Integer(2)),
                   MakeMessage("krova.data.comparator.values.not.equal", "LONG", "1", "2"));
}

TEST(CompareValues, ListsDifferBySizeFirst) {
  ExpectDifference(List({Integer(1)}), List({Integer(2), Integer(3)}),
                   MakeMessage("krova.data.value.comp.values.not.eq.sizes", "1", "2"));
}

TEST(CompareValues, OfSeveralElementsTheFirstDifferenceIsReported) {
  ExpectEqual(List({Integer(1), String("a")}), List({Integer(1), String("a")}));
  ExpectDifference(List({Integer(1), Integer(2), Integer(3)}),
                   List({Integer(1), Integer(5), Integer(6)}),
                   MakeMessage("krova.data.comparator.values.not.equal", "LONG", "2", "5"));
}

TEST(CompareValues, StructuresDifferByNameFirst) {
  ExpectDifference(Struct("a"), Struct("b", {{"f", Integer(1)}}),
                   MakeMessage("krova.data.value.comp.struct.names.not.eq", "a", "b"));
  ExpectDifference(Error("a"), Error("b"),
                   MakeMessage("krova.data.value.comp.struct.names.not.eq", "a", "b"));
}

TEST(CompareValues, StructuresDifferByFields) {
  ExpectEqual(Struct("s", {{"a", Integer(1)}, {"b", Integer(2)}}),
              Struct("s", {{"b", Integer(2)}, {"a", Integer(1)}}));
  ExpectDifference(Struct("s", {{"a", Integer(1)}, {"b", Integer(2)}}),
                   Struct("s", {{"a", Integer(3)}, {"b", Integer(4)}}),
                   MakeMessage("krova.data.comparator.values.not.equal", "LONG", "1", "3"));
}

TEST(CompareValues, AFieldThatEitherSideLacksIsADifference) {
  const ValuePointer fewer = Struct("s", {{"a", Integer(1)}});
  const ValuePointer more = Struct("s", {{"a", Integer(1)}, {"b", Integer(2)}});
  ExpectDifference(more, fewer,
                   MakeMessage("krova.data.value.comp.struct.missing.field", "b", more->ToString(),
                               fewer->ToString()));
  ExpectDifference(fewer, more,
                   MakeMessage("krova.data.value.comp.struct.missing.field", "b", fewer->ToString(),
                               more->ToString()));
  const ValuePointer error = Error("e", {{"b", Integer(2)}});
  ExpectDifference(error, Error("e", {{"c", Integer(2)}}),
                   MakeMessage("krova.data.value.comp.struct.missing.field", "b", error->ToString(),
                               error->ToString()));
}

TEST(CompareValues, UnsetValuesEqualEachOther) {
  ExpectEqual(nullptr, nullptr);
  ExpectEqual(List({nullptr}), List({nullptr}));
  ExpectDifference(List({nullptr}), List({Integer(1)}),
                   MakeMessage("krova.data.type.mismatch", "_UNKNOWN", "LONG"));
  ExpectDifference(Set(Integer(1)), Set(nullptr),
                   MakeMessage("krova.data.type.mismatch", "LONG", "_UNKNOWN"));
}

class DeepCompare : public ::testing::TestWithParam<DeepTree> {};

TEST_P(DeepCompare, NeedsNoStack) {
  RunOnSmallStack([] {
    const ValuePointer first = Nest(GetParam(), kDeep, Integer(1));
    ExpectEqual(first, Nest(GetParam(), kDeep, Integer(1)));
    ExpectDifference(first, Nest(GetParam(), kDeep, Integer(2)),
                     MakeMessage("krova.data.comparator.values.not.equal", "LONG", "1", "2"));
  });
}

INSTANTIATE_TEST_SUITE_P(Kinds, DeepCompare, ::testing::ValuesIn(kDeepTrees),
                         [](const auto& tree) { return std::string(tree.param.name); });

// Definitions.

void ExpectEqual(const DefinitionPointer& first, const DefinitionPointer& second) {
  MessageList errors;
  EXPECT_TRUE(DefinitionComparatorHelper::Compare(first, second, errors));
  EXPECT_THAT(errors, IsEmpty());
}

void ExpectDifference(const DefinitionPointer& first, const DefinitionPointer& second,
                      const BaseMessage& message) {
  MessageList errors;
  EXPECT_FALSE(DefinitionComparatorHelper::Compare(first, second, errors));
  EXPECT_THAT(errors, ElementsAre(message));
}

DefinitionPointer OneOf(IsOneOfDefinition::Values values) {
  return Define<IsOneOfDefinition>(std::move(values));
}

std::vector<DefinitionPointer> OneDefinitionOfEachKind() {
  return {Define<VoidDefinition>(),
          Define<OpaqueDefinition>(),
          Define<DynamicStructureDefinition>(),
          Define<DynamicErrorDefinition>(),
          DefineInteger(),
          Define<DoubleDefinition>(),
          Define<BooleanDefinition>(),
          Define<BlobDefinition>(),
          DefineString(),
          Define<SecretDefinition>(),
          Define<ErrorDefinition>(),
          DefineOptional(DefineString()),
          DefineList(DefineString()),
          Define<StructDefinition>(),
          Define<StructRefDefinition>("s", std::make_shared<StructHolder>()),
          OneOf({"a"}),
          Define<UnionCaseDefinition>("tag", UnionCaseDefinition::Cases{{"a", {"f"}}})};
}

TEST(CompareDefinitions, EachKindEqualsItselfAndNoOther) {
  const std::vector<DefinitionPointer> firsts = OneDefinitionOfEachKind();
  const std::vector<DefinitionPointer> seconds = OneDefinitionOfEachKind();
  for (std::size_t first = 0; first < firsts.size(); ++first) {
    for (std::size_t second = 0; second < seconds.size(); ++second) {
      if (first == second) {
        ExpectEqual(firsts[first], seconds[second]);
      } else {
        ExpectDifference(firsts[first], seconds[second],
                         MakeMessage("krova.data.type.mismatch", firsts[first]->ToString(),
                                     seconds[second]->ToString()));
      }
    }
  }
}

TEST(CompareDefinitions, NullEqualsNullAlone) {
  ExpectEqual(DefinitionPointer(), DefinitionPointer());
  ExpectDifference(DefineString(), DefinitionPointer(),
                   MakeMessage("krova.data.type.mismatch", "STRING", "_UNKNOWN"));
  ExpectDifference(DefinitionPointer(), DefineString(),
                   MakeMessage("krova.data.type.mismatch", "_UNKNOWN", "STRING"));
}

TEST(CompareDefinitions, ElementsAreCompared) {
  const BaseMessage mismatch = MakeMessage("krova.data.type.mismatch", "STRING", "INTEGER");
  ExpectDifference(DefineList(DefineString()), DefineList(DefineInteger()), mismatch);
  ExpectDifference(DefineOptional(DefineString()), DefineOptional(DefineInteger()), mismatch);
}

TEST(CompareDefinitions, CompoundsAreComparedByNameAndFields) {
  const DefinitionPointer one = DefineStruct("s", {{"a", DefineString()}});
  const DefinitionPointer two = DefineStruct("s", {{"a", DefineString()}, {"b", DefineString()}});
  ExpectEqual(two, DefineStruct("s", {{"b", DefineString()}, {"a", DefineString()}}));
  ExpectDifference(one, DefineStruct("t", {{"a", DefineString()}}),
                   MakeMessage("krova.data.value.comp.struct.names.not.eq", "s", "t"));
  ExpectDifference(one, Define<StructDefinition>(),
                   MakeMessage("krova.data.value.comp.struct.names.not.eq", "s", "<noname>"));
  ExpectDifference(one, two,
                   MakeMessage("krova.data.value.comp.struct.missing.field", "b", one->ToString(),
                               two->ToString()));
  ExpectDifference(two, one,
                   MakeMessage("krova.data.value.comp.struct.missing.field", "b", two->ToString(),
                               one->ToString()));
  ExpectDifference(DefineError("e", {{"a", DefineString()}}),
                   DefineError("e", {{"a", DefineInteger()}}),
                   MakeMessage("krova.data.type.mismatch", "STRING", "INTEGER"));
}

TEST(CompareDefinitions, DynamicKindsAreComparedByFields) {
  ExpectDifference(Define<DynamicStructureDefinition>(),
                   Define<DynamicStructureDefinition>(DefinitionMap{{"f", DefineString()}}),
                   MakeMessage("krova.data.value.comp.struct.missing.field", "f",
                               "DynamicStructureDefinition", "DynamicStructureDefinition"));
  ExpectDifference(Define<DynamicErrorDefinition>(DefinitionMap{{"f", DefineInteger()}}),
                   Define<DynamicErrorDefinition>(DefinitionMap{{"f", DefineString()}}),
                   MakeMessage("krova.data.type.mismatch", "INTEGER", "STRING"));
}

TEST(CompareDefinitions, SetsOfTextsAndUnionsAreComparedByContent) {
  ExpectDifference(
      OneOf({"a"}), OneOf({"a", "b"}),
      MakeMessage("krova.data.comparator.values.not.equal", "STRING", "STRING", "STRING"));
  const auto unionOf = [](const char* tag, UnionCaseDefinition::Cases cases) {
    return Define<UnionCaseDefinition>(tag, std::move(cases));
  };
  ExpectDifference(unionOf("t", {}), unionOf("u", {}),
                   MakeMessage("krova.data.value.comp.struct.names.not.eq", "t", "u"));
  ExpectDifference(unionOf("t", {{"a", {"f"}}}), unionOf("t", {{"a", {"g"}}}),
                   MakeMessage("krova.data.comparator.values.not.equal", "OPTIONAL",
                               "UnionCaseDefinition", "UnionCaseDefinition"));
}

TEST(CompareDefinitions, RecursiveOnesEndAtTheReference) {
  const auto build = [](const char* name, DataType number) {
    NativeType node{DataType::kStruct, nullptr, name};
    const NativeType next{DataType::kOptional, &node};
    const NativeType numberType{number};
    node.fields = {{"next", &next}, {"number", &numberType}};
    return BuildDefinition(node);
  };
  ExpectEqual(build("n", DataType::kInteger), build("n", DataType::kInteger));
  ExpectDifference(build("n", DataType::kInteger), build("n", DataType::kString),
                   MakeMessage("krova.data.type.mismatch", "INTEGER", "STRING"));
  const auto reference = [](const char* name) {
    return Define<StructRefDefinition>(name, std::make_shared<StructHolder>());
  };
  ExpectDifference(reference("s"), reference("t"),
                   MakeMessage("krova.data.value.comp.struct.names.not.eq", "s", "t"));
}

TEST(CompareDefinitions, DeepOnesNeedNoStack) {
  RunOnSmallStack([] {
    const auto build = [] {
      DefinitionPointer definition = DefineString();
      for (int level = 0; level < kDeep; ++level) definition = DefineList(std::move(definition));
      return definition;
    };
    ExpectEqual(build(), build());
  });
}

}  // namespace
}  // namespace Krova::Data
