// The container of interfaces.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "krova/provider/fingerprint.h"
#include "krova/provider/interfaces.h"

namespace Krova::Provider {

/// For containers that are filled before they are shared. Does nothing.
struct DummyMutex {
  void lock() {}
  void unlock() {}
};

/// Copies its map on every change. A map that was published is never changed again, so readers only
/// take the pointer to it and then work on what it holds.
/// \tparam Mutex  Guards that pointer and the fingerprint that belongs to it, for the few
///     instructions of a copy or an exchange.
template <typename Mutex>
class AsyncApiInterfaceConcurrentContainer final : public AsyncApiInterfaceContainer {
 public:
  bool Register(const std::shared_ptr<const AsyncApiInterface>& api, MessageList& errors) override {
    while (true) {
      const std::shared_ptr<const InterfaceMap> current = Snapshot();
      auto changed = std::make_shared<InterfaceMap>(*current);
      if (!changed->emplace(api->GetIdentifier(), api).second) {
        errors.push_back(MakeMessage("krova.provider.interface.already.registered",
                                     api->GetIdentifier()->GetName()));
        return false;
      }
      if (Publish(current, std::move(changed))) return true;
      // Another thread has registered one meanwhile, perhaps the same.
    }
  }

  bool Find(const std::shared_ptr<const Core::InterfaceIdentifier>& identifier,
            std::shared_ptr<const AsyncApiInterface>& out, MessageList& errors) const override {
    const std::shared_ptr<const InterfaceMap> interfaces = Snapshot();
    const auto found = interfaces->find(identifier);
    if (found == interfaces->end()) {
      errors.push_back(MakeMessage("krova.provider.interface.unknown", identifier->GetName()));
      return false;
    }
    out = found->second;
    return true;
  }

  void ForEach(const Function& function) const override {
    const std::shared_ptr<const InterfaceMap> interfaces = Snapshot();
    for (const auto& [identifier, api] : *interfaces) function(api);
  }

  std::string GetFingerprint() const override {
    const std::lock_guard<Mutex> lock(mutex_);
    return fingerprint_;
  }

 private:
  std::shared_ptr<const InterfaceMap> Snapshot() const {
    const std::lock_guard<Mutex> lock(mutex_);
    return interfaces_;
  }

  bool Publish(const std::shared_ptr<const InterfaceMap>& expected,
               std::shared_ptr<const InterfaceMap> changed) {
    std::string fingerprint = ComputeFingerprint(*changed);
    const std::lock_guard<Mutex> lock(mutex_);
    if (interfaces_ != expected) return false;
    fingerprint_ = std::move(fingerprint);
    interfaces_ = std::move(changed);
    return true;
  }

  mutable Mutex mutex_;
  std::string fingerprint_;
  std::shared_ptr<const InterfaceMap> interfaces_ = std::make_shared<InterfaceMap>();
};

}  // namespace Krova::Provider
