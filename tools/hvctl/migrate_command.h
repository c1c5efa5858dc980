// `hvctl migrate`, from its options to its exit code.
#pragma once

#include "exit_code.h"
#include "options.h"

namespace Hvctl {

/// Carries out a migration at standard input and output.
/// \param options  Of Command::kMigrate.
/// Throws Failure with the cause, the way out and the exit code.
ExitCode Migrate(Options options);

}  // namespace Hvctl
