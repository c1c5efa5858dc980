// The operations of the agent as commands: what a person calls them, and what they take.
#pragma once

#include <span>
#include <vector>

namespace Hvctl {

/// One member of an operation's input document, and the option that sets it.
struct Parameter {
  enum class Kind {
    kText,    ///< The option's value as it stands.
    kSecret,  ///< A text that no command line holds: see secrets.h. The option names a file.
    kFlag,    ///< True when the option is there, else absent.
    kJson,    ///< JSON text, or @FILE.
  };
  const char* option;  ///< "--user"
  const char* member;  ///< "sso_username"
  Kind kind;
  bool required;
  const char* help;
  const char* variable = nullptr;  ///< Of a secret: the environment variable that may hold it.
  const char* prompt = nullptr;    ///< Of a secret: what a person is asked.
  const char* object =
      nullptr;  ///< The object that holds the member; null for the document itself.
};

struct OperationCommand {
  const char* name;       ///< "deployment-type"
  const char* operation;  ///< "get_source_deployment_type"
  const char* help;
  const char* example;  ///< What follows the name in the example of the command's help.
  std::vector<Parameter> parameters;  ///< Beside the locale and the administrator's credentials.
};

/// All thirteen, in the order in which a migration uses them.
std::span<const OperationCommand> OperationCommands();

/// What every operation takes: the locale and the administrator's credentials.
std::span<const Parameter> CommonParameters();

}  // namespace Hvctl
