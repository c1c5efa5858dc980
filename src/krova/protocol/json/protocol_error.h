// Protocol errors: a request that wasn't understood.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "krova/data/value.h"

namespace Krova::Protocol::Json {

/// A code of the protocol and its text.
struct ProtocolError {
  std::int64_t code;
  const char* text;
};

inline constexpr ProtocolError kParseError{-32700, "Parse error."};
inline constexpr ProtocolError kInvalidRequest{-32600, "Invalid Request."};
inline constexpr ProtocolError kMethodNotFound{-32601, "Method not found."};
inline constexpr ProtocolError kInvalidParams{-32602, "Invalid params."};
/// Part of the protocol; nothing raises it yet.
inline constexpr ProtocolError kInternalError{-32603, "Internal error."};

// Fields of the error value "invalid_request". The last one stays in this process.
inline constexpr char kCodeField[] = "code";
inline constexpr char kMessageField[] = "message";
inline constexpr char kRequestIdField[] = "request_id";
inline constexpr char kMessagesField[] = "messages";

/// \param requestId  Empty where the id isn't known; there is no field `request_id` then.
/// \param messages  Message structures: what the parser found.
/// \return An error "invalid_request" with `code` (integer), `message` (string), `messages` (list)
///     and, if the id is known, `request_id` (string).
std::shared_ptr<const Data::ErrorValue> MakeProtocolError(const ProtocolError& error,
                                                          const std::string& requestId,
                                                          Data::ValueList messages);

}  // namespace Krova::Protocol::Json
