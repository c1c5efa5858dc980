// The Windows headers of access lists, which few files need, and the owners of what they allocate.
#pragma once

#include "host/windows_api.h"

#include <aclapi.h>

#include "host/unique_resource.h"

namespace Halvard::Host {

/// Access lists that the system made.
struct AccessListTraits {
  using Type = PACL;
  static Type Invalid() { return nullptr; }
  static void Release(Type list) { LocalFree(list); }
};
using UniqueAccessList = UniqueResource<AccessListTraits>;

}  // namespace Halvard::Host
