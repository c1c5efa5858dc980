// A hash of everything that a provider serves.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "krova/core/identifiers.h"
#include "krova/provider/interfaces.h"

namespace Krova::Provider {

using InterfaceMap = std::map<std::shared_ptr<const Core::InterfaceIdentifier>,
                              std::shared_ptr<const AsyncApiInterface>, Core::PointedToLess>;

/// \return 32 lower-case hexadecimal digits, which change with the name of an interface or a method
///     and with the kinds, names and order in any definition. The same in each run and build.
std::string ComputeFingerprint(const InterfaceMap& interfaces);

}  // namespace Krova::Provider
