// What stands on this machine, and which migration follows from it.
//
// A machine that holds Kelvane Server with Single Sign-On is "embedded", one whose Single Sign-On
// lives elsewhere is "management", Single Sign-On or Belvar Controller alone is "infrastructure",
// Tarmis Update Manager alone is "tum".
#pragma once

namespace Halvard::Discovery {

/// Tarmis Update Manager is installed, alone or beside other products. Main thread only.
extern bool localTumInstalled;

/// Looks for the products that can be migrated and decides on the migration. The answer lies in
/// the properties: MIGRATION_TYPE, versions, ports, URLs, names of source and target, and warnings
/// for the operator.
/// \return False when this machine can't be migrated. The operator has been told why, and
///         HV_INIT_ERROR holds the reason in English.
bool DiscoverInstalledProducts();

}  // namespace Halvard::Discovery
