// The Kelvane Server's first object, from which all others are reached.
#pragma once

#include <optional>

#include "zelmo/managed_object.h"

namespace Quen {

/// Where a server's further objects are.
struct ServiceInstanceContent {
  Zelmo::MoRef rootFolder;
  Zelmo::MoRef propertyCollector;
  std::optional<Zelmo::MoRef> sessionManager;
  std::optional<Zelmo::MoRef> extensionManager;
};

class ServiceInstance : public Zelmo::ManagedObject {
 public:
  using ManagedObject::ManagedObject;
  static const Zelmo::Type& StaticType();

  /// Needs no session.
  ServiceInstanceContent RetrieveContent() const;
};

}  // namespace Quen
