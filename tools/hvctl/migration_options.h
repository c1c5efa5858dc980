// The options of `hvctl migrate`.
#pragma once

#include <CLI/CLI.hpp>

#include "migration_settings.h"

namespace Hvctl {

/// Adds the options that a migration has beside those of every call, and the command's help.
/// \param settings  Has to outlive the command.
void AddMigrationOptions(CLI::App& command, MigrationSettings& settings);

/// Adds the option that sets a member of an input document.
/// \param required  Whether the command line is wrong without it.
/// \param given     Where its value goes; has to outlive the command, as the parameter has.
void AddParameter(CLI::App& command, const Parameter& parameter, bool required,
                  GivenOptions& given);

}  // namespace Hvctl
