// The one exception of hvctl: what went wrong, for a person, and how the program ends.
#pragma once

#include <stdexcept>
#include <string>

#include "exit_code.h"

namespace Hvctl {

class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& text) : std::runtime_error(text), code_(code) {}
  ExitCode Code() const { return code_; }

 private:
  ExitCode code_;
};

}  // namespace Hvctl
