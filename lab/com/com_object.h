// The base of the machine's COM objects.
#pragma once

#include <atomic>
#include <cstddef>
#include <optional>
#include <string>

#include "machine/call.h"
#include "oaidl.h"

namespace Lab {

/// \return The planned failure of a call that answers an HRESULT: the planned code as it stands, so
///         that 1 is S_FALSE.
std::optional<HRESULT> PlannedResult(const Call& call);

/// Counts one more object, or one less.
void CountComObject(int change);

/// \return How many of the lab's COM objects are alive in this process.
std::size_t LiveComObjects();

/// An object with one interface, which derives from IDispatch. It begins with one reference, its
/// maker's, and goes with the last one.
template <typename Interface>
class ComObject : public Interface {
 public:
  /// \param name  The interface's name. A call of its method M is planned to fail as name_M.
  ComObject(const char* name, const IID& id) : name_(name), id_(id) { CountComObject(1); }
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;
  virtual ~ComObject() { CountComObject(-1); }

  HRESULT QueryInterface(REFIID id, void** object) override {
    *object = nullptr;
    const Call call((name_ + "_QueryInterface").c_str());
    if (const auto planned = PlannedResult(call)) return *planned;
    if (id != id_ && id != IID_IDispatch && id != IID_IUnknown) return E_NOINTERFACE;
    AddRef();
    *object = static_cast<Interface*>(this);
    return S_OK;
  }

  ULONG AddRef() override { return ++references_; }

  ULONG Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

 private:
  const std::string name_;
  const IID id_;
  std::atomic<ULONG> references_{1};
};

}  // namespace Lab
