// Which operations exist for which migration type.
#pragma once

#include <json/json.h>

#include <map>
#include <string>

namespace Halvard::MigratorSvc {

enum class ApiAvailability {
  kAlways = 0,
  kNotForUpdateManager = 1,
  kForUpdateManagerOnly = 2,
};

/// By the operation's short name. Filled before wmain starts, never changed.
extern const std::map<std::wstring, ApiAvailability> ApiAvailabilityTable;

/// \param functionName  The operation's full name; what follows its last colon is looked up. A name
///                      that isn't in the table is always available.
/// \return Whether the operation exists for MIGRATION_TYPE. If not, the reply says so in the
///         client's language, and the log has it.
bool IsHalvardApiAvailable(const std::wstring& functionName, Json::Value& reply);

}  // namespace Halvard::MigratorSvc
