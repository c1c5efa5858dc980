// Stubs of a server's objects, made from references.
#pragma once

#include <memory>
#include <optional>

#include "zelmo/soap_stub_adapter.h"

namespace Halvard::ServerClient {

/// \return A stub that calls through \p adapter.
/// \throws Tunrak::TypeMismatchException  if the reference is one to an object of another type.
template <typename Stub>
std::shared_ptr<Stub> MakeStub(const std::shared_ptr<Zelmo::SoapStubAdapter>& adapter,
                               const Zelmo::MoRef& reference) {
  auto stub = std::dynamic_pointer_cast<Stub>(adapter->CreateStub(reference));
  if (stub == nullptr) {
    throw Tunrak::TypeMismatchException(Zelmo::GetType<Stub>().GetName(), reference.type);
  }
  stub->SetAdapter(adapter);
  return stub;
}

/// The same for a reference that a server need not have.
/// \throws Tunrak::TypeMismatchException  also without a reference.
template <typename Stub>
std::shared_ptr<Stub> MakeStub(const std::shared_ptr<Zelmo::SoapStubAdapter>& adapter,
                               const std::optional<Zelmo::MoRef>& reference) {
  return MakeStub<Stub>(adapter, reference.value_or(Zelmo::MoRef{"no reference", {}}));
}

/// \return A stub of a server's first object, by which all others are found.
template <typename Stub>
std::shared_ptr<Stub> MakeServiceInstanceStub(
    const std::shared_ptr<Zelmo::SoapStubAdapter>& adapter) {
  return MakeStub<Stub>(adapter, Zelmo::MoRef{Zelmo::GetType<Stub>().GetName(), "ServiceInstance"});
}

}  // namespace Halvard::ServerClient
