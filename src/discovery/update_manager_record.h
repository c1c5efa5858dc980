// What Tarmis Update Manager recorded about the Kelvane Server that it belongs to.
#pragma once

#include "core/user_input.h"

namespace Halvard::Discovery {

/// Reads the record from the registry.
/// \param[out] tumInfo  Filled up to the first value that can't be read.
/// \return True when all of it could be read.
bool RetrieveTumInfoFromRegistry(TumInfo& tumInfo);

/// Sets the properties that a migration of Tarmis Update Manager needs, by the record and by
/// SOURCE_VERSION.
void SetRequiredTumProperties(const TumInfo& tumInfo);

}  // namespace Halvard::Discovery
