// The insides of the installer's packages. The agent has the installer unpack them, so it calls
// none of these functions: msi.h has what it calls.
#pragma once

#include <msi.h>
