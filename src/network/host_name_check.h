// Which addresses of a name are this machine's own, as the resolver answers.
#pragma once

#include <string>

#include "network/address_check_counts.h"

namespace Halvard::Network {

/// Looks a name up with the system's resolver and tells by the counts which of its addresses are on
/// this machine.
/// \param addressOnly  \p name has to be an address; a name fails then.
/// \param ipv4         The family: IPv4, or else IPv6.
/// \param counts       Added to; may be null. Untouched when the answer is false.
/// \return True when the lookup gave an answer, whatever it was: read primaryOnSystem to know
///         whether the name is usable. An address in a spelling of its own ("127.1") is an answer
///         too, without counts. Logged here.
bool CheckHostNameOrAddr(const std::wstring& name, bool addressOnly, bool ipv4,
                         AddressCheckCounts* counts);

}  // namespace Halvard::Network
