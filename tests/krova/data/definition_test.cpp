#include "krova/data/definition.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "krova/data/definition_builder.h"
#include "krova/make_values.h"
#include "krova/small_stack.h"

namespace Krova::Data {
namespace {

using namespace Krova::Testing;
using ::testing::ElementsAre;

// One of each kind, in the order of the visitor's slots.
struct DefinitionRow {
  const char* slot;
  DataType type;
  const char* text;
  DefinitionPointer definition;
};
std::vector<DefinitionRow> AllDefinitions() {
  return {
      {"void", DataType::kVoid, "VOID", Define<VoidDefinition>()},
      {"opaque", DataType::kOpaque, "VOID", Define<OpaqueDefinition>()},
      {"dynamic structure", DataType::kDynamicStruct, "DynamicStructureDefinition",
       Define<DynamicStructureDefinition>()},
      {"dynamic error", DataType::kDynamicError, "DynamicErrorDefinition",
       Define<DynamicErrorDefinition>()},
      {"integer", DataType::kInteger, "INTEGER", DefineInteger()},
      {"double", DataType::kDouble, "DOUBLE", Define<DoubleDefinition>()},
      {"boolean", DataType::kBoolean, "BOOLEAN", Define<BooleanDefinition>()},
      {"blob", DataType::kBlob, "BLOB", Define<BlobDefinition>()},
      {"string", DataType::kString, "STRING", DefineString()},
      {"secret", DataType::kSecret, "SECRET", Define<SecretDefinition>()},
      {"error", DataType::kError, "{ed{ <noname> : { } }} ", Define<ErrorDefinition>()},
      {"optional", DataType::kOptional, "OPTIONAL<INTEGER>", DefineOptional(DefineInteger())},
      {"list", DataType::kList, "LIST[STRING]", DefineList(DefineString())},
      {"struct", DataType::kStruct, "{sd{ <noname> : { } }} ", Define<StructDefinition>()},
      {"struct ref", DataType::kStructRef, "StructRefDefinition",
       Define<StructRefDefinition>("s", std::make_shared<StructHolder>())},
      {"is one of", DataType::kString, "STRING",
       Define<IsOneOfDefinition>(IsOneOfDefinition::Values{"a"})},
      {"union case", DataType::kOptional, "UnionCaseDefinition",
       Define<UnionCaseDefinition>("tag", UnionCaseDefinition::Cases{})},
  };
}

class SlotRecorder final : public DefinitionVisitor {
 public:
  void Visit(const std::shared_ptr<const VoidDefinition>& d) override { Note("void", d); }
  void Visit(const std::shared_ptr<const OpaqueDefinition>& d) override { Note("opaque", d); }
  void Visit(const std::shared_ptr<const DynamicStructureDefinition>& d) override {
    Note("dynamic structure", d);
  }
  void Visit(const std::shared_ptr<const DynamicErrorDefinition>& d) override {
    Note("dynamic error", d);
  }
  void Visit(const std::shared_ptr<const IntegerDefinition>& d) override { Note("integer", d); }
  void Visit(const std::shared_ptr<const DoubleDefinition>& d) override { Note("double", d); }
  void Visit(const std::shared_ptr<const BooleanDefinition>& d) override { Note("boolean", d); }
  void Visit(const std::shared_ptr<const BlobDefinition>& d) override { Note("blob", d); }
  void Visit(const std::shared_ptr<const StringDefinition>& d) override { Note("string", d); }
  void Visit(const std::shared_ptr<const SecretDefinition>& d) override { Note("secret", d); }
  void Visit(const std::shared_ptr<const ErrorDefinition>& d) override { Note("error", d); }
  void Visit(const std::shared_ptr<const OptionalDefinition>& d) override { Note("optional", d); }
  void Visit(const std::shared_ptr<const ListDefinition>& d) override { Note("list", d); }
  void Visit(const std::shared_ptr<const StructDefinition>& d) override { Note("struct", d); }
  void Visit(const std::shared_ptr<const StructRefDefinition>& d) override {
    Note("struct ref", d);
  }
  void Visit(const std::shared_ptr<const IsOneOfDefinition>& d) override { Note("is one of", d); }
  void Visit(const std::shared_ptr<const UnionCaseDefinition>& d) override {
    Note("union case", d);
  }

