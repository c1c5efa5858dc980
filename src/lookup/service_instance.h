// The lookup service's first object.
#pragma once

#include <optional>

#include "zelmo/managed_object.h"

namespace Lookup {

class ServiceContent {
 public:
  explicit ServiceContent(std::optional<Zelmo::MoRef> serviceRegistration)
      : serviceRegistration_(std::move(serviceRegistration)) {}

  const std::optional<Zelmo::MoRef>& GetServiceRegistration() const { return serviceRegistration_; }

 private:
  std::optional<Zelmo::MoRef> serviceRegistration_;
};

class ServiceInstance : public Zelmo::ManagedObject {
 public:
  using ManagedObject::ManagedObject;
  static const Zelmo::Type& StaticType();

  ServiceContent RetrieveServiceContent() const;
};

}  // namespace Lookup
