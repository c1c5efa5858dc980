// The port that the agent listens on.
#pragma once

#include <cstdint>

#include "core/user_input.h"

namespace Halvard {

/// Settles the port: the given one if it is legal and free, otherwise the first free one from 9123
/// on, in \p input and in HV_PORT.
/// \return False, with a message to the operator, when a given port can't be used.
bool PickHVPort(UserInput& input);

/// \param refresh  Take a new snapshot of the machine's ports instead of the one at hand.
/// \return True when a TCP socket in any state, or a UDP socket, has the port on IPv4.
bool IsPortInUse(std::uint32_t port, bool refresh);

}  // namespace Halvard
