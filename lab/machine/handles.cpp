#include "machine/handles.h"

#include <poll.h>

#include <utility>

namespace Lab {
namespace {

constexpr std::uintptr_t kStep = 4;

}  // namespace

bool Object::IsSignalled() const {
  pollfd entry = {WaitDescriptor(), POLLIN, 0};
  return poll(&entry, 1, 0) == 1;
}

HANDLE HandleTable::Add(std::shared_ptr<Object> object) {
  const std::lock_guard lock(mutex_);
  // A closed number isn't given out again: who uses a handle after its end is then found out.
  next_ += kStep;
  objects_.emplace(next_, std::move(object));
  return reinterpret_cast<HANDLE>(next_);
}

std::shared_ptr<Object> HandleTable::Find(HANDLE handle) const {
  const std::lock_guard lock(mutex_);
  const auto entry = objects_.find(reinterpret_cast<std::uintptr_t>(handle));
  return entry == objects_.end() ? nullptr : entry->second;
}

bool HandleTable::Close(HANDLE handle) {
  std::shared_ptr<Object> last;  // Ends after the lock: its end may close handles of its own.
  const std::lock_guard lock(mutex_);
  const auto entry = objects_.find(reinterpret_cast<std::uintptr_t>(handle));
  if (entry == objects_.end()) return false;
  last = std::move(entry->second);
  objects_.erase(entry);
  return true;
}

std::vector<std::string> HandleTable::OpenTypes() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> types;
  for (const auto& [number, object] : objects_) types.emplace_back(object->TypeName());
  return types;
}

HandleTable& Handles() {
  // Never destroyed: threads that the end of the process stops may still hold handles.
  static HandleTable& table = *new HandleTable;
  return table;
}

}  // namespace Lab
