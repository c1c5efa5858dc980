#include "krova/data/validator.h"

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

// What one of the three walks says.
struct Verdict {
  bool fits;
  MessageList errors;
};

template <typename Match>
Verdict ValidateAs(const DefinitionPointer& definition, const ValuePointer& value) {
  Verdict verdict{};
  verdict.fits = DataValidatorHelper::Validate<Match>(definition, value, verdict.errors);
  return verdict;
}

template <typename Match>
class Validate : public ::testing::Test {};
using AllMatches = ::testing::Types<LooseMatch, StrictMatch, DynamicMatch>;
TYPED_TEST_SUITE(Validate, AllMatches);

template <typename Match>
void ExpectFits(const DefinitionPointer& definition, const ValuePointer& value) {
  const Verdict verdict = ValidateAs<Match>(definition, value);
  EXPECT_TRUE(verdict.fits);
  EXPECT_THAT(verdict.errors, IsEmpty());
}

template <typename Match>
void ExpectFault(const DefinitionPointer& definition, const ValuePointer& value,
                 const BaseMessage& fault) {
  const Verdict verdict = ValidateAs<Match>(definition, value);
  EXPECT_FALSE(verdict.fits);
  EXPECT_THAT(verdict.errors, ElementsAre(fault));
}

template <typename Match>
void ExpectMismatch(const DefinitionPointer& definition, const ValuePointer& value) {
  ExpectFault<Match>(
      definition, value,
      MakeMessage("krova.data.type.mismatch", definition->ToString(), value->ToString()));
}

DefinitionPointer OneField(DefinitionPointer field) {
  return DefineStruct("s", {{"f", std::move(field)}});
}

TYPED_TEST(Validate, ScalarsFitTheirOwnKindOnly) {
  const std::vector<std::pair<DefinitionPointer, ValuePointer>> kinds = {
      {Define<VoidDefinition>(), Null()},         {DefineInteger(), Integer(1)},
      {Define<DoubleDefinition>(), Double(1)},    {Define<BooleanDefinition>(), Boolean(true)},
      {Define<BlobDefinition>(), Blob({1})},      {DefineString(), String("1")},
      {Define<SecretDefinition>(), Secret("1")},  {Define<ErrorDefinition>(), Error("e")},
      {DefineOptional(DefineInteger()), Unset()}, {DefineList(DefineInteger()), List()},
      {Define<StructDefinition>(), Struct("s")},
  };
  for (const auto& [definition, own] : kinds) {
    for (const auto& [other, value] : kinds) {
      if (value == own) {
        ExpectFits<TypeParam>(definition, value);
      } else {
        ExpectMismatch<TypeParam>(definition, value);
      }
    }
  }
}

TYPED_TEST(Validate, OpaqueFitsEverythingThatIsSet) {
  const DefinitionPointer opaque = Define<OpaqueDefinition>();
  for (const ValuePointer& value :
       {Null(), Integer(1), Secret("x"), Unset(), List({nullptr}), Struct("s"), Error("e")}) {
    ExpectFits<TypeParam>(opaque, value);
  }
  EXPECT_FALSE(ValidateAs<TypeParam>(opaque, nullptr).fits);
}

TYPED_TEST(Validate, NullFitsNullAlone) {
  ExpectFits<TypeParam>(nullptr, nullptr);
  for (const auto& [definition, value] :
       {std::pair(DefineString(), ValuePointer()), std::pair(DefinitionPointer(), String("x"))}) {
    const Verdict verdict = ValidateAs<TypeParam>(definition, value);
    EXPECT_FALSE(verdict.fits);
    EXPECT_THAT(verdict.errors, IsEmpty());
  }
}

TYPED_TEST(Validate, UnsetChildrenFitNothingAndSayNothing) {
  for (const auto& [definition, value] :
       {std::pair(OneField(DefineString()), Struct("s", {{"f", nullptr}})),
        std::pair(OneField(DefineOptional(DefineString())), Struct("s", {{"f", nullptr}})),
        std::pair(DefineList(Define<OpaqueDefinition>()), List({nullptr})),
        std::pair(DefineOptional(DefineString()), Set(nullptr))}) {
    const Verdict verdict = ValidateAs<TypeParam>(definition, value);
    EXPECT_FALSE(verdict.fits);
    EXPECT_THAT(verdict.errors, IsEmpty());
  }
}

