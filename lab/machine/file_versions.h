// Versions that files of the machine tell, whatever the files hold.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include <json/value.h>

#include "machine/text.h"

namespace Lab {

/// Major, minor, build and revision; nothing for a resource that is damaged.
using FileVersion = std::optional<std::array<std::uint16_t, 4>>;

/// By the full path.
using FileVersions = std::map<std::wstring, FileVersion, LessNoCase>;

/// \param versions  The description's member, already tested against the schema.
/// \throw std::invalid_argument with the place in the document of a number beyond 65,535.
FileVersions ReadFileVersions(const Json::Value& versions);

}  // namespace Lab
