// What a provider is made of: a container of interfaces, which hold methods.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <boost/function.hpp>

#include "krova/core/contract.h"
#include "krova/data/definition.h"

namespace Krova::Provider {

/// The errors that a method may end with. Empty: it declares none.
using ErrorDefinitionList = std::vector<std::shared_ptr<const Data::ErrorDefinition>>;

/// An operation of a service.
class AsyncApiMethod {
 public:
  /// The operation's id.
  virtual const std::string& GetName() const = 0;
  virtual std::shared_ptr<const Core::MethodDefinition> GetDefinition(
      const std::shared_ptr<const Core::InterfaceIdentifier>& interfaceId) const = 0;
  virtual Data::DefinitionPointer GetInputDefinition() const = 0;
  virtual Data::DefinitionPointer GetOutputDefinition() const = 0;
  virtual const ErrorDefinitionList& GetErrorDefinitions() const = 0;
  virtual ErrorDefinitionList CopyErrorDefinitions() const = 0;
  /// Runs the operation. Every failure, too, goes to \p completion.
  virtual void Invoke(const Data::ValuePointer& input,
                      const std::shared_ptr<Core::AsyncActivation>& activation,
                      const Core::ProviderCompletion& completion) const = 0;
  virtual ~AsyncApiMethod() = default;
};

/// A service.
class AsyncApiInterface {
 public:
  using Methods = std::map<std::string, std::shared_ptr<const AsyncApiMethod>>;

  virtual std::shared_ptr<const Core::InterfaceIdentifier> GetIdentifier() const = 0;
  virtual const Core::InterfaceDefinition& GetDefinition() const = 0;
  /// \return False, after adding a message, if there is no such method.
  virtual bool GetMethod(const std::string& name, std::shared_ptr<const AsyncApiMethod>& out,
                         MessageList& errors) const = 0;
  virtual const Methods& GetMethods() const = 0;
  virtual ~AsyncApiInterface() = default;
};

/// The services of a provider, in the order of their identifiers.
class AsyncApiInterfaceContainer {
 public:
  using Function = boost::function<void(const std::shared_ptr<const AsyncApiInterface>&)>;

  /// \return False, after adding a message, if the identifier is taken.
  virtual bool Register(const std::shared_ptr<const AsyncApiInterface>& api,
                        MessageList& errors) = 0;
  /// \return False, after adding a message, if there is no such interface.
  virtual bool Find(const std::shared_ptr<const Core::InterfaceIdentifier>& identifier,
                    std::shared_ptr<const AsyncApiInterface>& out, MessageList& errors) const = 0;
  virtual void ForEach(const Function& function) const = 0;
  /// A hash of all definitions, see ComputeFingerprint. Empty before the first registration.
  virtual std::string GetFingerprint() const = 0;
  virtual ~AsyncApiInterfaceContainer() = default;
};

}  // namespace Krova::Provider
