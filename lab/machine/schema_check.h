// Testing a machine's description against its JSON schema.
#pragma once

#include <optional>
#include <string>

#include <json/value.h>

namespace Lab {

/// \return The first fault of \p document in one line, without the file: "/user/sid: expected a
///         SID, as "S-1-5-32-544"". Nothing when it is as the schema wants it.
std::optional<std::string> FindSchemaFault(const Json::Value& document);

}  // namespace Lab
