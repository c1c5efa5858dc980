// Connections to a directory service.
#pragma once

#include <string>

#include "host/unique_resource.h"

namespace Halvard::Security {

constexpr ULONG kLdapsPort = 636;
/// Of the directory of version 5.5.
constexpr ULONG kLegacyLdapsPort = 11712;

/// The directory client leaves its texts alone, though its functions are declared as if they wrote
/// to them. The result lives as long as \p text.
inline PWCHAR LdapArgument(const std::wstring& text) { return const_cast<PWCHAR>(text.c_str()); }

/// Connects by LDAP version 3 over TLS. The connection is encrypted, but whoever answers is taken
/// for the server: any certificate will do. Blocks as long as the system lets a connection take;
/// what is asked over the connection then waits without limit.
/// \param host  A name or an address.
/// \return Null after a failure, which is logged.
Host::UniqueLdapSession ConnectToLdapServer(const std::wstring& host, ULONG port);

}  // namespace Halvard::Security
