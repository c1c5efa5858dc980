// The machine's time servers, proved alive one by one.
#pragma once

#include <string>

#include <json/value.h>

namespace Halvard::Network {

/// Reads the configuration of the time service and asks each server in it for the time once.
/// Blocks up to 30 seconds for each server that doesn't answer.
/// \param[out] servers  Names or addresses of those that answered, joined by ",". Empty when the
///                      machine takes its time from its domain. After a false answer the value as
///                      it is configured.
/// \param[out] type     Where the time service takes the time from: "NTP", "NT5DS" and the like;
///                      empty when that can't be read.
/// \param reply         Takes in "error" what is wrong and what to do about it, in the client's
///                      language, after a false answer. Else untouched.
/// \return False when the type is "NTP" and there are servers, none of which answers. Some that
///         don't answer are a warning in HV_WARNING_MESSAGES.
bool GetNTPServer(std::wstring& servers, std::wstring& type, Json::Value& reply);

/// Asks one server for the time. One try, of at most 30 seconds; what comes back isn't looked at.
/// \param server  Name or address. A name is asked at its first address.
/// \return True when anything came back. Logged here either way.
bool ValidateNTPServer(const std::wstring& server);

}  // namespace Halvard::Network
