// What a reply tells of the machine's directory domain.
#pragma once

#include <json/json.h>

#include "network/directory_domain.h"

namespace Halvard::MigratorSvc {

/// Sets `adDcName`, `adDcAddress`, `adDcIpv4Addresses` and `adDcIpv6Addresses`. The domain's own
/// name has one member in one reply and another in the other.
void SetDomainController(Json::Value& object, const Network::ActiveDirectoryConfig& config);

}  // namespace Halvard::MigratorSvc
