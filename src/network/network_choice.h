// Which of the machine's networks migrates.
#pragma once

#include <string>
#include <vector>

#include "core/user_input.h"

namespace Halvard::Network {

/// The addresses of the system name APP_NET_PNID that a local adapter offers to DNS: IPv4 first,
/// then IPv6, which only installations by the platform installer have.
std::vector<std::wstring> GetDnsRoutableAddresses();

/// Settles the address whose adapter migrates, in APP_NET_PNID_IP. Where the system name leads to
/// several adapters the operator chooses: at the console in a run without arguments, else by the
/// option hv_ip.
/// \param input  What the command line gave.
/// \param argc   The process's count of arguments, the program's name included.
/// \return False when it couldn't be settled. The operator has been told, and HV_INIT_ERROR says
///         why.
bool CollectNetworkToMigrate(const UserInput& input, int argc);

}  // namespace Halvard::Network
