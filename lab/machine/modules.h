// Modules that the process has loaded, as the system counts them.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "machine/text.h"
#include "minwindef.h"

namespace Lab {

/// Counts loads by file name. The libraries that a program is bound to are there from the start and
/// aren't counted (65,535). Safe under threads.
class LoadedModules {
 public:
  using Counts = std::map<std::wstring, std::uint32_t, LessNoCase>;

  /// One more load, or one less; at none the module is gone.
  void Load(const std::wstring& name);
  void Unload(const std::wstring& name);

  Counts Snapshot() const;

  /// The one handle of a name, whether or not it's loaded.
  HMODULE HandleOf(const std::wstring& name);
  /// \return Empty for what is no handle of these.
  std::wstring NameOf(HMODULE module) const;

 private:
  static constexpr std::uint32_t kBound = 65535;

  mutable std::mutex mutex_;
  Counts counts_{{L"ntdll.dll", kBound}, {L"kernel32.dll", kBound}, {L"dnsapi.dll", kBound}};
  std::vector<std::wstring>
      handles_;  ///< The names that have one, in the order of their first use.
};

/// Those of this process.
LoadedModules& Modules();

/// One load of a module, for as long as it lives.
class ModuleUse {
 public:
  explicit ModuleUse(std::wstring name);
  ModuleUse(const ModuleUse&) = delete;
  ModuleUse& operator=(const ModuleUse&) = delete;
  ~ModuleUse();

 private:
  const std::wstring name_;
};

}  // namespace Lab
