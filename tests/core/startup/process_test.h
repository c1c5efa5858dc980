// What the tests of whole runs share.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "machine/string_tables.h"
#include "support/agent_run.h"

namespace Halvard {

/// The message of a language, as the program was linked with it, with its places filled.
inline std::wstring Message(std::uint16_t language, std::uint16_t id,
                            const std::vector<std::wstring>& arguments = {}) {
  std::wstring text(Lab::FindString(language, id));
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::wstring place = L"[" + std::to_wstring(i) + L"]";
    if (const std::size_t at = text.find(place); at != std::wstring::npos) {
      text.replace(at, place.size(), arguments[i]);
    }
  }
  return text;
}

inline std::wstring English(std::uint16_t id, const std::vector<std::wstring>& arguments = {}) {
  return Message(1033, id, arguments);
}

/// The exit code of every failure: -1, of which a host process keeps the lower byte.
inline constexpr int kFailureCode = 255;

}  // namespace Halvard
