// Security descriptors for what only some accounts may touch.
#pragma once

#include <cstddef>
#include <memory>

#include "host/access_control_api.h"

namespace Halvard::Security {

/// A self-relative descriptor: one block with all its parts. Null after a failure.
using OwnedDescriptor = std::unique_ptr<std::byte[]>;

/// Makes a descriptor whose access list has the entries; owner and group are left to whoever makes
/// the object. Without entries there would be no list, which grants everything to everyone, so that
/// fails.
/// \param entries  \p count of them; only read.
/// \return Null after a failure, which is logged.
OwnedDescriptor AllocateSecurityDescriptor(ULONG count, EXPLICIT_ACCESS_W* entries);

/// Fills an entry that sets the rights of a group of the system, with nothing to be inherited.
/// \param subAuthorityCount  1 or 2: how many of the two numbers the group's identifier has.
/// \param entry  Its trustee's name is the identifier, for the caller to release with FreeSid().
/// \return False after a failure, which is logged.
bool InitializeExplicitAccess(BYTE subAuthorityCount, DWORD subAuthority0, DWORD subAuthority1,
                              DWORD accessMask, EXPLICIT_ACCESS_W& entry);

/// Makes a descriptor that gives full access to the Administrators group and to nobody else, what a
/// folder would hand on to its files included.
/// \return Null after a failure, which is logged.
OwnedDescriptor AllocateAdministratorsDescriptor();

}  // namespace Halvard::Security
