// The input documents of several operations, out of one command line.
#pragma once

#include <initializer_list>
#include <map>
#include <string>

#include "operation_input.h"

namespace Hvctl {

/// \param name  As in OperationCommand, "copy-export". It must be one.
const OperationCommand& CommandNamed(const std::string& name);

class OperationInputs {
 public:
  /// \param given    What was given for all operations; each takes its own of it.
  /// \param secrets  Asked once for each option.
  OperationInputs(GivenOptions given, SecretSource secrets);
  OperationInputs(const OperationInputs&) = delete;
  OperationInputs& operator=(const OperationInputs&) = delete;

  /// Gets the secrets of these commands now, so that nobody is asked for one hours later.
  void AskFor(std::initializer_list<const char*> names);

  /// \param more  Given for this call alone; it comes before what was given for all.
  /// \return The document as JSON text.
  /// Throws Failure (kUsage) as BuildInput does.
  std::string Of(const OperationCommand& command, const GivenOptions& more = {});

 private:
  GivenOptions given_;
  SecretSource secrets_;
  std::map<std::string, std::string> known_;  ///< Secrets by option.
};

/// Throws Failure (kUsage) with the way out when an option that one of the commands can't do
/// without wasn't given.
void CheckGiven(const GivenOptions& given, std::initializer_list<const char*> names);

}  // namespace Hvctl
