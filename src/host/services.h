// Windows services of the installed products: started again after a failed export, one by one or
// by the product's own script. Each operation blocks its caller and logs its own failures. Without
// state; safe on any thread.
#pragma once

#include <string>
#include <vector>

namespace Halvard::Host {

/// Starts services in the given order and stops at the first that doesn't come up.
/// \param names  Key names, not display names. Empty names are skipped.
/// \return The names that run now, in order. Shorter than \p names after a failure.
///
/// Blocks as long as a service makes progress; one is given up 30,000 ms after its last new check
/// point.
std::vector<std::wstring> StartServices(const std::vector<std::wstring>& names);

/// Starts or stops all services of the product through its script, "bin\service-control.bat" below
/// the folder that the system variable OSTREL_RIMSA_HOME names. What the script prints is appended
/// to "hv-service-control.log" in the agent's temp directory. There is no time-out.
/// \return True when the script ran and its exit code was 0.
bool ServiceControlStartStopAllServices(bool start);

}  // namespace Halvard::Host