TYPED_TEST(Validate, IntegerForAStringFailsWithOneMessageAndStopsTheWalk) {
  ExpectFault<TypeParam>(DefineString(), Integer(5),
                         MakeMessage("krova.data.type.mismatch", "STRING", "5"));
  ExpectFault<TypeParam>(DefineList(DefineString()),
                         List({String("a"), Integer(1), Integer(2), Boolean(true)}),
                         MakeMessage("krova.data.type.mismatch", "STRING", "1"));
}

TYPED_TEST(Validate, OptionalTestsTheChildThatIsThere) {
  const DefinitionPointer optional = DefineOptional(DefineString());
  ExpectFits<TypeParam>(optional, Unset());
  ExpectFits<TypeParam>(optional, Set(String("x")));
  ExpectFault<TypeParam>(optional, Set(Integer(1)),
                         MakeMessage("krova.data.type.mismatch", "STRING", "1"));
  ExpectMismatch<TypeParam>(optional, String("x"));
}

TYPED_TEST(Validate, AnEmptyListFitsAnyListDefinition) {
  ExpectFits<TypeParam>(DefineList(DefineString()), List());
  ExpectFits<TypeParam>(DefineList(DefineList(Define<StructDefinition>())), List());
  ExpectFits<TypeParam>(DefineList(nullptr), List());
}

TYPED_TEST(Validate, EachElementIsTested) {
  const DefinitionPointer list = DefineList(DefineInteger());
  ExpectFits<TypeParam>(list, List({Integer(1), Integer(2)}));
  ExpectFault<TypeParam>(list, List({Integer(1), Integer(2), String("x")}),
                         MakeMessage("krova.data.type.mismatch", "INTEGER", "x"));
}

TYPED_TEST(Validate, AnAbsentOptionalFieldPasses) {
  const DefinitionPointer definition =
      DefineStruct("s", {{"a", DefineString()}, {"b", DefineOptional(DefineString())}});
  ExpectFits<TypeParam>(definition, Struct("s", {{"a", String("x")}}));
  ExpectFits<TypeParam>(definition, Struct("s", {{"a", String("x")}, {"b", Unset()}}));
  ExpectFault<TypeParam>(definition, Struct("s", {{"a", String("x")}, {"b", Set(Integer(1))}}),
                         MakeMessage("krova.data.type.mismatch", "STRING", "1"));
}

TYPED_TEST(Validate, AnAbsentRequiredFieldIsMissing) {
  const DefinitionPointer structure = OneField(DefineString());
  ExpectFault<TypeParam>(structure, Struct("t"),
                         MakeMessage("krova.data.compound.field.missing", "f",
                                     "{sd{ s : { f : STRING, } }} ", "{{ t : { } }} "));
  ExpectFault<TypeParam>(
      DefineError("e", {{"f", DefineString()}}), Error("d"),
      MakeMessage("krova.data.compound.field.missing", "f", "{ed{ e : { f : STRING, } }} ",
                  "Error:\n   d\nNo messages!\n"));
}

TYPED_TEST(Validate, OfSeveralMissingFieldsTheLastIsReported) {
  const DefinitionPointer definition =
      DefineStruct("s", {{"a", DefineString()}, {"b", DefineString()}, {"c", DefineString()}});
  const Verdict verdict = ValidateAs<TypeParam>(definition, Struct("s", {{"c", Integer(1)}}));
  ASSERT_EQ(verdict.errors.size(), 1U);
  EXPECT_EQ(verdict.errors[0].id, "krova.data.compound.field.missing");
  EXPECT_EQ(verdict.errors[0].args[0], "b");
}

TYPED_TEST(Validate, OfSeveralBadFieldsTheFirstIsReported) {
  const DefinitionPointer definition =
      DefineStruct("s", {{"a", DefineString()}, {"b", DefineString()}});
  ExpectFault<TypeParam>(definition, Struct("s", {{"a", Integer(1)}, {"b", Integer(2)}}),
                         MakeMessage("krova.data.type.mismatch", "STRING", "1"));
}

TYPED_TEST(Validate, NamesArentCompared) {
  ExpectFits<TypeParam>(OneField(DefineString()), Struct("another", {{"f", String("x")}}));
  ExpectFits<TypeParam>(Define<ErrorDefinition>("e"), Error("another"));
}

