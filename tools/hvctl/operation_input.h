// The input document of an operation, out of what the command line gave.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "operation_commands.h"

namespace Hvctl {

/// What the command line gave, by the option's name. A flag has an empty text.
using GivenOptions = std::map<std::string, std::string, std::less<>>;

/// Gets a secret.
/// \param file  What the option said; empty without it.
using SecretSource =
    std::function<std::string(const Parameter& parameter, const std::string& file)>;

/// \return The document as JSON text, UTF-8. Secrets are asked for in the order in which the
///         parameters stand, the common ones first.
/// Throws Failure (kUsage) when a text isn't JSON where it has to be, or a file can't be read.
std::string BuildInput(const OperationCommand& command, const GivenOptions& given,
                       const SecretSource& secrets);

/// The text of "@FILE", or \p text itself. Throws Failure (kUsage) when the file can't be read.
std::string TextOrFile(const std::string& text);

}  // namespace Hvctl
