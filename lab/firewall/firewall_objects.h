// The firewall as objects: its manager, its profile, and the ports that are open.
#pragma once

#include "unknwn.h"

namespace Lab {

/// \return The firewall's manager (INetFwMgr), with one reference.
IUnknown* MakeFirewallManager();

/// \return A port to be opened (INetFwOpenPort), with one reference: by TCP, and enabled.
IUnknown* MakeOpenPort();

}  // namespace Lab
