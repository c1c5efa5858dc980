#include "machine/modules.h"

#include <algorithm>
#include <utility>

namespace Lab {
namespace {

// Where images lie in memory: the first behind the program's own.
constexpr ULONG_PTR kFirstImage = 0x180000000;
constexpr ULONG_PTR kImageStep = 0x1000000;

}  // namespace

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

HMODULE LoadedModules::HandleOf(const std::wstring& name) {
  const std::lock_guard lock(mutex_);
  const auto known = std::find_if(handles_.begin(), handles_.end(),
                                  [&](const auto& other) { return EqualNoCase(other, name); });
  const auto index = static_cast<ULONG_PTR>(known - handles_.begin());
  if (known == handles_.end()) handles_.push_back(name);
  return reinterpret_cast<HMODULE>(kFirstImage + index * kImageStep);
}

std::wstring LoadedModules::NameOf(HMODULE module) const {
  const std::lock_guard lock(mutex_);
  const auto place = reinterpret_cast<ULONG_PTR>(module);
  const ULONG_PTR index = (place - kFirstImage) / kImageStep;
  if (place < kFirstImage || index >= handles_.size()) return {};
  return handles_[index];
}

LoadedModules& Modules() {
  static LoadedModules& modules = *new LoadedModules;
  return modules;
}

ModuleUse::ModuleUse(std::wstring name) : name_(std::move(name)) { Modules().Load(name_); }

ModuleUse::~ModuleUse() { Modules().Unload(name_); }

}  // namespace Lab
