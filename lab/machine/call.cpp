#include "machine/call.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "machine/call_site.h"
#include "machine/machine.h"

namespace Lab {

Call::Call(const char* function, std::wstring_view subject) {
  Machine& machine = TheMachine();
  const bool isRecorded = machine.Describe().census == CensusKind::kCalls;
  std::string site;
  if (isRecorded || machine.Faults().AsksForSite(function)) {
    site = CallSiteOf(__builtin_return_address(0));
  }
  if (isRecorded) machine.Calls().Count(function, site);
  plannedError_ = machine.Faults().CountCall(function, subject, site);
}

bool Call::FailsByPlan() const {
  if (plannedError_) SetLastError(*plannedError_);
  return plannedError_.has_value();
}

void RefuseCall(const char* function, const char* condition) {
  std::fprintf(stderr, "lab: %s is supported only with: %s\n", function, condition);
  std::abort();
}

}  // namespace Lab
