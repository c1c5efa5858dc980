// The contract between those who make calls and those who serve them.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include <boost/function.hpp>

#include "krova/core/execution.h"
#include "krova/core/identifiers.h"
#include "krova/data/value.h"

namespace Krova::Core {

/// What a method ends or reports with. Neither output nor error set: a progress report, and more
/// will come. Otherwise the call is over. May be called on any thread.
using MethodCompletion = boost::function<void(
    const std::optional<std::shared_ptr<const Data::DataValue>>& output,
    const std::shared_ptr<const Data::ErrorValue>& error, const Progress& progress)>;

/// The same in the hands of a service function, whose result is a text.
using NativeCompletion = boost::function<void(const std::optional<std::string>& output,
                                              const std::shared_ptr<const Data::ErrorValue>& error,
                                              const Progress& progress)>;

/// What the caller of a provider gets: with a null result a progress report, with another one the
/// end of the call. May be called on any thread.
///
/// All three are functions of Boost, since an empty one that is called says so by throwing
/// boost::bad_function_call, which nothing here catches.
using ProviderCompletion =
    boost::function<void(const std::shared_ptr<MethodResult>& result, const Progress& progress)>;

/// Runs a function some time later on a worker.
using Executor = boost::function<void(const boost::function<void()>& work)>;

/// Finds and calls methods.
class AsyncApiProvider {
 public:
  virtual std::string GetName() const = 0;
  /// Returns at once; the call ends with \p completion.
  /// \param input  May be null.
  virtual void Invoke(const std::shared_ptr<const MethodIdentifier>& method,
                      const std::shared_ptr<const Data::DataValue>& input,
                      const std::shared_ptr<AsyncActivation>& activation,
                      const ProviderCompletion& completion) = 0;
  virtual ~AsyncApiProvider() = default;
};

}  // namespace Krova::Core
