// The DNS suffixes that go with an adapter.
#pragma once

#include <string>

#include "host/windows_api.h"

namespace Halvard::Network {

/// \return The adapter's own suffix, those that it was told of, and the machine's search list:
///         ordered by code units, without duplicates, joined by ", ". Empty when there are none.
std::wstring GetDnsSuffixList(const IP_ADAPTER_ADDRESSES& adapter);

}  // namespace Halvard::Network
