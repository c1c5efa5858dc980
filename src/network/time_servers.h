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

}  // namespace Halvard::Network
