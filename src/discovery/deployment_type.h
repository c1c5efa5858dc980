// The deployment type of a machine that the platform installer set up.
#pragma once

#include <string>

namespace Halvard::Discovery {

/// \return The deployment type, "embedded", "management" or "infrastructure". Empty when neither
///         the product's configuration nor the registry tells it.
///
/// The configuration wins. When the registry differs, it is set right.
std::wstring GetRimsawinDeploymentType();

}  // namespace Halvard::Discovery
