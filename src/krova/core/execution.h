// What travels with a call, and what comes out of it.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <variant>

#include "krova/data/value.h"

namespace Krova {

/// How far a call has come. Only the lower 32 bits of each number reach the wire.
struct Progress {
  std::int64_t min = 0;
  std::int64_t max = 0;
  std::int64_t current = 0;

  bool operator==(const Progress&) const = default;
};

/// What a finished call carries.
inline constexpr Progress kFinished{0, 1, 1};

}  // namespace Krova

namespace Krova::Core {

/// How a call ended. Exactly one of the two is set.
class MethodResult {
 public:
  explicit MethodResult(std::shared_ptr<const Data::DataValue> result)
      : output(std::move(result)) {}
  explicit MethodResult(std::shared_ptr<const Data::ErrorValue> fault) : error(std::move(fault)) {}
  virtual ~MethodResult() = default;

  std::shared_ptr<const Data::DataValue> output;
  std::shared_ptr<const Data::ErrorValue> error;
};

/// What the client says of itself with a call; the request parser fills it.
class ExecutionContext {
 public:
  using Texts = std::map<std::string, std::string>;

  virtual ~ExecutionContext() = default;

  Texts applicationContext;
  std::map<std::string, std::variant<std::string, Texts>> securityContext;
};

/// One call. The method and the service share it and may keep it as long as they need it.
class AsyncActivation {
 public:
  explicit AsyncActivation(std::shared_ptr<ExecutionContext> context)
      : context_(std::move(context)) {}

  const std::shared_ptr<ExecutionContext>& GetContext() const { return context_; }

  /// Data that belong to this call. The transport stores the id of the request under `request_id`.
  /// Not locked: set before the call is made.
  void SetData(const std::string& key, std::string value) { data_[key] = std::move(value); }
  /// \return Empty for a key that was never set.
  std::string GetData(const std::string& key) const {
    const auto found = data_.find(key);
    return found == data_.end() ? std::string() : found->second;
  }

 private:
  const std::shared_ptr<ExecutionContext> context_;
  std::map<std::string, std::string> data_;
};

/// The activation's key for the id of the request.
inline constexpr char kRequestIdKey[] = "request_id";

}  // namespace Krova::Core
