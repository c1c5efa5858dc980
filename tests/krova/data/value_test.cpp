#include "krova/data/value.h"

#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "krova/deep_trees.h"
#include "krova/make_values.h"
#include "krova/small_stack.h"

namespace Krova::Data {
namespace {

using ::testing::ElementsAre;
using Testing::Integer;
using ::testing::IsEmpty;
using Testing::String;

std::vector<std::string> FieldNames(const NamedFields& fields) {
  std::vector<std::string> names;
  for (const Field& field : fields) names.push_back(field.first);
  return names;
}

TEST(ScalarValues, HandBackWhatTheyHold) {
  EXPECT_EQ(std::make_shared<IntegerValue>(INT64_MIN)->GetValue(), INT64_MIN);
  EXPECT_EQ(std::make_shared<DoubleValue>(-0.5)->GetValue(), -0.5);
  EXPECT_TRUE(std::make_shared<BooleanValue>(true)->GetValue());
  EXPECT_EQ(std::make_shared<StringValue>("a")->GetValue(), "a");
  EXPECT_EQ(std::make_shared<SecretValue>("b")->GetValue(), "b");
  EXPECT_THAT(std::make_shared<BlobValue>(std::vector<std::uint8_t>{0, 255})->GetValue(),
              ElementsAre(0, 255));
}

TEST(OptionalValue, WithoutAChildIsUnset) {
  const auto unset = std::make_shared<OptionalValue>();
  EXPECT_FALSE(unset->HasValue());
  EXPECT_EQ(unset->GetValue(), nullptr);
}

TEST(OptionalValue, WithAChildIsSet) {
  const ValuePointer child = Integer(1);
  const auto set = std::make_shared<OptionalValue>(child);
  EXPECT_TRUE(set->HasValue());
  EXPECT_EQ(set->GetValue(), child);
}

TEST(ListValue, IsItsOwnList) {
  ListValue* list = nullptr;
  const auto owner = std::make_shared<ListValue>();
  list = owner.get();
  list->push_back(Integer(1));
  list->push_back(Integer(2));
  EXPECT_EQ(list->size(), 2U);
  EXPECT_EQ(ValueCast<IntegerValue>(list->back().get())->GetValue(), 2);
}

TEST(StructValue, SettingAFieldTwiceKeepsTheLastValueAndOneEntry) {
  const auto structure = std::make_shared<StructValue>("n");
  structure->SetField("f", Integer(1));
  structure->SetField("f", Integer(2));

  EXPECT_EQ(structure->size(), 1U);
  EXPECT_EQ(structure->ToString(), "{{ n : { f : 2, } }} ");
}

TEST(StructValue, FieldsComeInByteWiseOrder) {
  const auto structure = std::make_shared<StructValue>("n");
  for (const char* name : {"b", "\xC3\xA4", "B", "", "ab", "a", "_"}) {
    structure->SetField(name, nullptr);
  }
  EXPECT_THAT(FieldNames(*structure), ElementsAre("", "B", "_", "a", "ab", "b", "\xC3\xA4"));
}

TEST(StructValue, GetFieldOfAMissingNameLeavesOutAloneAndAddsOneMessage) {
  const auto structure = std::make_shared<StructValue>("n");
  const ValuePointer before = Integer(7);
  ValuePointer out = before;
  MessageList errors;

  EXPECT_FALSE(structure->GetField("gone", out, errors));

  EXPECT_EQ(out, before);
  EXPECT_THAT(errors, ElementsAre(BaseMessage{"krova.data.structure.getfield.unknown",
                                              "GetField unknown field: %1%",
                                              {"gone"}}));
}

TEST(StructValue, GetFieldFindsWhatWasSet) {
  const auto structure = std::make_shared<StructValue>("n");
  const ValuePointer value = Integer(7);
  structure->SetField("f", value);
  ValuePointer out;
  MessageList errors;

  EXPECT_TRUE(structure->GetField("f", out, errors));

  EXPECT_EQ(out, value);
  EXPECT_THAT(errors, IsEmpty());
  EXPECT_TRUE(structure->HasField("f"));
  EXPECT_FALSE(structure->HasField("F"));
  EXPECT_FALSE(structure->HasField(""));
}

TEST(StructValue, AnUnsetFieldIsThere) {
  const auto structure = std::make_shared<StructValue>("n");
  structure->SetField("f", nullptr);
  ValuePointer out = Integer(1);
  MessageList errors;

  EXPECT_TRUE(structure->HasField("f"));
  EXPECT_TRUE(structure->GetField("f", out, errors));
  EXPECT_EQ(out, nullptr);
}

TEST(ErrorValue, GetFieldOfAMissingNameHasItsOwnId) {
  const auto error = std::make_shared<ErrorValue>("e");
  ValuePointer out;
  MessageList errors;

  EXPECT_FALSE(error->GetField("request_id", out, errors));

  EXPECT_EQ(out, nullptr);
  EXPECT_THAT(errors, ElementsAre(BaseMessage{"krova.data.error.getfield.unknown",
                                              "GetField unknown field: %1%",
                                              {"request_id"}}));
}

TEST(ErrorValue, FromANameAloneHasNoFields) {
  const auto error = std::make_shared<ErrorValue>("e");
  EXPECT_EQ(error->GetName(), "e");
  EXPECT_TRUE(error->empty());
}

TEST(ErrorValue, FromAListStoresItUnderMessages) {
  const auto messages = std::make_shared<ListValue>();
  const auto error = std::make_shared<ErrorValue>("e", messages);
  ValuePointer out;
  MessageList errors;
  EXPECT_TRUE(error->GetField("messages", out, errors));
  EXPECT_EQ(out, messages);
  EXPECT_EQ(error->size(), 1U);
}

// One of each kind, with the slot that a visitor is told about.
struct KindRow {
  const char* slot;
  DataType type;
  std::shared_ptr<DataValue> value;
};
std::vector<KindRow> AllKinds() {
  return {
      {"void", DataType::kVoid, std::make_shared<VoidValue>()},
      {"integer", DataType::kInteger, std::make_shared<IntegerValue>(1)},
      {"double", DataType::kDouble, std::make_shared<DoubleValue>(1)},
      {"boolean", DataType::kBoolean, std::make_shared<BooleanValue>(true)},
      {"blob", DataType::kBlob, std::make_shared<BlobValue>(std::vector<std::uint8_t>{1})},
      {"string", DataType::kString, std::make_shared<StringValue>("")},
      {"secret", DataType::kSecret, std::make_shared<SecretValue>("")},
      {"error", DataType::kError, std::make_shared<ErrorValue>("e")},
      {"optional", DataType::kOptional, std::make_shared<OptionalValue>()},
      {"list", DataType::kList, std::make_shared<ListValue>()},
      {"struct", DataType::kStruct, std::make_shared<StructValue>("s")},
  };
}

class Recorder final : public ValueVisitor {
 public:
  void Visit(const std::shared_ptr<const VoidValue>& value) override { Note("void", value); }
  void Visit(const std::shared_ptr<const IntegerValue>& value) override { Note("integer", value); }
  void Visit(const std::shared_ptr<const DoubleValue>& value) override { Note("double", value); }
  void Visit(const std::shared_ptr<const BooleanValue>& value) override { Note("boolean", value); }
  void Visit(const std::shared_ptr<const BlobValue>& value) override { Note("blob", value); }
  void Visit(const std::shared_ptr<const StringValue>& value) override { Note("string", value); }
  void Visit(const std::shared_ptr<const SecretValue>& value) override { Note("secret", value); }
  void Visit(const std::shared_ptr<const ErrorValue>& value) override { Note("error", value); }
  void Visit(const std::shared_ptr<const OptionalValue>& value) override {
    Note("optional", value);
  }
  void Visit(const std::shared_ptr<const ListValue>& value) override { Note("list", value); }
  void Visit(const std::shared_ptr<const StructValue>& value) override { Note("struct", value); }

