// What tests of the provider have in common.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "krova/core/contract.h"
#include "krova/data/message_value.h"
#include "krova/provider/local_provider.h"
#include "krova/provider/lock_free_interface.h"
#include "krova/provider/method_signal.h"

namespace Krova::Testing {

inline std::shared_ptr<const Core::InterfaceIdentifier> InterfaceId(std::string name) {
  return std::make_shared<Core::InterfaceIdentifier>(std::move(name));
}

inline std::shared_ptr<const Core::MethodIdentifier> MethodId(std::string service,
                                                              std::string operation) {
  return std::make_shared<Core::MethodIdentifier>(InterfaceId(std::move(service)),
                                                  std::move(operation));
}

using Methods = std::vector<std::shared_ptr<const Provider::AsyncApiMethod>>;

inline std::shared_ptr<const Provider::AsyncApiInterface> Interface(std::string name,
                                                                    const Methods& methods) {
  return std::make_shared<Provider::LockFreeAsyncApiInterface>(InterfaceId(std::move(name)),
                                                               methods);
}

/// Collects what a provider completion is called with.
class Answers {
 public:
  Core::ProviderCompletion Completion() {
    return [this](const std::shared_ptr<Core::MethodResult>& result, const Progress& progress) {
      results.push_back(result);
      reported.push_back(progress);
    };
  }

  /// The only answer; null if there wasn't exactly one.
  std::shared_ptr<Core::MethodResult> Only() const {
    return results.size() == 1 ? results.front() : nullptr;
  }

  std::vector<std::shared_ptr<Core::MethodResult>> results;
  std::vector<Progress> reported;
};

/// The messages of an error, of which each must be a message structure.
inline MessageList MessagesOf(const std::shared_ptr<const Data::ErrorValue>& error) {
  MessageList messages;
  MessageList errors;
  Data::ValuePointer field;
  if (error == nullptr || !error->GetField("messages", field, errors)) return messages;
  for (const Data::ValuePointer& element : *Data::ValueCast<Data::ListValue>(field)) {
    if (!Data::MessageFromValue(element, messages.emplace_back(), errors)) return errors;
  }
  return messages;
}

}  // namespace Krova::Testing