  std::vector<std::string> slots;
  DefinitionPointer last;

 private:
  void Note(const char* slot, DefinitionPointer definition) {
    slots.emplace_back(slot);
    last = std::move(definition);
  }
};

TEST(Definitions, HaveTheTypesOfTheirKinds) {
  for (const DefinitionRow& row : AllDefinitions()) {
    EXPECT_EQ(row.definition->GetType(), row.type) << row.slot;
  }
}

TEST(Definitions, PrintAsClientsKnowThem) {
  for (const DefinitionRow& row : AllDefinitions()) {
    EXPECT_EQ(row.definition->ToString(), row.text) << row.slot;
  }
}

TEST(Definitions, CallTheSlotOfTheirKindWithThemselves) {
  for (const DefinitionRow& row : AllDefinitions()) {
    SlotRecorder recorder;
    row.definition->Accept(recorder);
    EXPECT_THAT(recorder.slots, ElementsAre(row.slot));
    EXPECT_EQ(recorder.last, row.definition);
  }
}

TEST(Definitions, ShareThemselves) {
  for (const DefinitionRow& row : AllDefinitions()) {
    EXPECT_EQ(row.definition->shared_from_this(), row.definition) << row.slot;
  }
  const std::shared_ptr<DataDefinition> mutableOne = std::make_shared<VoidDefinition>();
  EXPECT_EQ(mutableOne->shared_from_this(), mutableOne);
}

TEST(Definitions, PrintNamesFieldsAndElements) {
  const DefinitionPointer structure =
      DefineStruct("s", {{"b", DefineList(DefineOptional(DefineString()))},
                         {"a", DefineStruct("t", {{"x", Define<BlobDefinition>()}})}});
  EXPECT_EQ(structure->ToString(),
            "{sd{ s : { a : {sd{ t : { x : BLOB, } }} , b : LIST[OPTIONAL<STRING>], } }} ");
  EXPECT_EQ(DefineError("e", {{"messages", Define<OpaqueDefinition>()}})->ToString(),
            "{ed{ e : { messages : VOID, } }} ");
}

TEST(Definitions, WithoutANameStillPrintTheirFields) {
  const auto structure =
      Define<StructDefinition>(std::nullopt, DefinitionMap{{"f", DefineInteger()}});
  EXPECT_EQ(structure->ToString(), "{sd{ <noname> : { f : INTEGER, } }} ");
}

TEST(Definitions, PrintNothingForAMissingElement) {
  EXPECT_EQ(DefineOptional(nullptr)->ToString(), "OPTIONAL<>");
  EXPECT_EQ(DefineStruct("s", {{"f", nullptr}})->ToString(), "{sd{ s : { f : , } }} ");
}

TEST(Definitions, TellWhetherThereIsAMapOfFields) {
  const StructDefinition* none = new StructDefinition("s");
  const std::shared_ptr<const StructDefinition> owner(none);
  EXPECT_FALSE(none->HasFields());
  EXPECT_TRUE(none->GetFields().empty());
  const auto empty = std::make_shared<StructDefinition>("s", DefinitionMap{});
  EXPECT_TRUE(empty->HasFields());
}

TEST(StructRefDefinition, FindsItsTargetOnceTheHolderIsSet) {
  const auto holder = std::make_shared<StructHolder>();
  const auto reference = std::make_shared<StructRefDefinition>("s", holder);
  EXPECT_EQ(reference->GetTarget(), nullptr);
  auto structure = std::make_shared<StructDefinition>("s");
  holder->Set(structure);
  EXPECT_EQ(reference->GetTarget(), structure);
  EXPECT_EQ(reference->GetName(), "s");
  structure.reset();
  EXPECT_EQ(reference->GetTarget(), nullptr);
}

TEST(Definitions, DestroyingADeepOneNeedsNoStack) {
  const DefinitionPointer leaf = DefineString();
  RunOnSmallStack([&leaf] {
    DefinitionPointer definition = leaf;
    for (int level = 0; level < kDeep; ++level) {
      if (level % 4 == 0) definition = DefineOptional(std::move(definition));
      if (level % 4 == 1) definition = DefineList(std::move(definition));
      if (level % 4 == 2) definition = DefineStruct("s", {{"f", std::move(definition)}});
      if (level % 4 == 3) {
        definition = Define<DynamicErrorDefinition>(DefinitionMap{{"f", std::move(definition)}});
      }
    }
    definition.reset();
  });
  EXPECT_EQ(leaf.use_count(), 1);
}

TEST(Definitions, PrintingADeepOneNeedsNoStack) {
  constexpr int kDepth = 10'000;  // Each level copies what is below it.
  RunOnSmallStack([] {
    DefinitionPointer definition = DefineString();
    std::string expected = "STRING";
    for (int level = 0; level < kDepth; ++level) {
      definition = DefineList(std::move(definition));
      expected = "LIST[" + expected + "]";
    }
    EXPECT_TRUE(definition->ToString() == expected);
  });
}

// The builder.

TEST(BuildDefinition, MakesScalarsListsAndOptionals) {
  const NativeType text{DataType::kString};
  const NativeType list{DataType::kList, &text};
  const NativeType optional{DataType::kOptional, &list};
  EXPECT_EQ(BuildDefinition(optional)->ToString(), "OPTIONAL<LIST[STRING]>");
  for (const DataType scalar :
       {DataType::kVoid, DataType::kOpaque, DataType::kInteger, DataType::kDouble,
        DataType::kBoolean, DataType::kBlob, DataType::kString, DataType::kSecret}) {
    ASSERT_NE(BuildDefinition({scalar}), nullptr);
    EXPECT_EQ(BuildDefinition({scalar})->GetType(), scalar);
  }
}

TEST(BuildDefinition, MakesNothingOfAnotherKind) {
  for (const DataType other : {DataType::kError, DataType::kStructRef, DataType::kDynamicStruct,
                               DataType::kDynamicError, DataType::kUnknown}) {
    EXPECT_EQ(BuildDefinition({other}), nullptr);
  }
}

TEST(BuildDefinition, RefersToAStructureInsideItself) {
  NativeType node{DataType::kStruct, nullptr, "node"};
  const NativeType next{DataType::kOptional, &node};
  const NativeType number{DataType::kInteger};
  node.fields = {{"next", &next}, {"number", &number}};

  const auto definition = std::dynamic_pointer_cast<const StructDefinition>(BuildDefinition(node));

  ASSERT_NE(definition, nullptr);
  EXPECT_EQ(definition->ToString(),
            "{sd{ node : { next : OPTIONAL<StructRefDefinition>, number : INTEGER, } }} ");
  const auto& optional =
      static_cast<const OptionalDefinition&>(*definition->GetFields().at("next"));
  const auto& reference = static_cast<const StructRefDefinition&>(*optional.GetElement());
  EXPECT_EQ(reference.GetTarget(), definition);
}

TEST(BuildDefinition, RefersToAStructureThatStandsBesideIt) {
  const NativeType text{DataType::kString};
  const NativeType part{DataType::kStruct, nullptr, "part", {{"t", &text}}};
  const NativeType whole{DataType::kStruct, nullptr, "whole", {{"b", &part}, {"a", &part}}};
  EXPECT_EQ(BuildDefinition(whole)->ToString(),
            "{sd{ whole : { a : StructRefDefinition, b : {sd{ part : { t : STRING, } }} , } }} ");
}

TEST(BuildDefinition, KeepsNothingAliveThatRefersToItself) {
  NativeType node{DataType::kStruct, nullptr, "node"};
  const NativeType list{DataType::kList, &node};
  node.fields = {{"children", &list}};
  const std::weak_ptr<const DataDefinition> watched = BuildDefinition(node);
  EXPECT_TRUE(watched.expired());
}

}  // namespace
}  // namespace Krova::Data
