#pragma once

#include <memory>
#include <string>

#include "krova/core/contract.h"

namespace Krova::Provider {

/// Calls another provider and keeps its progress reports from the caller, for answers that have no
/// place for them.
class RemoveProgressProvider : public Core::AsyncApiProvider {
 public:
  explicit RemoveProgressProvider(std::shared_ptr<Core::AsyncApiProvider> inner);

  std::string GetName() const override;
  void Invoke(const std::shared_ptr<const Core::MethodIdentifier>& method,
              const std::shared_ptr<const Data::DataValue>& input,
              const std::shared_ptr<Core::AsyncActivation>& activation,
              const Core::ProviderCompletion& completion) override;

 private:
  class ResultWrapper;

  std::shared_ptr<Core::AsyncApiProvider> inner_;
};

}  // namespace Krova::Provider
