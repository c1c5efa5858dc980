// A started machine of the lab for the time of one test.
#pragma once

#include <json/value.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "machine/faults.h"
#include "machine/machine.h"
#include "machine/registry.h"

namespace Lab {

/// Starts a described machine in a temporary folder of its own and opens it in this process, so
/// that the Windows functions act on it. The folder's path and the user's profile hold blanks,
/// letters of several scripts and a character beyond 16 bits. The end of the object removes the
/// folder.
///
/// An edit of the description opens the machine anew: calls are counted from the beginning again
/// and the clock runs. So edit first, then act. Paths are Windows paths, with %NAME% for a variable
/// of the agent's environment. What can't be done (a folder that isn't there) throws.
class Instance {
 public:
  /// The profile of the user in place of C:\Users\Administrator.
  static constexpr std::wstring_view kProfile = L"C:\\Users\\J\u00F6rg \u8A66\u9A13 \U0001D4BD";

  /// \param machine  A name under lab/machines.
  explicit Instance(const std::string& machine = "windows-server");
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;
  ~Instance();

  /// What HALVARD_LAB names for a program that is to run on this machine.
  const std::filesystem::path& Folder() const { return folder_; }

  // The description.

  /// Sets a member of machine.json, as Set("/computer/uiLanguage", 1031).
  void Set(std::string_view pointer, const Json::Value& value);
  /// Removes a member of machine.json; one that isn't there is no fault.
  void Remove(std::string_view pointer);
  /// A variable of the system: the agent sees it, and expansion without a token as well.
  void SetSystemVariable(const std::wstring& name, const std::wstring& value);
  /// A variable of the agent's process alone.
  void SetVariable(const std::wstring& name, const std::wstring& value);
  /// Removes a variable from the system, the user and the process.
  void RemoveVariable(const std::wstring& name);
  /// Installs a product with a code of its own. Of several with one upgrade code the installer
  /// lists the one that was added first.
  void AddProduct(const std::wstring& upgradeCode, const std::wstring& version);
  /// Removes all products with the upgrade code.
  void RemoveProducts(const std::wstring& upgradeCode);
  /// Plans failures, as PlanFault({.function = "RegGetValueW", .call = 3, .error = 5}).
  void PlanFault(const Fault& fault);

  // The registry; keys begin with HKEY_LOCAL_MACHINE.

  void SetRegistryString(const std::wstring& key, const std::wstring& name,
                         const std::wstring& text);
  void SetRegistryValue(const std::wstring& key, const std::wstring& name,
                        const RegistryValue& value);
  /// Removes a key with all below it.
  void RemoveRegistryKey(const std::wstring& key);
  void RemoveRegistryValue(const std::wstring& key, const std::wstring& name);
  /// \return The text of a REG_SZ without its terminator; nothing when there's no such value.
  std::optional<std::wstring> RegistryString(const std::wstring& key,
                                             const std::wstring& name) const;

  // Files.

  std::filesystem::path HostPath(std::wstring_view path) const;
  bool FileExists(std::wstring_view path) const;
  /// \return The file's bytes; nothing when there's no such file.
  std::optional<std::string> ReadFile(std::wstring_view path) const;
  /// Writes a file and makes the folders on the way.
  void WriteFile(std::wstring_view path, std::string_view bytes);
  void MakeFolder(std::wstring_view path);
  /// Removes a file, or a folder with all in it.
  void RemoveFile(std::wstring_view path);
  /// \return Names of what lies in a folder, sorted.
  std::vector<std::wstring> ListFolder(std::wstring_view path) const;

 private:
  void Reopen();
  /// Lays a .reg text without its header over the registry.
  void ApplyRegistry(const std::string& entries);

  std::filesystem::path parent_;  ///< Removed at the end; holds nothing but the instance.
  std::filesystem::path folder_;
  Json::Value document_;
  unsigned products_ = 0;
};

}  // namespace Lab