TYPED_TEST(Validate, IsOneOfTakesTheTextsOfItsSet) {
  const DefinitionPointer definition =
      Define<IsOneOfDefinition>(IsOneOfDefinition::Values{"red", "green"});
  ExpectFits<TypeParam>(definition, String("red"));
  ExpectFault<TypeParam>(definition, String("Red"), MakeMessage("krova.data.value.unknown", "Red"));
  ExpectMismatch<TypeParam>(definition, Integer(1));
  ExpectMismatch<TypeParam>(definition, Secret("red"));
}

TYPED_TEST(Validate, DynamicKindsTakeStructuresAndErrorsWithTheRequiredFields) {
  const DefinitionMap required = {{"f", DefineString()}, {"o", DefineOptional(DefineInteger())}};
  for (const auto& [definition, word] :
       {std::pair(Define<DynamicStructureDefinition>(required), "DYNAMIC_STRUCTURE"),
        std::pair(Define<DynamicErrorDefinition>(required), "ANY_ERROR")}) {
    ExpectFits<TypeParam>(definition, Struct("any", {{"f", String("x")}, {"more", Integer(1)}}));
    ExpectFits<TypeParam>(definition, Error("any", {{"f", String("x")}, {"o", Unset()}}));
    ExpectFault<TypeParam>(definition, List(),
                           MakeMessage("krova.data.type.mismatch", word, "LIST"));
    ExpectFault<TypeParam>(definition, Integer(1),
                           MakeMessage("krova.data.type.mismatch", word, "LONG"));
    ExpectFault<TypeParam>(definition, Struct("any", {{"g", String("x")}}),
                           MakeMessage("krova.data.compound.field.missing", "f",
                                       definition->ToString(), "{{ any : { g : x, } }} "));
    ExpectFault<TypeParam>(definition, Struct("any", {{"f", Integer(1)}}),
                           MakeMessage("krova.data.type.mismatch", "STRING", "1"));
  }
}

TYPED_TEST(Validate, DynamicKindsWithoutAMapTakeAnyCompound) {
  ExpectFits<TypeParam>(Define<DynamicStructureDefinition>(), Struct("s", {{"f", nullptr}}));
  ExpectFits<TypeParam>(Define<DynamicErrorDefinition>(), Error("e"));
}

TYPED_TEST(Validate, AReferenceTestsAsItsTarget) {
  const auto holder = std::make_shared<StructHolder>();
  const DefinitionPointer reference = Define<StructRefDefinition>("s", holder);
  const auto target = std::make_shared<StructDefinition>("s", DefinitionMap{{"f", DefineString()}});
  holder->Set(target);
  ExpectFits<TypeParam>(reference, Struct("s", {{"f", String("x")}}));
  ExpectFault<TypeParam>(reference, Integer(1),
                         MakeMessage("krova.data.type.mismatch", target->ToString(), "1"));
}

TYPED_TEST(Validate, NothingFitsAReferenceWithoutATarget) {
  const DefinitionPointer reference =
      Define<StructRefDefinition>("s", std::make_shared<StructHolder>());
  EXPECT_FALSE(ValidateAs<TypeParam>(reference, Struct("s")).fits);
}

// A node of a chain: {"next": optional node, "number": integer}.
DefinitionPointer ChainDefinition() {
  NativeType node{DataType::kStruct, nullptr, "node"};
  const NativeType next{DataType::kOptional, &node};
  const NativeType number{DataType::kInteger};
  node.fields = {{"next", &next}, {"number", &number}};
  return BuildDefinition(node);
}

ValuePointer Chain(int length, ValuePointer lastNumber) {
  ValuePointer node = Struct("node", {{"number", std::move(lastNumber)}});
  for (int link = 1; link < length; ++link) {
    node = Struct("node", {{"next", Set(std::move(node))}, {"number", Integer(link)}});
  }
  return node;
}

TYPED_TEST(Validate, ARecursiveStructureIsTestedToTheDepthOfTheValue) {
  const DefinitionPointer definition = ChainDefinition();
  ExpectFits<TypeParam>(definition, Chain(1, Integer(0)));
  ExpectFits<TypeParam>(definition, Chain(100, Integer(0)));
  ExpectFault<TypeParam>(definition, Chain(100, String("x")),
                         MakeMessage("krova.data.type.mismatch", "INTEGER", "x"));
}

