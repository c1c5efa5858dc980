// What follows from the migration's type, the value of MIGRATION_TYPE.
#pragma once

#include <string_view>

namespace Halvard {

/// \return True when the source holds a Kelvane Server, with Single Sign-On on the same machine or
///         elsewhere.
constexpr bool HasKelvaneServer(std::wstring_view migrationType) {
  return migrationType == L"embedded" || migrationType == L"management";
}

}  // namespace Halvard
