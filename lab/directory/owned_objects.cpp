#include "directory/owned_objects.h"

#include <algorithm>

namespace Lab {

void OwnedObjects::Add(const char* kind, const void* address, std::shared_ptr<void> object) {
  const std::lock_guard lock(mutex_);
  objects_[address] = {kind, std::move(object)};
}

bool OwnedObjects::Holds(const char* kind, const void* address) const {
  const std::lock_guard lock(mutex_);
  const auto found = objects_.find(address);
  return found != objects_.end() && found->second.kind == kind;
}

bool OwnedObjects::Release(const char* kind, const void* address) {
  std::shared_ptr<void> object;  // Destroyed outside the lock: a session closes its connection.
  const std::lock_guard lock(mutex_);
  const auto found = objects_.find(address);
  if (found == objects_.end() || found->second.kind != kind) return false;
  object = std::move(found->second.object);
  objects_.erase(found);
  return true;
}

std::vector<std::string> OwnedObjects::Kinds() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> kinds;
  for (const auto& [address, entry] : objects_) kinds.push_back(entry.kind);
  std::sort(kinds.begin(), kinds.end());
  return kinds;
}

OwnedObjects& DirectoryObjects() {
  static auto& objects = *new OwnedObjects;
  return objects;
}

}  // namespace Lab
