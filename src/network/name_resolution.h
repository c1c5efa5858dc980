// Names, addresses and their texts.
#pragma once

#include <string>

#include "host/windows_api.h"

namespace Halvard::Network {

/// The numeric host text of an address, an IPv6 scope included.
/// \param address  May be null: the result is empty then, without a log line.
/// \return Empty after a failure, which is logged here.
std::wstring GetNameInfoWrapper(const SOCKET_ADDRESS& address);

}  // namespace Halvard::Network
