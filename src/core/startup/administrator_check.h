// Whether the agent runs with the rights that it needs.
#pragma once

namespace Halvard {

/// \return True when the process runs as a member of the local Administrators group, elevated.
///         Everything found out is logged, the launching user too.
bool SanityCheckAdminPrivilege();

}  // namespace Halvard
