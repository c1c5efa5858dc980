// The Windows headers of access checks, which few files need, and the owners of what those make.
#pragma once

#include "host/windows_api.h"

#include <authz.h>

#include "host/unique_resource.h"

namespace Halvard::Host {

struct AuthzManagerTraits {
  using Type = AUTHZ_RESOURCE_MANAGER_HANDLE;
  static Type Invalid() { return nullptr; }
  static void Release(Type manager) { AuthzFreeResourceManager(manager); }
};
using UniqueAuthzManager = UniqueResource<AuthzManagerTraits>;

/// To be released before its manager.
struct AuthzContextTraits {
  using Type = AUTHZ_CLIENT_CONTEXT_HANDLE;
  static Type Invalid() { return nullptr; }
  static void Release(Type context) { AuthzFreeContext(context); }
};
using UniqueAuthzContext = UniqueResource<AuthzContextTraits>;

/// Descriptors that CreatePrivateObjectSecurity made.
struct ObjectSecurityTraits {
  using Type = PSECURITY_DESCRIPTOR;
  static Type Invalid() { return nullptr; }
  static void Release(Type descriptor) { DestroyPrivateObjectSecurity(&descriptor); }
};
using UniqueObjectSecurity = UniqueResource<ObjectSecurityTraits>;

}  // namespace Halvard::Host
