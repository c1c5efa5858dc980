// An interface that never changes.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "krova/provider/interfaces.h"

namespace Krova::Provider {

/// Everything is fixed at construction, so that threads may share it without a lock.
class LockFreeAsyncApiInterface final : public AsyncApiInterface {
 public:
  /// \param identifier  Not null.
  /// \param methods  None null. Of several with one name the last stays.
  LockFreeAsyncApiInterface(std::shared_ptr<const Core::InterfaceIdentifier> identifier,
                            const std::vector<std::shared_ptr<const AsyncApiMethod>>& methods);

  std::shared_ptr<const Core::InterfaceIdentifier> GetIdentifier() const override;
  const Core::InterfaceDefinition& GetDefinition() const override;
  bool GetMethod(const std::string& name, std::shared_ptr<const AsyncApiMethod>& out,
                 MessageList& errors) const override;
  const Methods& GetMethods() const override;

 private:
  const std::shared_ptr<const Core::InterfaceIdentifier> identifier_;
  Core::InterfaceDefinition definition_;
  Methods methods_;
};

}  // namespace Krova::Provider
