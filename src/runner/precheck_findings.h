// What the runner's requirements phase found, as texts for the operator.
#pragma once

#include <json/value.h>

#include <string>

namespace Halvard::Runner {

/// Puts the findings of all components into two texts for the operator, in the operator's language.
/// \param output         As in preupgrade_output.h.
/// \param[out] errors    One after the other, an empty line in between; empty without any.
/// \param[out] warnings  The same for all that isn't an error.
/// \throws Json::Exception on what can't be converted.
void ParseErrorsWarningsFromPreUpgradeOutput(const Json::Value& output, std::wstring& errors,
                                             std::wstring& warnings);

}  // namespace Halvard::Runner
