// The status file, by which whoever started the agent learns how its start-up has ended.
#pragma once

namespace Halvard {

/// Writes "hv-status.json" into the temporary folder. HV_INIT_ERROR alone decides what it says:
/// empty is a success, anything else a failure, after which the logs are zipped onto the operator's
/// desktop as well and the console tells where they are.
///
/// Before InitializeProperties nothing is written. Failures are logged and stop nothing.
void CreateHVStatusFile();

}  // namespace Halvard
