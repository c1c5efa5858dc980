// The provider that calls methods of this process.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "krova/core/contract.h"
#include "krova/data/message_value.h"
#include "krova/provider/container.h"
#include "krova/standard_errors.h"

namespace Krova::Provider {

/// Finds a method in its container and calls it on the executor. Holds nothing that a call changes,
/// so calls may run side by side. Held by a shared pointer.
/// \tparam Mutex  As the container's.
template <typename Mutex>
class AsyncLocalProvider final : public Core::AsyncApiProvider,
                                 public std::enable_shared_from_this<AsyncLocalProvider<Mutex>> {
 public:
  /// \param container  Not null.
  /// \param executor  Not empty.
  AsyncLocalProvider(std::shared_ptr<const AsyncApiInterfaceConcurrentContainer<Mutex>> container,
                     Core::Executor executor)
      : container_(std::move(container)), executor_(std::move(executor)) {}

  std::string GetName() const override { return "AsyncLocalProvider"; }

  void Invoke(const std::shared_ptr<const Core::MethodIdentifier>& method,
              const Data::ValuePointer& input,
              const std::shared_ptr<Core::AsyncActivation>& activation,
              const Core::ProviderCompletion& completion) override {
    executor_(InvokeOp{this->shared_from_this(), method, input, activation, completion});
  }

 private:
  /// One call, from its place in the executor's queue on.
  struct InvokeOp {
    std::shared_ptr<const AsyncLocalProvider> provider;
    std::shared_ptr<const Core::MethodIdentifier> method;
    Data::ValuePointer input;
    std::shared_ptr<Core::AsyncActivation> activation;
    Core::ProviderCompletion completion;

    void operator()() const {
      MessageList errors;
      if (const auto found = provider->FindMethod(*method, errors)) {
        found->Invoke(input, activation, completion);
        return;
      }
      completion(std::make_shared<Core::MethodResult>(
                     Data::MakeErrorValue(kOperationNotFoundError, errors)),
                 kFinished);
    }
  };

  std::shared_ptr<const AsyncApiMethod> FindMethod(const Core::MethodIdentifier& identifier,
                                                   MessageList& errors) const {
    std::shared_ptr<const AsyncApiInterface> api;
    std::shared_ptr<const AsyncApiMethod> method;
    if (!container_->Find(identifier.GetInterface(), api, errors)) return nullptr;
    (void)api->GetMethod(identifier.GetName(), method, errors);
    return method;
  }

  const std::shared_ptr<const AsyncApiInterfaceConcurrentContainer<Mutex>> container_;
  const Core::Executor executor_;
};

}  // namespace Krova::Provider
