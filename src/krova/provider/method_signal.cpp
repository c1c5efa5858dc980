#include "krova/provider/method_signal.h"

#include <atomic>
#include <exception>
#include <utility>

#include <boost/log/trivial.hpp>

#include "krova/data/message_value.h"
#include "krova/data/validator.h"
#include "krova/standard_errors.h"

namespace Krova::Provider {
namespace {

using Core::MethodResult;

std::shared_ptr<MethodResult> Fail(std::shared_ptr<const Data::ErrorValue> error) {
  return std::make_shared<MethodResult>(std::move(error));
}

// An error with messages of ours, and behind them whatever another error has reported.
std::shared_ptr<const Data::ErrorValue> MakeErrorOver(const char* name, const MessageList& messages,
                                                      const Data::ErrorValue& reported) {
  auto list = std::make_shared<Data::ListValue>();
  for (const BaseMessage& message : messages) list->push_back(Data::MessageToValue(message));
  const Data::ValuePointer* field = reported.FindField("messages");
  if (field != nullptr) {
    const auto* more = Data::ValueCast<Data::ListValue>(field->get());
    if (more != nullptr) list->insert(list->end(), more->begin(), more->end());
  }
  return std::make_shared<Data::ErrorValue>(name, std::move(list));
}

}  // namespace

// Turns what a method ends or reports with into what the caller of a provider gets. Copies are one
// call.
class AsyncApiMethodSignal::ValidateResultWrapper {
 public:
  ValidateResultWrapper(std::shared_ptr<const AsyncApiMethodSignal> method,
                        Core::ProviderCompletion completion)
      : call_(std::make_shared<Call>(std::move(method), std::move(completion))) {}

  void operator()(const std::optional<Data::ValuePointer>& output,
                  const std::shared_ptr<const Data::ErrorValue>& error,
                  const Progress& progress) const {
    if (error == nullptr && !output.has_value()) {
      if (!call_->ended) Complete(nullptr, progress);
      return;
    }
    if (call_->ended.exchange(true)) return;
    const AsyncApiMethodSignal& method = *call_->method;
    Complete(error != nullptr ? method.CheckError(error) : method.CheckOutput(*output), progress);
  }

  /// For the method's own function having thrown. Ends the call if it hasn't ended.
  /// \return False if it was the caller's completion that threw.
  bool EndAfterThrow() const {
    if (call_->completionThrew) return false;
    (*this)(std::nullopt, Data::MakeErrorValue(kInternalServerError, {}), kFinished);
    return true;
  }

 private:
  struct Call {
    Call(std::shared_ptr<const AsyncApiMethodSignal> calledMethod,
         Core::ProviderCompletion callersCompletion)
        : method(std::move(calledMethod)), completion(std::move(callersCompletion)) {}

    const std::shared_ptr<const AsyncApiMethodSignal> method;
    const Core::ProviderCompletion completion;
    std::atomic<bool> ended = false;
    std::atomic<bool> completionThrew = false;
  };

  void Complete(const std::shared_ptr<MethodResult>& result, const Progress& progress) const {
    try {
      call_->completion(result, progress);
    } catch (...) {
      call_->completionThrew = true;
      throw;
    }
  }

