#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace pion::http {

/// The resource without one trailing slash, if it has any.
inline std::string_view strip_trailing_slash(std::string_view resource) {
  if (!resource.empty() && resource.back() == '/') resource.remove_suffix(1);
  return resource;
}

/// Finds the handler of a resource: that of the longest registered name that is the resource, or a
/// prefix of it with a "/" behind. Bytes are compared as they are. Safe under threads.
template <typename Handler>
class resource_table {
 public:
  /// The first registration of a name wins; one trailing slash of the name doesn't count.
  void add(std::string_view name, Handler handler) {
    const std::lock_guard lock(mutex_);
    handlers_.emplace(strip_trailing_slash(name),
                      std::make_shared<const Handler>(std::move(handler)));
  }

  void remove(std::string_view name) {
    const std::lock_guard lock(mutex_);
    const auto found = handlers_.find(strip_trailing_slash(name));
    if (found != handlers_.end()) handlers_.erase(found);
  }

  void clear() {
    const std::lock_guard lock(mutex_);
    handlers_.clear();
  }

  /// Null if no name matches.
  std::shared_ptr<const Handler> find(std::string_view resource) const {
    const std::lock_guard lock(mutex_);
    const std::string_view wanted = strip_trailing_slash(resource);
    std::shared_ptr<const Handler> longest;
    // The map is ordered, so of two names that match the longer one comes later.
    for (const auto& [name, handler] : handlers_) {
      const bool below = wanted.size() > name.size() && wanted[name.size()] == '/';
      if (wanted.starts_with(name) && (below || wanted.size() == name.size())) longest = handler;
    }
    return longest;
  }

 private:
  mutable std::mutex mutex_;
  std::map<std::string, std::shared_ptr<const Handler>, std::less<>> handlers_;
};

}  // namespace pion::http
