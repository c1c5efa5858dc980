#include "files/rights.h"

#include <algorithm>

#include "machine/machine.h"

namespace Lab {

bool IsElevatedAdministrator() {
  const auto& groups = TheMachine().Describe().groups;
  return std::any_of(groups.begin(), groups.end(), [](const Group& group) {
    return group.sid == L"S-1-5-32-544" && !group.denyOnly;
  });
}

}  // namespace Lab
