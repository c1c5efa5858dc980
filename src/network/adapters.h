// The machine's network adapters: one snapshot for the whole run.
#pragma once

#include <string>

#include "host/windows_api.h"

namespace Halvard::Network {

/// A handle on the shared snapshot. The first one fetches the list, the last one frees it; all see
/// the same list in between. A failed fetch is logged here and tried again by the next handle.
class AdapterAddressesWrapper {
 public:
  AdapterAddressesWrapper();
  ~AdapterAddressesWrapper();
  AdapterAddressesWrapper(const AdapterAddressesWrapper&) = delete;
  AdapterAddressesWrapper& operator=(const AdapterAddressesWrapper&) = delete;

  /// Head of the list; null when it couldn't be fetched. Valid as long as any handle lives.
  const IP_ADAPTER_ADDRESSES* Get() const;
};

/// The first adapter that has \p ipAddress among its addresses, compared as numeric texts.
/// \param adapters  Head of the list; may be null.
/// \return Null when no adapter has it. Logged here either way.
const IP_ADAPTER_ADDRESSES* GetAdapterWithMatchingIPAddress(const IP_ADAPTER_ADDRESSES* adapters,
                                                            const std::wstring& ipAddress);

/// Tells whether IPv6 is on for the adapter of the property APP_NET_PNID_IP.
/// \param enabled  False unless the adapter could be found and has IPv6 on.
/// \return False when there is no such adapter.
bool IsIPv6EnabledOnAppNetPnidAdapter(bool& enabled);

}  // namespace Halvard::Network
