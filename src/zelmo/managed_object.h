// Stubs: this side's objects that stand for a server's.
#pragma once

#include <memory>
#include <utility>

#include "tunrak/exception.h"
#include "zelmo/types.h"

namespace Zelmo {

/// The base of all stubs. A stub calls its object through the adapter that was handed to it.
class ManagedObject {
 public:
  explicit ManagedObject(MoRef reference) : reference_(std::move(reference)) {}
  virtual ~ManagedObject() = default;
  ManagedObject(const ManagedObject&) = delete;
  ManagedObject& operator=(const ManagedObject&) = delete;

  const MoRef& GetMoRef() const { return reference_; }
  void SetAdapter(std::shared_ptr<SoapStubAdapter> adapter) { adapter_ = std::move(adapter); }

 protected:
  /// \throws Tunrak::Exception  if the stub has no adapter.
  SoapStubAdapter& Adapter() const {
    if (adapter_ == nullptr) throw Tunrak::Exception("A stub without an adapter was called.");
    return *adapter_;
  }

 private:
  MoRef reference_;
  std::shared_ptr<SoapStubAdapter> adapter_;
};

/// For the definition of a Type: makes stubs of one class.
template <typename Stub>
std::shared_ptr<ManagedObject> NewStub(const MoRef& reference) {
  return std::make_shared<Stub>(reference);
}

}  // namespace Zelmo
