// What an adapter has of one address family, as members of the reply that describes its network.
#pragma once

#include <string>

#include <json/value.h>

#include "host/windows_api.h"

namespace Halvard::Network {

/// Adds the members of one family: "config_ipaddr4", "config_mode4" and so on for "AF_INET", with a
/// "6" at the end for any other. Without an address of the family those that belong to an address
/// are empty or 0, which is a normal state.
/// \param ipAddress  The address that was chosen to migrate, of either family. The other family's
///                   address is the first that was typed in, or else the first of any origin.
/// \param family     As GetAddressFamilyName writes it.
/// \param reply      An object.
/// \return True.
bool CollectIPProperties(const std::wstring& ipAddress, const IP_ADAPTER_ADDRESSES& adapter,
                         const std::wstring& family, Json::Value& reply);

}  // namespace Halvard::Network
