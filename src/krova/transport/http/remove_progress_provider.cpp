#include "krova/transport/http/remove_progress_provider.h"

#include <utility>

namespace Krova::Provider {

/// Forwards results and drops progress reports, which have none.
class RemoveProgressProvider::ResultWrapper {
 public:
  explicit ResultWrapper(Core::ProviderCompletion completion)
      : completion_(std::move(completion)) {}

  void operator()(const std::shared_ptr<Core::MethodResult>& result,
                  const Progress& progress) const {
    if (result != nullptr) completion_(result, progress);
  }

 private:
  Core::ProviderCompletion completion_;
};

RemoveProgressProvider::RemoveProgressProvider(std::shared_ptr<Core::AsyncApiProvider> inner)
    : inner_(std::move(inner)) {}

std::string RemoveProgressProvider::GetName() const { return "RemoveProgressProvider"; }

void RemoveProgressProvider::Invoke(const std::shared_ptr<const Core::MethodIdentifier>& method,
                                    const std::shared_ptr<const Data::DataValue>& input,
                                    const std::shared_ptr<Core::AsyncActivation>& activation,
                                    const Core::ProviderCompletion& completion) {
  inner_->Invoke(method, input, activation, ResultWrapper(completion));
}

}  // namespace Krova::Provider
