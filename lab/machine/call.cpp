#include "machine/call.h"

#include <cstdio>
#include <cstdlib>

#include "machine/machine.h"

namespace Lab {

Call::Call(const char* function, std::wstring_view subject)
    : plannedError_(TheMachine().Faults().CountCall(function, subject)) {}

bool Call::FailsByPlan() const {
  if (plannedError_) SetLastError(*plannedError_);
  return plannedError_.has_value();
}

void RefuseCall(const char* function, const char* condition) {
  std::fprintf(stderr, "lab: %s is supported only with: %s\n", function, condition);
  std::abort();
}

}  // namespace Lab
