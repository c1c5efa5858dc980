// The words of the protocol: tokens, fields of a request, methods.
#pragma once

#include <cstdint>
#include <string_view>

namespace Krova::Protocol::Json {

/// Kinds of tokens, by the ordinals of their words. A key is a string.
enum class Token : std::uint8_t {
  kNull,
  kBool,
  kLong,
  kDouble,
  kString,
  kStartObject,
  kEndObject,
  kStartArray,
  kEndArray,
  kUnknown,
};

/// The word that messages use. An ordinal beyond the table gives "_UNKNOWN".
const char* TokenWord(Token token);

/// Members of a request and of the objects in it, by the ordinals of their words.
enum class RequestField : std::uint8_t {
  kJsonRpc,
  kId,
  kMethod,
  kParams,
  kServiceId,
  kOperationId,
  kInput,
  kContext,
  kApplicationContext,
  kSecurityContext,
  kUnknown,
};

/// Exact comparison; any other word is unknown.
RequestField FindRequestField(std::string_view word);

/// Methods of the protocol.
enum class Method : std::uint8_t { kInvoke, kUnknown };

/// Exact comparison; any other word is unknown.
Method FindMethod(std::string_view word);

}  // namespace Krova::Protocol::Json
