#include "machine/modules.h"

namespace Lab {

void LoadedModules::Load(const std::wstring& name) {
  const std::lock_guard lock(mutex_);
  std::uint32_t& count = counts_[name];
  if (count != kBound) ++count;
}

void LoadedModules::Unload(const std::wstring& name) {
  const std::lock_guard lock(mutex_);
  const auto module = counts_.find(name);
  if (module == counts_.end() || module->second == kBound) return;
  if (--module->second == 0) counts_.erase(module);
}

LoadedModules::Counts LoadedModules::Snapshot() const {
  const std::lock_guard lock(mutex_);
  return counts_;
}

LoadedModules& Modules() {
  static LoadedModules& modules = *new LoadedModules;
  return modules;
}

}  // namespace Lab
