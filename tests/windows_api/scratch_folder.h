// A folder for the files of one test, and what tests do there beside calling what they test.
#pragma once

#include <string>
#include <string_view>

#include "host/windows_api.h"

namespace WindowsApi {

/// Lives as long as the test. Its path holds blanks, letters of several scripts and a character
/// beyond 16 bits.
class ScratchFolder {
 public:
  ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder();

  /// \return The folder's path, without a backslash at its end.
  const std::wstring& Path() const { return path_; }

  /// \return The path of \p name in the folder.
  std::wstring In(std::wstring_view name) const;

  /// Makes a file of that name. \return Its path.
  std::wstring Write(std::wstring_view name, std::string_view bytes = "content") const;

  /// Makes a folder of that name. \return Its path.
  std::wstring MakeFolder(std::wstring_view name) const;

 private:
  const std::wstring path_;
};

/// \return The bytes of a file, which has to exist.
std::string Contents(const std::wstring& path);

bool Exists(const std::wstring& path);

/// The last error, in a type that compares with a plain number without a warning.
unsigned LastError();

/// Sets the last error to a value that no function sets, to see that a call leaves it alone.
void SpoilLastError();
constexpr unsigned kSpoiled = 0xBAD;

// Different for the two builds.

/// \return A folder that exists, without a backslash at its end, in which a test may make its own.
std::wstring ParentOfScratchFolders();
void MakeFolderAt(const std::wstring& path);
void SetReadOnly(const std::wstring& path, bool readOnly);
/// Gives a file another name, in place of another file if there is one.
void RenameAt(const std::wstring& path, const std::wstring& newPath);
/// Removes the folder with all in it.
void RemoveTree(const std::wstring& path);

}  // namespace WindowsApi
