#include "krova/messages.h"

namespace Krova {

// "krova.trasport.io.failed" and the half place "%1" of "krova.unknown.request.id" are what clients
// know; both are spelled so on purpose.
const MessageRow kFrameworkMessages[] = {
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
    {nullptr, nullptr},
};

// Three rows are for the client's side alone: "rpc.error", "incomplete.response" and
// "invalid.response.field".
const MessageRow kJsonProtocolMessages[] = {
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
    {nullptr, nullptr},
};

const char* FindMessageText(const MessageRow* table, std::string_view id) {
  for (; table->id != nullptr; ++table) {
    if (id == table->id) return table->text;
  }
  return "Unknown message.";
}

BaseMessage Detail::BuildMessage(const MessageRow* table, std::string_view id,
                                 std::vector<std::string> args) {
  return {std::string(id), FindMessageText(table, id), std::move(args)};
}

}  // namespace Krova
