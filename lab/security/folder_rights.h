// Who may do what in the folders of the machine, and who makes new things there.
#pragma once

#include <string>

#include "security/inheritance.h"

namespace Lab {

/// \return What the machine's user brings to an object that he makes: an administrator's belongs to
///         the Administrators group, unless the description says otherwise.
Creation CreationByUser(bool isFolder);

/// The descriptor of a folder: as described, or handed on from the folder around it. The root of a
/// drive that isn't described has what a freshly installed system gives it.
/// \param path  Full, with or without a backslash at its end.
SecurityDescriptor RightsOfFolder(const std::wstring& path);

}  // namespace Lab
