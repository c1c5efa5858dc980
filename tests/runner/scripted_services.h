// Stand-ins for the starting of services, which a test sees.
#pragma once

#include <string>
#include <vector>

namespace Halvard::Testing {

/// The calls so far, as "StartServices(name, name ...)" or
/// "ServiceControlStartStopAllServices(true)", oldest first. Safe on any thread.
std::vector<std::string> ServiceCalls();
void ForgetServiceCalls();

}  // namespace Halvard::Testing
