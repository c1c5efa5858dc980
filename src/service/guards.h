// What stands between a request and an operation's work: the phase of the migration, and the
// administrator's credentials. A guard that refuses has filled the reply and the log.
#pragma once

#include <json/json.h>

#include <string>

namespace Halvard::MigratorSvc {

/// A phase in which an operation can't run.
struct PhaseRule {
  const wchar_t* property;  ///< EXPORT_STATUS or PREUPGRADE_CHECKS_STATUS
  const wchar_t* value;
  unsigned int message;  ///< Tells the reason.
};

/// \param functionName  The operation's full name.
/// \return True when the migration is in that phase. Operator, client (in the language that the
///         request names) and log have been told the reason.
bool IsRefusedInPhase(const std::wstring& functionName, const PhaseRule& rule,
                      const Json::Value& request, Json::Value& reply);

/// Checks the request's `sso_username` and `sso_password` in the way that the phase allows: while
/// an export runs, and after a good one, the services that could validate them are down. Refusals
/// are in the client's language, MC_LOCALE. The three functions throw what jsoncpp throws.
/// \return True when the caller may go on.
bool ValidatePassedCredentials(const Json::Value& request, Json::Value& reply);

/// Validates the credentials by a login. The cached pair, SSO_USERNAME and SSO_PASSWORD, is emptied
/// first and holds the credentials after a success alone. Blocks for the network.
bool ValidateCredentialsFromMC(const Json::Value& request, Json::Value& reply);

/// Compares the credentials with the cached pair: the name without regard to case.
bool ValidatePassedCredentialsAgainstStoredCredentials(const Json::Value& request,
                                                       Json::Value& reply);

}  // namespace Halvard::MigratorSvc
