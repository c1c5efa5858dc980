// Between a method's values and a service function's native types.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "krova/core/contract.h"
#include "krova/data/message_value.h"
#include "krova/data/native.h"
#include "krova/data/struct_reader.h"
#include "krova/standard_errors.h"

namespace Krova::Provider {

/// Draws the one text of an input structure, calls a service function with it, and makes a value
/// of its result.
/// \tparam Function  The service function's type: a function object that can be empty, taking the
///     text, the activation and a Core::NativeCompletion.
/// \tparam Result  The native type of its result, std::string.
/// \tparam Input  A structure with a single string member.
/// \tparam Binder  Knows that member: `static constexpr char kField[]`, the name of the field in
///     the value, and `static std::string& Member(Input&)`.
template <typename Function, typename Result, typename Input, typename Binder>
class AsyncApiMethodFilter {
 public:
  explicit AsyncApiMethodFilter(Function target) : target_(std::move(target)) {}

  void Invoke(const Data::ValuePointer& input,
              const std::shared_ptr<Core::AsyncActivation>& activation,
              const Core::MethodCompletion& completion) const {
    if (target_.empty()) {
      Fail(kInternalServerError, {MakeMessage("krova.filter.invoke.signal.not.connected")},
           completion);
      return;
    }
    Input native;
    MessageList errors;
    Data::StructReader reader;
    reader.Add(Binder::kField, Binder::Member(native));
    if (!reader.Read(input, errors)) {
      Fail(kInvalidArgumentError, errors, completion);
      return;
    }
    target_(Binder::Member(native), activation, NativeToValueResultWrapper(completion));
  }

 private:
  /// Turns a service function's completion into the method's.
  class NativeToValueResultWrapper {
   public:
    explicit NativeToValueResultWrapper(Core::MethodCompletion completion)
        : completion_(std::move(completion)) {}

    void operator()(const std::optional<Result>& output,
                    const std::shared_ptr<const Data::ErrorValue>& error,
                    const Progress& progress) const {
      std::optional<Data::ValuePointer> value;
      if (error == nullptr && output.has_value()) value = Data::DataValueHelper::ToValue(*output);
      completion_(value, error, progress);
    }

   private:
    Core::MethodCompletion completion_;
  };

  static void Fail(const char* name, const MessageList& messages,
                   const Core::MethodCompletion& completion) {
    completion(std::nullopt, Data::MakeErrorValue(name, messages), kFinished);
  }

  Function target_;
};

/// A function of three arguments that calls a member function of a shared object.
template <typename Method, typename Object>
class Delegate3 {
 public:
  /// \param object  Not null.
  Delegate3(Method method, std::shared_ptr<Object> object)
      : method_(method), object_(std::move(object)) {}

  template <typename First, typename Second, typename Third>
  void operator()(const First& first, const Second& second, const Third& third) const {
    ((*object_).*method_)(first, second, third);
  }

 private:
  Method method_;
  std::shared_ptr<Object> object_;
};

}  // namespace Krova::Provider
