// The network identity that the appliance takes over: everything about the adapter whose network
// migrates.
#pragma once

#include <string>

#include <json/value.h>

namespace Halvard::Network {

/// Collects the network configuration of the adapter that has the address APP_NET_PNID_IP. Asks
/// the machine's time servers, so it may take 30 seconds for each that is dead.
/// \param systemName  The name that the appliance takes over.
/// \param reply       An object. Gets "result" ("success" or "fail"), "error" (in the language of
///                    MC_LOCALE, empty when nothing failed) and the members "config_...". A
///                    failure that concerns one member leaves the others in place.
/// \return True when everything could be had.
bool CollectNetworkIdentity(const std::wstring& systemName, Json::Value& reply);

/// The same without "result" and "config_fqdn", for any address of the machine.
bool GetTheNetworkConfiguration(const std::wstring& ipAddress, Json::Value& reply);

}  // namespace Halvard::Network
