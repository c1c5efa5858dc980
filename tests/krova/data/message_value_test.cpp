#include "krova/data/message_value.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Krova::Data {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const BaseMessage kUntouched{"before", "", {}};

// A message structure of which single fields can be replaced or left out.
std::shared_ptr<StructValue> MessageStruct(const char* name = "krova.core.runtime.message") {
  const auto structure = std::make_shared<StructValue>(name);
  structure->SetField("id", std::make_shared<StringValue>("some.id"));
  structure->SetField("default_message", std::make_shared<StringValue>("text %1%"));
  structure->SetField("args", std::make_shared<ListValue>());
  return structure;
}

void ExpectRefused(const ValuePointer& value, const BaseMessage& fault) {
  BaseMessage message = kUntouched;
  MessageList errors;
  EXPECT_FALSE(MessageFromValue(value, message, errors));
  EXPECT_EQ(message, kUntouched);
  EXPECT_THAT(errors, ElementsAre(fault));
}

TEST(MessageToValue, HasThreeFieldsUnderItsName) {
  const auto value = MessageToValue(MakeMessage("krova.invoke.invalid.input", "poll"));
  EXPECT_EQ(value->ToString(),
            "{{ krova.core.runtime.message : { args : [ poll, ] , "
            "default_message : Invalid input for method: %1%, id : krova.invoke.invalid.input, "
            "} }} ");
}

TEST(MessageFromValue, GivesBackTheSameMessage) {
  const BaseMessage messages[] = {MakeMessage("krova.invoke.invalid.error", "one", ""),
                                  MakeMessage("krova.data.invalid.type"),
                                  {"", "", {}}};
  for (const BaseMessage& original : messages) {
    BaseMessage message = kUntouched;
    MessageList errors;
    EXPECT_TRUE(MessageFromValue(MessageToValue(original), message, errors));
    EXPECT_EQ(message, original);
    EXPECT_THAT(errors, IsEmpty());
  }
}

TEST(MessageFromValue, RefusesWhatIsNoMessageStructure) {
  const BaseMessage invalid = MakeMessage("krova.data.invalid.type");
  ExpectRefused(nullptr, invalid);
  ExpectRefused(std::make_shared<StringValue>("some.id"), invalid);
  ExpectRefused(MessageStruct("another"), invalid);
}

TEST(MessageFromValue, RefusesAStructureThatLacksAField) {
  for (const char* missing : {"id", "default_message", "args"}) {
    const auto whole = MessageStruct();
    FieldList fields;
    for (const Field& field : *whole) {
      if (field.first != missing) fields.push_back(field);
    }
    ExpectRefused(
        std::make_shared<StructValue>("krova.core.runtime.message", FieldMap(std::move(fields))),
        MakeMessage("krova.data.structure.getfield.unknown", missing));
  }
}

TEST(MessageFromValue, RefusesFieldsOfAnotherKind) {
  const ValuePointer integer = std::make_shared<IntegerValue>(1);
  for (const char* text : {"id", "default_message"}) {
    const auto structure = MessageStruct();
    structure->SetField(text, integer);
    ExpectRefused(structure, MakeMessage("krova.data.bad.cast", "Long", "String"));
  }
  const auto noList = MessageStruct();
  noList->SetField("args", integer);
  ExpectRefused(noList, MakeMessage("krova.data.bad.cast", "LONG", "List"));
  const auto noString = MessageStruct();
  noString->SetField("args", std::make_shared<ListValue>(ValueList{integer}));
  ExpectRefused(noString, MakeMessage("krova.data.bad.cast", "Long", "String"));
}

TEST(MakeErrorValue, KeepsTheOrderOfTheMessages) {
  const auto error = MakeErrorValue("some.error", {MakeMessage("krova.data.invalid.type"),
                                                   MakeMessage("krova.recv.failed", "x")});
  EXPECT_EQ(error->GetName(), "some.error");
  EXPECT_EQ(error->size(), 1U);
  EXPECT_EQ(error->ToString(),
            "Error:\n   some.error\nMessages:\n   krova.data.invalid.type\n   krova.recv.failed\n");
}

TEST(MakeErrorValue, WithoutMessagesHoldsAnEmptyList) {
  const auto error = MakeErrorValue("some.error", {});
  const ValuePointer* messages = error->FindField("messages");
  ASSERT_NE(messages, nullptr);
  ASSERT_NE(ValueCast<ListValue>(messages->get()), nullptr);
  EXPECT_THAT(*ValueCast<ListValue>(messages->get()), IsEmpty());
  EXPECT_EQ(error->ToString(), "Error:\n   some.error\nNo messages!\n");
}

}  // namespace
}  // namespace Krova::Data