TYPED_TEST(Validate, ADeepValueNeedsNoStack) {
  RunOnSmallStack([] {
    const DefinitionPointer definition = ChainDefinition();
    ExpectFits<TypeParam>(definition, Chain(kDeep, Integer(0)));
    const Verdict verdict = ValidateAs<TypeParam>(definition, Chain(kDeep, String("x")));
    EXPECT_FALSE(verdict.fits);
    EXPECT_EQ(verdict.errors.size(), 1U);
  });
}

// One walk will do: all three make their messages alike.
class ValidateDeep : public ::testing::TestWithParam<DeepTree> {};

TEST_P(ValidateDeep, PrintingTheValueIntoAMessageNeedsNoStack) {
  RunOnSmallStack([] {
    const DeepTree& tree = GetParam();
    const Verdict verdict = ValidateAs<StrictMatch>(DefineString(), Nest(tree, kDeep, Integer(1)));
    EXPECT_FALSE(verdict.fits);
    ASSERT_EQ(verdict.errors.size(), 1U);
    EXPECT_GT(verdict.errors[0].args[1].size(), std::size_t{kDeep});
  });
}

INSTANTIATE_TEST_SUITE_P(Kinds, ValidateDeep, ::testing::ValuesIn(kDeepTrees),
                         [](const auto& tree) { return std::string(tree.param.name); });

// Extra fields, where the matches part.

BaseMessage ExtraField(const char* name, const DefinitionPointer& definition,
                       const ValuePointer& value) {
  return MakeMessage("krova.data.compound.field.extra", name, definition->ToString(),
                     value->ToString());
}

TEST(ValidateExtraFields, StrictRefusesOne) {
  const DefinitionPointer definition = OneField(DefineString());
  const ValuePointer value = Struct("s", {{"f", String("x")}, {"g", String("y")}});
  ExpectFault<StrictMatch>(definition, value, ExtraField("g", definition, value));
  EXPECT_EQ(ValidateAs<StrictMatch>(definition, value).errors[0].args[1],
            "{sd{ s : { f : STRING, } }} ");
}

TEST(ValidateExtraFields, LooseAndDynamicAllowThem) {
  const DefinitionPointer definition = OneField(DefineString());
  const ValuePointer value = Struct("s", {{"f", String("x")}, {"g", String("y")}});
  ExpectFits<LooseMatch>(definition, value);
  ExpectFits<DynamicMatch>(definition, value);
}

TEST(ValidateExtraFields, StrictAllowsUnsetOptionals) {
  const DefinitionPointer definition = OneField(DefineString());
  ExpectFits<StrictMatch>(definition,
                          Struct("s", {{"f", String("x")}, {"a", Unset()}, {"z", Unset()}}));
  const ValuePointer set =
      Struct("s", {{"f", String("x")}, {"a", Unset()}, {"z", Set(String("y"))}});
  ExpectFault<StrictMatch>(definition, set, ExtraField("z", definition, set));
}

TEST(ValidateExtraFields, StrictRefusesOneThatIsUnset) {
  const DefinitionPointer definition = OneField(DefineString());
  const ValuePointer value = Struct("s", {{"f", String("x")}, {"g", nullptr}});
  ExpectFault<StrictMatch>(definition, value, ExtraField("g", definition, value));
}

TEST(ValidateExtraFields, StrictOverlooksOneInPlaceOfAnAbsentOptional) {
  const DefinitionPointer definition =
      DefineStruct("s", {{"a", DefineOptional(DefineString())}, {"f", DefineString()}});
  ExpectFits<StrictMatch>(definition, Struct("s", {{"f", String("x")}, {"g", String("y")}}));
}

TEST(ValidateExtraFields, StrictLooksInsideErrorsAndNestedStructures) {
  const DefinitionPointer error = DefineError("e", {});
  const ValuePointer value = Error("e", {{"g", String("y")}});
  ExpectFault<StrictMatch>(error, value, ExtraField("g", error, value));
  ExpectFits<LooseMatch>(error, value);

  const DefinitionPointer inner = DefineStruct("t", {});
  const ValuePointer innerValue = Struct("t", {{"g", Integer(1)}});
  ExpectFault<StrictMatch>(OneField(inner), Struct("s", {{"f", innerValue}}),
                           ExtraField("g", inner, innerValue));
}

