#include "krova/provider/lock_free_interface.h"

#include <utility>

namespace Krova::Provider {

LockFreeAsyncApiInterface::LockFreeAsyncApiInterface(
    std::shared_ptr<const Core::InterfaceIdentifier> identifier,
    const std::vector<std::shared_ptr<const AsyncApiMethod>>& methods)
    : identifier_(std::move(identifier)) {
  definition_.identifier = identifier_;
  for (const auto& method : methods) {
    definition_.methods.insert(
        std::make_shared<Core::MethodIdentifier>(identifier_, method->GetName()));
    methods_[method->GetName()] = method;
  }
}

std::shared_ptr<const Core::InterfaceIdentifier> LockFreeAsyncApiInterface::GetIdentifier() const {
  return identifier_;
}

const Core::InterfaceDefinition& LockFreeAsyncApiInterface::GetDefinition() const {
  return definition_;
}

bool LockFreeAsyncApiInterface::GetMethod(const std::string& name,
                                          std::shared_ptr<const AsyncApiMethod>& out,
                                          MessageList& errors) const {
  const auto found = methods_.find(name);
  if (found == methods_.end()) {
    errors.push_back(
        MakeMessage("krova.async.api.interface.missing.method", identifier_->GetName(), name));
    return false;
  }
  out = found->second;
  return true;
}

const AsyncApiInterface::Methods& LockFreeAsyncApiInterface::GetMethods() const { return methods_; }

}  // namespace Krova::Provider
