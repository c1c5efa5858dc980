// What administrators may do with new files and folders in a path, told by the inheritance of
// rights and without trying it.
#pragma once

#include <string>

#include "host/windows_api.h"

namespace Halvard::Security {

/// Each is true when the whole of its rights is granted.
struct PathPermissions {
  bool read = false;
  bool write = false;
  /// Running files and listing folders.
  bool execute = false;
  /// DELETE itself; the word is taken in C++.
  bool deleteSelf = false;
  bool deleteChild = false;
  /// Reading and writing the access list, and taking the ownership.
  bool acl = false;

  friend bool operator==(const PathPermissions&, const PathPermissions&) = default;
};

/// \return What both grant.
PathPermissions Common(const PathPermissions& a, const PathPermissions& b);

/// Asks what a descriptor grants to an account or group by itself, whatever groups it is in.
/// \param[out] permissions  Only ever set to true.
/// \return False when it can't be told, which is logged.
bool CheckSidAccess(PSECURITY_DESCRIPTOR descriptor, PSID sid, PathPermissions& permissions);

/// Asks what the Administrators group may do with a new sub-folder, or a new file, of the path. If
/// the path is there, its own rights have to grant it as well. Where the path is still to be made,
/// the folder that it begins with decides.
/// \param isContainer  A sub-folder is meant.
/// \return False when it can't be told, which is logged.
bool GetPathPermissions(const std::wstring& path, PathPermissions& permissions, bool isContainer);

/// The same for both. A file has no children, so that right is the folder's alone.
bool GetDirectoryAccess(const std::wstring& path, PathPermissions& permissions);

}  // namespace Halvard::Security
