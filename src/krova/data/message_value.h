// Messages as data values.
#pragma once

#include <memory>
#include <string>

#include "krova/data/value.h"

namespace Krova::Data {

/// \return A StructValue "krova.core.runtime.message" with `id` and `default_message` (strings) and
///     `args` (list of strings).
std::shared_ptr<const StructValue> MessageToValue(const BaseMessage& message);

/// The way back.
/// \param errors  Gets one message if \p value isn't a message structure or lacks a field.
/// \return Whether \p message holds the whole message; otherwise it is left alone.
bool MessageFromValue(const ValuePointer& value, BaseMessage& message, MessageList& errors);

/// Builds the error that a client receives. Never null.
/// \param messages  Reported in this order; may be empty.
/// \return One field, `messages`, a list of message structures.
std::shared_ptr<const ErrorValue> MakeErrorValue(const std::string& name,
                                                 const MessageList& messages);

}  // namespace Krova::Data
