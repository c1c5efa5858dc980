#include "runner/cached_precheck_results.h"

namespace Halvard::Runner {

CachedPrecheckResults gCachedPrecheckResults;

Json::Value CachedPrecheckResults::Value() const {
  const std::lock_guard lock(mutex_);
  return value_;
}

CachedPrecheckResults& CachedPrecheckResults::operator=(Json::Value value) {
  const std::lock_guard lock(mutex_);
  value_.swap(value);
  return *this;
}

}  // namespace Halvard::Runner
