// Modules that the process has loaded, as the system counts them.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "machine/text.h"

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

 private:
  static constexpr std::uint32_t kBound = 65535;

  mutable std::mutex mutex_;
  Counts counts_{{L"ntdll.dll", kBound}, {L"kernel32.dll", kBound}};
};

/// Those of this process.
LoadedModules& Modules();

}  // namespace Lab
