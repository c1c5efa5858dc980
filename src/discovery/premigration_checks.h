// The checks that can stop a migration before the agent starts to serve.
#pragma once

namespace Halvard::Discovery {

/// Runs the upgrade runner's checks, then checks the export folder and, but for the update manager,
/// what RunKvSsoBvcPreMigrationChecks does. Warnings are appended to HV_WARNING_MESSAGES.
/// \param argc  The process's count of arguments, the program's name included: with 1 the operator
///              may name another export folder, up to three times.
/// \return False when start-up can't go on. The operator has been told, and HV_INIT_ERROR has the
///         English text. Blocks for as long as the runner and the network take.
bool RunPreMigrationChecks(int argc);

/// Checks the system name, the time servers and, for a Kelvane Server with its Belvar Controller on
/// another machine, that node's version, which has to be exactly the target's.
/// \return As RunPreMigrationChecks, whose results this needs.
bool RunKvSsoBvcPreMigrationChecks(int argc);

/// Checks that the network of the system name has a default gateway, when it has an IPv4 address.
/// The network to migrate has to be settled.
/// \return As RunPreMigrationChecks.
bool CheckDefaultGateway();

}  // namespace Halvard::Discovery