  std::vector<std::string> slots;
  ValuePointer last;

 private:
  void Note(const char* slot, ValuePointer value) {
    slots.emplace_back(slot);
    last = std::move(value);
  }
};

TEST(Accept, CallsTheSlotOfTheKindWithThisObject) {
  for (const KindRow& kind : AllKinds()) {
    Recorder recorder;
    kind.value->Accept(recorder);
    EXPECT_EQ(recorder.last, kind.value);
    recorder.last.reset();
    std::as_const(*kind.value).Accept(recorder);
    EXPECT_EQ(recorder.last, kind.value);
    EXPECT_THAT(recorder.slots, ElementsAre(kind.slot, kind.slot));
  }
}

TEST(Accept, LeavesChildrenToTheVisitor) {
  Recorder recorder;
  Testing::Nest(Testing::InList, 3, Integer(1))->Accept(recorder);
  EXPECT_THAT(recorder.slots, ElementsAre("list"));
}

TEST(GetType, IsTheKinds) {
  for (const KindRow& kind : AllKinds()) {
    DataType type = DataType::kUnknown;
    kind.value->GetType(type);
    EXPECT_EQ(type, kind.type) << kind.slot;
    EXPECT_EQ(TypeOf(kind.value), kind.type) << kind.slot;
  }
  EXPECT_EQ(TypeOf(nullptr), DataType::kUnknown);
}

TEST(IsLeaf, HoldsForTheKindsWithoutChildren) {
  for (const KindRow& kind : AllKinds()) {
    const bool compound = kind.type == DataType::kError || kind.type == DataType::kOptional ||
                          kind.type == DataType::kList || kind.type == DataType::kStruct;
    EXPECT_EQ(IsLeaf(*kind.value), !compound) << kind.slot;
  }
}

template <typename Kind>
void ExpectOneCast(DataType type) {
  int casts = 0;
  for (const KindRow& kind : AllKinds()) {
    const ValuePointer value = kind.value;
    const std::shared_ptr<const Kind> cast = ValueCast<Kind>(value);
    EXPECT_EQ(cast != nullptr, kind.type == type) << kind.slot;
    EXPECT_EQ(ValueCast<Kind>(value.get()), cast.get());
    if (cast != nullptr) {
      EXPECT_EQ(cast, kind.value);
      ++casts;
    }
  }
  EXPECT_EQ(casts, 1);
  EXPECT_EQ(ValueCast<Kind>(ValuePointer()), nullptr);
}

TEST(ValueCast, GivesNullForEveryOtherKind) {
  ExpectOneCast<VoidValue>(DataType::kVoid);
  ExpectOneCast<IntegerValue>(DataType::kInteger);
  ExpectOneCast<DoubleValue>(DataType::kDouble);
  ExpectOneCast<BooleanValue>(DataType::kBoolean);
  ExpectOneCast<BlobValue>(DataType::kBlob);
  ExpectOneCast<StringValue>(DataType::kString);
  ExpectOneCast<SecretValue>(DataType::kSecret);
  ExpectOneCast<ErrorValue>(DataType::kError);
  ExpectOneCast<OptionalValue>(DataType::kOptional);
  ExpectOneCast<ListValue>(DataType::kList);
  ExpectOneCast<StructValue>(DataType::kStruct);
}

// Destruction.

class DeepDestruction : public ::testing::TestWithParam<Testing::DeepTree> {};

TEST_P(DeepDestruction, NeedsNoStack) {
  const auto leaf = std::make_shared<StringValue>("leaf");
  Testing::RunOnSmallStack([&leaf] {
    ValuePointer tree = Testing::Nest(GetParam(), Testing::kDeep, leaf);
    EXPECT_GT(leaf.use_count(), 1);
    tree.reset();
  });
  EXPECT_EQ(leaf.use_count(), 1);
}

INSTANTIATE_TEST_SUITE_P(Kinds, DeepDestruction, ::testing::ValuesIn(Testing::kDeepTrees),
                         [](const auto& tree) { return std::string(tree.param.name); });

TEST(Destruction, SparesWhatAnotherParentShares) {
  const ValuePointer shared = Testing::Nest(Testing::InList, 10, String("kept"));
  ValuePointer first = Testing::InStruct(Testing::InList(shared));
  const ValuePointer second = Testing::InError(shared);

  first.reset();

  EXPECT_EQ(shared.use_count(), 2);
  EXPECT_EQ(shared->ToString(), "[ [ [ [ [ [ [ [ [ [ kept, ] , ] , ] , ] , ] , ] , ] , ] , ] , ] ");
}

TEST(Destruction, OfOneTreeInTwoPlacesOfItsParentFreesItOnce) {
  const auto leaf = std::make_shared<StringValue>("leaf");
  {
    const ValuePointer shared = Testing::Nest(Testing::InOptional, 1000, leaf);
    const auto list = std::make_shared<ListValue>();
    for (int count = 0; count < 100; ++count) list->push_back(shared);
    const ValuePointer outer = Testing::InList(list);
  }
  EXPECT_EQ(leaf.use_count(), 1);
}

TEST(Destruction, WorksWhileAnotherThreadReleasesTheSameTree) {
  const auto leaf = std::make_shared<StringValue>("leaf");
  for (int round = 0; round < 20; ++round) {
    ValuePointer mine = Testing::Nest(Testing::InTurn, 5000, leaf);
    ValuePointer others = mine;
    std::thread other([others = std::move(others)]() mutable { others.reset(); });
    mine.reset();
    other.join();
    EXPECT_EQ(leaf.use_count(), 1);
  }
}

TEST(Destruction, ReplacingADeepFieldNeedsNoStack) {
  Testing::RunOnSmallStack([] {
    const auto structure = std::make_shared<StructValue>("s");
    structure->SetField("f", Testing::Nest(Testing::InList, Testing::kDeep, Integer(1)));
    structure->SetField("f", Integer(2));
    EXPECT_EQ(structure->ToString(), "{{ s : { f : 2, } }} ");
  });
}

}  // namespace
}  // namespace Krova::Data
