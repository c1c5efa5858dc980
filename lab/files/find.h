// Searches through a folder, and the patterns that they and the shell take.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "machine/handles.h"
#include "minwinbase.h"

namespace Lab {

/// \return True when \p name fits \p pattern: * stands for any text, ? for one character or none at
///         the end, "*.*" for every name. Case doesn't matter.
bool MatchesPattern(std::wstring_view name, std::wstring_view pattern);

/// \return True when the path has * or ? in it.
bool HasWildcards(std::wstring_view path);

/// A path divided behind its last separator.
struct SplitPath {
  std::wstring folder;  ///< With its separator; empty when there is none.
  std::wstring name;
};
SplitPath SplitAtLastSeparator(std::wstring_view path);

/// \return Names in the folder that fit the pattern, by upper-cased name as NTFS keeps them.
std::vector<std::wstring> NamesIn(const std::filesystem::path& folder, std::wstring_view pattern);

/// A search: the names are those that were there when it began.
class Find : public Object {
 public:
  /// \param folder  The folder on the host.
  /// \param names   In the order in which they're handed out.
  Find(std::filesystem::path folder, std::vector<std::wstring> names);

  const char* TypeName() const override { return "Find"; }

  /// Fills \p entry with the next one that still exists. \return False at the end.
  bool Next(WIN32_FIND_DATAW& entry);

 private:
  const std::filesystem::path folder_;
  const std::vector<std::wstring> names_;
  std::size_t next_ = 0;
};

}  // namespace Lab
