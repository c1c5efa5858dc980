// Names that a test declares usable, in the place of asking resolver and DNS.
#pragma once

#include <set>
#include <string>
#include <vector>

namespace Halvard::Testing {

struct KnownNames {
  /// Names and addresses that the machine can keep.
  std::set<std::wstring> usable;
  /// Addresses that will do only where DHCP is allowed.
  std::set<std::wstring> dynamic;
  /// What ValidateFqdn was asked, in order; with " (dhcp)" where that was allowed.
  std::vector<std::wstring> asked;
};

/// The names of this process. Each test begins by assigning its own.
KnownNames& Known();

}  // namespace Halvard::Testing
