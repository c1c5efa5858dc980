#include "core/automated_tum_upgrade.h"

namespace Halvard {

bool automatedTumUpgrade = false;

}  // namespace Halvard
