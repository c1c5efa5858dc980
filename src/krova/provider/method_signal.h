// A method as a function that can be connected.
#pragma once

#include <memory>
#include <string>

#include <boost/function.hpp>

#include "krova/provider/interfaces.h"

namespace Krova::Provider {

/// Validates what goes in and what comes out of a connected function.
///
/// The function may end the call at once or later, on any thread. If it throws before the call has
/// ended, the caller gets an internal server error; what it reports after the end is dropped. What
/// the caller's own completion throws passes through.
class AsyncApiMethodSignal final : public AsyncApiMethod,
                                   public std::enable_shared_from_this<AsyncApiMethodSignal> {
 public:
  using Signal = boost::function<void(const Data::ValuePointer& input,
                                      const std::shared_ptr<Core::AsyncActivation>& activation,
                                      const Core::MethodCompletion& completion)>;

  /// \param input, output  A null definition fits a null value only.
  /// \param errors  None null. An error that isn't among them counts as the method's fault.
  AsyncApiMethodSignal(std::string name, Data::DefinitionPointer input,
                       Data::DefinitionPointer output, ErrorDefinitionList errors = {});

  /// Connects the function. Before the method is shared.
  void Connect(Signal signal);

  const std::string& GetName() const override;
  std::shared_ptr<const Core::MethodDefinition> GetDefinition(
      const std::shared_ptr<const Core::InterfaceIdentifier>& interfaceId) const override;
  Data::DefinitionPointer GetInputDefinition() const override;
  Data::DefinitionPointer GetOutputDefinition() const override;
  const ErrorDefinitionList& GetErrorDefinitions() const override;
  ErrorDefinitionList CopyErrorDefinitions() const override;
  void Invoke(const Data::ValuePointer& input,
              const std::shared_ptr<Core::AsyncActivation>& activation,
              const Core::ProviderCompletion& completion) const override;

 private:
  class ValidateResultWrapper;

  /// Null if \p input fits.
  std::shared_ptr<const Data::ErrorValue> CheckInput(const Data::ValuePointer& input) const;
  std::shared_ptr<Core::MethodResult> CheckOutput(const Data::ValuePointer& output) const;
  std::shared_ptr<Core::MethodResult> CheckError(
      const std::shared_ptr<const Data::ErrorValue>& error) const;
  std::shared_ptr<const Data::ErrorDefinition> FindError(const std::string& name) const;

  const std::string name_;
  const Data::DefinitionPointer input_;
  const Data::DefinitionPointer output_;
  const ErrorDefinitionList errors_;
  Signal signal_;
};

}  // namespace Krova::Provider
