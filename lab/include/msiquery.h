// The installer's packages. Nothing of it is called yet beyond what msi.h has.
#pragma once

#include <msi.h>
