// One snapshot of the machine's network adapters for the whole run.
#pragma once

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

}  // namespace Halvard::Network
