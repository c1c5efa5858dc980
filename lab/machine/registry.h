// The machine's registry: keys and values over the file registry.reg of the instance.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "machine/text.h"

namespace Lab {

/// A value of a key. Text types keep their characters, others their bytes.
struct RegistryValue {
  static constexpr std::uint32_t kSz = 1, kExpandSz = 2, kBinary = 3, kDword = 4, kMultiSz = 7;

  std::uint32_t type = 0;  ///< REG_SZ and so on.
  /// For REG_SZ, REG_EXPAND_SZ and REG_MULTI_SZ: the characters as stored, terminators included
  /// where they were given.
  std::wstring text{};
  std::vector<std::uint8_t> bytes{};  ///< For all other types.

  /// \return True for the types that hold text.
  bool IsText() const;

  bool operator==(const RegistryValue&) const = default;
};

/// Values of a key by name; the unnamed one has the empty name.
using RegistryKey = std::map<std::wstring, RegistryValue, LessNoCase>;

/// Keys by their full path: HKEY_LOCAL_MACHINE\SOFTWARE\... Every key has an entry of its own, the
/// ones above another as well.
using RegistryTree = std::map<std::wstring, RegistryKey, LessNoCase>;

/// The state on disk, shared by all processes of an instance: a write is there when the call
/// returns, and a read sees what others wrote. Safe under threads.
class Registry {
 public:
  explicit Registry(std::filesystem::path file);

  /// \return True when the key exists. Paths begin with the hive's full name.
  bool HasKey(std::wstring_view key);

  /// \return The value, or nothing when the key or the value isn't there.
  std::optional<RegistryValue> Find(std::wstring_view key, std::wstring_view name);

  /// Stores a value; makes the key and those above it where they don't exist.
  /// \throw std::filesystem::filesystem_error when the file can't be written.
  void Set(std::wstring_view key, std::wstring_view name, RegistryValue value);

 private:
  /// What tells one state of the file from another: node, time of change, size.
  using Version = std::tuple<ino_t, time_t, long, off_t>;

  /// Reads the file again if it is another one than at the last look.
  void Refresh();

  const std::filesystem::path file_;
  std::mutex mutex_;
  RegistryTree tree_;
  Version readVersion_{};
};

}  // namespace Lab
