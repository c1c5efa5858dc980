#include "operation_inputs.h"

#include <algorithm>

#include "failure.h"

namespace Hvctl {
namespace {

void CheckParameters(const GivenOptions& given, std::span<const Parameter> parameters) {
  for (const Parameter& parameter : parameters) {
    if (!parameter.required || given.contains(parameter.option)) continue;
    throw Failure(ExitCode::kUsage, std::string(parameter.option) +
                                        " is missing: " + parameter.help + ". Give it, or \"" +
                                        (parameter.option + 2) + "\" in the settings file.");
  }
}

}  // namespace

const OperationCommand& CommandNamed(const std::string& name) {
  return *std::ranges::find(OperationCommands(), name, &OperationCommand::name);
}

OperationInputs::OperationInputs(GivenOptions given, SecretSource secrets)
    : given_(std::move(given)) {
  secrets_ = [this, ask = std::move(secrets)](const Parameter& parameter, const std::string& file) {
    const auto found = known_.find(parameter.option);
    if (found != known_.end()) return found->second;
    return known_[parameter.option] = ask(parameter, file);
  };
}

void OperationInputs::AskFor(std::initializer_list<const char*> names) {
  for (const char* name : names) (void)Of(CommandNamed(name));
}

std::string OperationInputs::Of(const OperationCommand& command, const GivenOptions& more) {
  GivenOptions all = more;
  all.insert(given_.begin(), given_.end());
  return BuildInput(command, all, secrets_);
}

void CheckGiven(const GivenOptions& given, std::initializer_list<const char*> names) {
  CheckParameters(given, CommonParameters());
  for (const char* name : names) CheckParameters(given, CommandNamed(name).parameters);
}

}  // namespace Hvctl