TEST(ValidateExtraFields, StrictAllowsNoneWithoutAFieldMap) {
  const DefinitionPointer definition = Define<StructDefinition>();
  const ValuePointer value = Struct("s", {{"f", String("x")}});
  ExpectFault<StrictMatch>(definition, value, ExtraField("f", definition, value));
  ExpectFits<LooseMatch>(definition, value);
}

TEST(ValidateExtraFields, AMissingFieldIsReportedBeforeAnExtraOne) {
  const DefinitionPointer definition = OneField(DefineString());
  const Verdict verdict =
      ValidateAs<StrictMatch>(definition, Struct("s", {{"g", Integer(1)}, {"h", Integer(2)}}));
  ASSERT_EQ(verdict.errors.size(), 1U);
  EXPECT_EQ(verdict.errors[0].id, "krova.data.compound.field.missing");
}

TEST(ValidateExtraFields, DynamicKindsAllowThemUnderStrictToo) {
  ExpectFits<StrictMatch>(Define<DynamicStructureDefinition>(DefinitionMap{}),
                          Struct("s", {{"f", String("x")}}));
}

// Unions.

DefinitionPointer Shape() {
  return Define<UnionCaseDefinition>(
      "kind", UnionCaseDefinition::Cases{
                  {"circle", {"radius"}}, {"box", {"height", "width"}}, {"point", {}}});
}

TYPED_TEST(Validate, AUnionHasTheFieldsOfItsCase) {
  ExpectFits<TypeParam>(Shape(), Unset());
  ExpectFits<TypeParam>(Shape(), Set(Struct("u", {{"kind", String("point")}})));
  ExpectFits<TypeParam>(Shape(),
                        Set(Struct("u", {{"kind", String("circle")}, {"radius", Integer(1)}})));
  ExpectFits<TypeParam>(Shape(), Set(Struct("u", {{"kind", String("circle")},
                                                  {"radius", Set(Integer(1))},
                                                  {"height", Unset()},
                                                  {"colour", String("red")}})));
}

TYPED_TEST(Validate, AUnionWithTheFieldsOfAnotherCaseIsInABadState) {
  ExpectFault<TypeParam>(
      Shape(), Set(Struct("u", {{"kind", String("box")}, {"width", Integer(1)}})),
      MakeMessage("krova.data.union.invalid.case.state", "[height, width]", "[width]"));
  ExpectFault<TypeParam>(Shape(),
                         Set(Struct("u", {{"kind", String("point")}, {"radius", Integer(1)}})),
                         MakeMessage("krova.data.union.invalid.case.state", "[]", "[radius]"));
  ExpectFault<TypeParam>(Shape(),
                         Set(Struct("u", {{"kind", String("circle")}, {"radius", nullptr}})),
                         MakeMessage("krova.data.union.invalid.case.state", "[radius]", "[]"));
}

TYPED_TEST(Validate, AUnionNeedsItsTag) {
  const BaseMessage missing = MakeMessage("krova.data.union.missing.tag.field", "kind");
  ExpectFault<TypeParam>(Shape(), Set(Struct("u", {{"radius", Integer(1)}})), missing);
  ExpectFault<TypeParam>(Shape(), Set(Struct("u", {{"kind", Unset()}})), missing);
  ExpectFault<TypeParam>(Shape(), Set(Struct("u", {{"kind", nullptr}})), missing);
  ExpectFault<TypeParam>(Shape(), Set(Struct("u", {{"kind", String("Circle")}})),
                         MakeMessage("krova.data.value.unknown", "Circle"));
  ExpectFault<TypeParam>(Shape(), Set(Struct("u", {{"kind", Integer(1)}})),
                         MakeMessage("krova.data.bad.cast", "Long", "String"));
}

TYPED_TEST(Validate, AUnionIsAnOptionalStructure) {
  ExpectMismatch<TypeParam>(Shape(), Struct("u", {{"kind", String("point")}}));
  ExpectFault<TypeParam>(Shape(), Set(Integer(1)),
                         MakeMessage("krova.data.type.mismatch", "STRUCTURE", "1"));
  EXPECT_FALSE(ValidateAs<TypeParam>(Shape(), Set(nullptr)).fits);
}

}  // namespace
}  // namespace Krova::Data
