// All services of the installed product at once, by its own script.
#pragma once

namespace Halvard::Runner {

/// Starts or stops all services of the product through its script, "bin\service-control.bat" below
/// the folder that the system variable OSTREL_RIMSA_HOME names. What the script prints is appended
/// to "hv-service-control.log" in the agent's temp directory. Blocks for as long as the script
/// takes; there is no time-out. Failures are logged here.
/// \return True when the script ran and its exit code was 0.
bool ServiceControlStartStopAllServices(bool start);

}  // namespace Halvard::Runner
