// The command line of hvctl.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "agent_connection.h"
#include "migration_settings.h"
#include "operation_commands.h"
#include "operation_input.h"

namespace Hvctl {

inline constexpr std::uint16_t kDefaultPort = 9123;

struct Options {
  enum class Command { kNone, kCall, kOperation, kMigrate, kForget };
  Command command = Command::kNone;

  Endpoint agent;
  TimeLimits limits;
  std::optional<std::string> thumbprint;  ///< In the agent's form.

  std::string operation;
  std::string input;  ///< The JSON text itself, "@FILE", or "-" for standard input.

  const OperationCommand* operationCommand = nullptr;  ///< Of kOperation; never null there.
  GivenOptions given;                                  ///< What it was given.

  MigrationSettings migration;  ///< Of kMigrate. Host and port may come from its file: they are
                                ///< empty and 0 then, as is the thumbprint.

  bool json = false;  ///< Of kOperation: show the reply's document, not what is for a person.
  bool framed = false;
  bool raw = false;
};

/// Reads the command line. Help is printed here.
/// \param arguments  UTF-8, without the program's name.
/// \return Nothing when the program is to end with \p exitCode: after help, or after an error that
///         is already on standard error.
std::optional<Options> ParseOptions(const std::vector<std::string>& arguments, int& exitCode);

}  // namespace Hvctl
