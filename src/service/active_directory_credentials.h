// The check of an account of the directory domain that the machine belongs to.
#pragma once

#include <json/json.h>

namespace Halvard::MigratorSvc {

/// Logs on with the request's `ad_username` and `ad_password` in the domain AD_NAME. The name is a
/// plain one: with "user@domain" the system wants no domain beside it. Without a domain the system
/// tries the accounts of this machine. Blocks for the network.
/// \return True when the logon worked. If not, operator and log have been told, and the reply's
///         `error` is set in the language that the request names; `result` is the caller's.
/// \throws Json::Exception when a member has no text.
bool ValidateADCredentials(const Json::Value& request, Json::Value& reply);

}  // namespace Halvard::MigratorSvc