  std::shared_ptr<Call> call_;
};

AsyncApiMethodSignal::AsyncApiMethodSignal(std::string name, Data::DefinitionPointer input,
                                           Data::DefinitionPointer output,
                                           ErrorDefinitionList errors)
    : name_(std::move(name)),
      input_(std::move(input)),
      output_(std::move(output)),
      errors_(std::move(errors)) {}

void AsyncApiMethodSignal::Connect(Signal signal) { signal_ = std::move(signal); }

const std::string& AsyncApiMethodSignal::GetName() const { return name_; }

std::shared_ptr<const Core::MethodDefinition> AsyncApiMethodSignal::GetDefinition(
    const std::shared_ptr<const Core::InterfaceIdentifier>& interfaceId) const {
  return std::make_shared<Core::MethodDefinition>(Core::MethodDefinition{
      std::make_shared<Core::MethodIdentifier>(interfaceId, name_), input_, output_});
}

Data::DefinitionPointer AsyncApiMethodSignal::GetInputDefinition() const { return input_; }

Data::DefinitionPointer AsyncApiMethodSignal::GetOutputDefinition() const { return output_; }

const ErrorDefinitionList& AsyncApiMethodSignal::GetErrorDefinitions() const { return errors_; }

ErrorDefinitionList AsyncApiMethodSignal::CopyErrorDefinitions() const { return errors_; }

void AsyncApiMethodSignal::Invoke(const Data::ValuePointer& input,
                                  const std::shared_ptr<Core::AsyncActivation>& activation,
                                  const Core::ProviderCompletion& completion) const {
  if (signal_.empty()) {
    completion(
        Fail(Data::MakeErrorValue(kInternalServerError,
                                  {MakeMessage("krova.provider.method.signal.not.connected")})),
        kFinished);
    return;
  }
  if (auto error = CheckInput(input)) {
    completion(Fail(std::move(error)), kFinished);
    return;
  }
  const ValidateResultWrapper wrapper(shared_from_this(), completion);
  try {
    signal_(input, activation, wrapper);
  } catch (const std::exception& exception) {
    if (!wrapper.EndAfterThrow()) throw;
    BOOST_LOG_TRIVIAL(debug) << "Method " << name_ << " threw: " << exception.what();
  } catch (...) {
    if (!wrapper.EndAfterThrow()) throw;
    BOOST_LOG_TRIVIAL(debug) << "Method " << name_ << " threw";
  }
}

std::shared_ptr<const Data::ErrorValue> AsyncApiMethodSignal::CheckInput(
    const Data::ValuePointer& input) const {
  MessageList messages;
  if (Data::DataValidatorHelper::Validate<Data::StrictMatch>(input_, input, messages)) {
    return nullptr;
  }
  const bool unexpected =
      !messages.empty() && messages.front().id.starts_with("krova.data.compound.field");
  messages.insert(messages.begin(), MakeMessage("krova.invoke.invalid.input", name_));
  return Data::MakeErrorValue(unexpected ? kUnexpectedInputError : kInvalidArgumentError, messages);
}

std::shared_ptr<MethodResult> AsyncApiMethodSignal::CheckOutput(
    const Data::ValuePointer& output) const {
  MessageList messages;
  if (Data::DataValidatorHelper::Validate<Data::LooseMatch>(output_, output, messages)) {
    return std::make_shared<MethodResult>(output);
  }
  messages.insert(messages.begin(), MakeMessage("krova.invoke.invalid.output", name_));
  return Fail(Data::MakeErrorValue(kInternalServerError, messages));
}

std::shared_ptr<MethodResult> AsyncApiMethodSignal::CheckError(
    const std::shared_ptr<const Data::ErrorValue>& error) const {
  const std::string& name = error->GetName();
  const auto definition = FindError(name);
  if (definition == nullptr) {
    return Fail(MakeErrorOver(kInternalServerError,
                              {MakeMessage("krova.bindings.method.impl.unexpected", name)},
                              *error));
  }
  MessageList messages;
  if (Data::DataValidatorHelper::Validate<Data::LooseMatch>(definition, error, messages)) {
    return Fail(error);
  }
  messages.insert(messages.begin(), MakeMessage("krova.invoke.invalid.error", name));
  return Fail(MakeErrorOver(kInternalServerError, messages, *error));
}

std::shared_ptr<const Data::ErrorDefinition> AsyncApiMethodSignal::FindError(
    const std::string& name) const {
  for (const auto& definition : errors_) {
    if (definition->GetName() == name) return definition;
  }
  return nullptr;
}

}  // namespace Krova::Provider
