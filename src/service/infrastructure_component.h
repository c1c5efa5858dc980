// The Single Sign-On server or Belvar Controller that the appliance will use.
#pragma once

#include <json/json.h>

namespace Halvard::MigratorSvc {

/// Describes the component: `fqdn`, `version`, `httpsPort` (an integer) and `domainName`. It lies
/// on this machine, but for a migration of the type "management", where another machine is asked;
/// that may block for the network.
/// \param component  An object, or null. Incomplete after a failure.
/// \return True on success. Failures are logged, and one of them is told to the operator.
bool RetrieveInfrastructureComponentValues(Json::Value& component);

}  // namespace Halvard::MigratorSvc
