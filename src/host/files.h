// The small file and folder operations that several subsystems share. All of them log what they
// did and why they failed; callers pass the answer on in silence.
#pragma once

#include <string>

namespace Halvard::Host {

/// \return The agent's own folder in the user's local application data, with a trailing backslash.
///         Empty on failure. The folder needn't exist yet.
std::wstring GetHVLocalAppDataFolder();

/// \return The user's desktop, with a trailing backslash. Empty on failure, for instance for a
///         service account, which has none.
std::wstring GetDesktopFolder();

/// \return The first line of a text file without its end, as the bytes that the file holds. Empty
///         on failure, and for an empty line.
std::string GetFileContents(const std::wstring& path);

/// Deletes a folder with all that it holds, for good.
/// \param path  Absolute, shorter than 260 characters, with or without a trailing backslash. The
///              shell takes * and ? in it as wildcards.
/// \return True on success and for an empty path. After a failure a part may be gone.
bool RemoveDirectoryAndContents(const std::wstring& path);

/// Deletes a folder unless it holds something. Of a link to a folder the link goes, whatever its
/// target holds.
/// \return False on a real failure. A folder that isn't empty is none.
bool RemoveDirectoryIfEmpty(const std::wstring& path);

/// Deletes the empty ones among the folders that lie directly in \p path. A folder that holds an
/// empty folder stays.
/// \return True on success and for an empty path; false at the first failure.
bool RemoveEmptySubDirectories(const std::wstring& path);

/// Gives a long path a short name: a link to a folder, under a free name in the root of the drive.
/// The caller removes it with RemoveDirectoryIfEmpty.
/// \param target     Absolute path with a drive letter; it needn't exist.
/// \param[out] link  Path of the link; empty on failure.
bool CreateShortSymbolicLink(const std::wstring& target, std::wstring& link);

}  // namespace Halvard::Host
