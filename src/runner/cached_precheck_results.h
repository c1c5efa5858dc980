// What the upgrade runner found when it was last asked for its requirements.
#pragma once

#include <json/value.h>

#include <mutex>

namespace Halvard::Runner {

/// A JSON document that threads may read and replace at once. It is handed out in copies: a reader
/// keeps the document that it got while a later run replaces it.
class CachedPrecheckResults {
 public:
  Json::Value Value() const;
  operator Json::Value() const { return Value(); }
  CachedPrecheckResults& operator=(Json::Value value);

 private:
  mutable std::mutex mutex_;
  Json::Value value_;
};

/// The output of the last requirements phase as the runner wrote it. Null before the first one, and
/// after one that left nothing that could be read.
extern CachedPrecheckResults gCachedPrecheckResults;

}  // namespace Halvard::Runner
