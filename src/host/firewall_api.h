// The Windows header of the firewall's objects, which few files need.
#pragma once

#include "host/windows_api.h"

#include <netfw.h>
