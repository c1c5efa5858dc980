#include "krova/messages.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "krova/standard_errors.h"

namespace Krova {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// The tables again, in order, as a client has them: a changed letter must not go unseen.
constexpr MessageRow kFrameworkTable[] = {
    {"krova.data.unset.non.optional.field", "Unset required field: %1%"},
    {"krova.data.bad.cast", "Bad cast: %1% -> %2% : %3%"},
    {"krova.data.invalid.type", "Invalid type"},
    {"krova.data.type.mismatch", "Type mismatch: %1% != %2%"},
    {"krova.data.value.unknown", "Unknown value: %1%"},
    {"krova.data.comparator.values.not.equal", "Values not equal <%1%>: %2% != %3%"},
    {"krova.data.value.comp.values.not.eq.sizes", "Values not equal size: %1% != %2%"},
    {"krova.data.value.comp.struct.names.not.eq", "Struct names not equal: %1% != %2%"},
    {"krova.data.value.comp.struct.missing.field", "Missing struct field[%1%]: %2%,%3%"},
    {"krova.data.error.getfield.unknown", "GetField unknown field: %1%"},
    {"krova.data.structure.getfield.unknown", "GetField unknown field: %1%"},
    {"krova.data.compound.field.missing", "Missing field in compound: [%1%] %2%: %3%"},
    {"krova.data.compound.field.extra", "Extra field in compound: [%1%] %2%: %3%"},
    {"krova.data.struct.missing.fields", "Missing fields: %1%, %2%"},
    {"krova.data.union.missing.tag.field", "Missing UnionCase tag field: %1%"},
    {"krova.data.union.invalid.case.state", "Invalid UnionCase state. Expected %1% got: %2%"},
    {"krova.async.api.interface.missing.method", "Interface missing method: %1%[%2%]"},
    {"krova.invoke.invalid.input", "Invalid input for method: %1%"},
    {"krova.invoke.invalid.output", "Invalid output for method: %1%"},
    {"krova.invoke.invalid.error", "Invalid error for method: %1% -> %2%"},
    {"krova.invoke.unknown.error", "Unknown error for method: %1% -> %2%"},
    {"krova.provider.interface.already.registered", "Interface already registered: %1%"},
    {"krova.provider.interface.unknown", "Unknown interface: %1%"},
    {"krova.provider.invalid.response", "Invalid response for method: %1%"},
    {"krova.provider.method.signal.not.connected", "Method signal not connected."},
    {"krova.filter.invoke.signal.not.connected", "Invoke signal not connected"},
    {"krova.unknown.request.id", "Unknown request id[%1]: %2%"},
    {"krova.async.provider.duplicate.id", "Duplicate Id: %1%"},
    {"krova.recv.failed", "Receive of frame failed: %1%"},
    {"krova.send.failed", "Send of frame failed: %1%"},
    {"krova.trasport.io.failed", "IO failure: %1%"},
    {"krova.bindings.method.impl.unexpected", "Unexpected error for method: %1% -> %2%"},
};
constexpr MessageRow kProtocolTable[] = {
    {"krova.protocol.json.request.invalid.params", "Invalid parameters"},
    {"krova.protocol.json.request.unknown.method", "Unknown method: %1%"},
    {"krova.protocol.json.incomplete.request", "Incomplete request"},
    {"krova.protocol.json.invalid.request.field", "Invalid request field: %1%"},
    {"krova.protocol.json.rpc.error", "JsonRpc error: %1%, code: %2%, data: %3%"},
    {"krova.protocol.json.incomplete.response", "Incomplete response"},
    {"krova.protocol.json.invalid.response.field", "Invalid response field: %1%"},
    {"krova.protocol.json.invalid.token", "Invalid token: %1%"},
    {"krova.protocol.json.invalid.base64", "Invalid Base64: %1%"},
    {"krova.protocol.json.invalid.type", "Invalid type: %1%"},
};

template <std::size_t kRows>
void ExpectTable(const MessageRow* table, const MessageRow (&expected)[kRows]) {
  for (const MessageRow& row : expected) {
    ASSERT_NE(table->id, nullptr) << row.id;
    EXPECT_STREQ(table->id, row.id);
    EXPECT_STREQ(table->text, row.text) << row.id;
    ++table;
  }
  EXPECT_EQ(table->id, nullptr);
  EXPECT_EQ(table->text, nullptr);
}

TEST(MessageTables, FrameworkTableHasIts32RowsInOrder) {
  static_assert(std::size(kFrameworkTable) == 32);
  ExpectTable(kFrameworkMessages, kFrameworkTable);
}

TEST(MessageTables, JsonProtocolTableHasIts10RowsInOrder) {
  static_assert(std::size(kProtocolTable) == 10);
  ExpectTable(kJsonProtocolMessages, kProtocolTable);
}

TEST(FindMessageText, UnknownIdGivesUnknownMessage) {
  EXPECT_STREQ(FindMessageText(kFrameworkMessages, "krova.no.such.id"), "Unknown message.");
  EXPECT_STREQ(FindMessageText(kFrameworkMessages, ""), "Unknown message.");
}

TEST(FindMessageText, ComparesExactly) {
  EXPECT_STREQ(FindMessageText(kFrameworkMessages, "krova.data.invalid.typ"), "Unknown message.");
  EXPECT_STREQ(FindMessageText(kFrameworkMessages, "krova.data.invalid.type2"), "Unknown message.");
  EXPECT_STREQ(FindMessageText(kFrameworkMessages, "Krova.data.invalid.type"), "Unknown message.");
}

TEST(FindMessageText, TablesAreApart) {
  EXPECT_STREQ(FindMessageText(kFrameworkMessages, "krova.protocol.json.invalid.type"),
               "Unknown message.");
  EXPECT_STREQ(FindMessageText(kJsonProtocolMessages, "krova.data.invalid.type"),
               "Unknown message.");
}

TEST(FindMessageText, DifferenceOfOptionalsIsNotInTheTable) {
  EXPECT_STREQ(FindMessageText(kFrameworkMessages, "krova.data.value.comparator.values.not.equal"),
               "Unknown message.");
}

TEST(MakeMessage, KeepsThePlacesThatHaveNoArgument) {
  const BaseMessage message = MakeMessage("krova.invoke.invalid.error", "some.error");

  EXPECT_EQ(message.id, "krova.invoke.invalid.error");
  EXPECT_EQ(message.default_message, "Invalid error for method: %1% -> %2%");
  EXPECT_THAT(message.args, ElementsAre("some.error"));
}

TEST(MakeMessage, TakesTextsOfAnyForm) {
  const std::string text = "a";
  const BaseMessage message = MakeMessage("krova.data.bad.cast", text, std::string_view("b"), "c");
  EXPECT_THAT(message.args, ElementsAre("a", "b", "c"));
}

TEST(MakeMessage, UnknownIdKeepsItsId) {
  const BaseMessage message = MakeMessage("krova.no.such.id");
  EXPECT_EQ(message.id, "krova.no.such.id");
  EXPECT_EQ(message.default_message, "Unknown message.");
  EXPECT_THAT(message.args, IsEmpty());
}

TEST(MakeJsonProtocolMessage, TakesTheTextFromItsOwnTable) {
  const BaseMessage message =
      MakeJsonProtocolMessage("krova.protocol.json.invalid.token", "startObj");
  EXPECT_EQ(message.default_message, "Invalid token: %1%");
  EXPECT_THAT(message.args, ElementsAre("startObj"));
}

TEST(StandardErrors, HaveTheNamesThatClientsKnow) {
  EXPECT_STREQ(kInternalServerError, "com.ostrel.krova.std.errors.internal_server_error");
  EXPECT_STREQ(kInvalidArgumentError, "com.ostrel.krova.std.errors.invalid_argument");
  EXPECT_STREQ(kUnexpectedInputError, "com.ostrel.krova.std.errors.unexpected_input");
  EXPECT_STREQ(kOperationNotFoundError, "com.ostrel.krova.std.errors.operation_not_found");
  EXPECT_STREQ(kInvalidRequestError, "invalid_request");
  EXPECT_STREQ(kSystemError, "system_error");
  EXPECT_STREQ(kProgressStruct, "com.ostrel.krova.std.progress");
}

}  // namespace
}  // namespace Krova
