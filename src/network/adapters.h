// What is read from the machine's network adapters.
#pragma once

#include <string>
#include <vector>

#include "host/windows_api.h"

namespace Halvard::Network {

/// The first adapter that has \p ipAddress among its addresses, compared as numeric texts.
/// \param adapters  Head of the list; may be null.
/// \return Null when no adapter has it. Logged here either way.
const IP_ADAPTER_ADDRESSES* GetAdapterWithMatchingIPAddress(const IP_ADAPTER_ADDRESSES* adapters,
                                                            const std::wstring& ipAddress);

/// The first address of \p adapter with this numeric text that is registered in DNS and stays with
/// the machine (DNS-eligible and not transient).
/// \return Null when there is none. An address without a text is logged and passed over.
const IP_ADAPTER_UNICAST_ADDRESS* GetUnicastAddressMatchingIPAddress(
    const IP_ADAPTER_ADDRESSES& adapter, const std::wstring& ipAddress);

/// The first address of a family that is DNS-eligible and not transient.
/// \param family     As GetAddressFamilyName writes it.
/// \param anyOrigin  Without it only an address that was typed in will do.
/// \return Null when there is none.
const IP_ADAPTER_UNICAST_ADDRESS* GetUnicastAddressForFamily(const IP_ADAPTER_ADDRESSES& adapter,
                                                             const std::wstring& family,
                                                             bool anyOrigin);

/// Tells whether somebody typed the address in: it has neither prefix nor suffix from elsewhere.
bool IsTypedIn(const IP_ADAPTER_UNICAST_ADDRESS& address);

/// The hardware address as hexadecimal digits without separators and without a width: a byte below
/// 0x10 has one digit. Good for comparing adapters only.
/// \param adapter  May be null: the result is empty then, with a warning in the log.
std::wstring GetMacAddressFromAdapter(const IP_ADAPTER_ADDRESSES* adapter);

/// Tells whether the operator has to pick one of the system name's addresses, because they belong
/// to different adapters. Needs the list of adapters: there has to be one.
bool IsIpSelectionRequiredForMigration(const std::vector<std::wstring>& ipAddresses);

/// Tells whether IPv6 is on for the adapter of the property APP_NET_PNID_IP.
/// \param enabled  False unless the adapter could be found and has IPv6 on.
/// \return False when there is no such adapter.
bool IsIPv6EnabledOnAppNetPnidAdapter(bool& enabled);

/// The adapter's DNS servers of one family, or its gateways, as numeric texts joined by ", ".
/// \param family  As GetAddressFamilyName writes it.
/// \return Empty when there are none. One without a text is logged and left out.
std::wstring GetDnsServers(const IP_ADAPTER_ADDRESSES& adapter, const std::wstring& family);
std::wstring GetGatewayAddress(const IP_ADAPTER_ADDRESSES& adapter, const std::wstring& family);

/// The numeric text of the adapter's DHCP server of one family.
/// \param family  As GetAddressFamilyName writes it.
/// \return Empty when the family is off or the adapter has no such server. Whether DHCP is in use
///         doesn't matter.
std::wstring GetDhcpServerAddress(const IP_ADAPTER_ADDRESSES& adapter, const std::wstring& family);

/// \param type  IfType of an adapter.
/// \return A word for replies; "Other" for a type that has none.
std::wstring GetAdapterTypeName(DWORD type);

}  // namespace Halvard::Network
