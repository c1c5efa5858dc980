// The version of a Belvar Controller.
#pragma once

#include <string>

namespace Halvard::Security {

/// Reads the version that the directory of a node tells anonymously, on the port of the newer
/// directory or, where nothing answers there, on that of version 5.5.
/// \param host     A name or an address.
/// \param version  "6.0": the first three characters of what the node says, or "5.5" for a node
///                 that says nothing of its version. Set only on success.
/// \return False after a failure, which is logged. Blocks for the network.
bool RetrieveBVCMajorMinorVersion(const std::wstring& host, std::wstring& version);

}  // namespace Halvard::Security
