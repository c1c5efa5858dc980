// The size of the appliance that an inventory needs.
#pragma once

#include <cstdint>
#include <string>

namespace Halvard {

/// \return "Tiny", "Small", "Medium" or "Large"; empty for an inventory beyond the largest.
std::wstring DeploymentSizeFor(std::int32_t hosts, std::int32_t machines);

/// Settles DST_DEPLOYMENT_SIZE. An inventory beyond the limits passes as "Large", with a warning,
/// when the environment variable HV_ALLOW_LARGE_PLUS_INV exists.
/// \return False when it may not pass, after reporting that.
bool SetDeploymentSize(std::int32_t hosts, std::int32_t machines);

}  // namespace Halvard
