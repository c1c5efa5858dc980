// Copies of files to the new appliance, as a client of its SSH server.
#pragma once

#include <string>

namespace Halvard::Transfer {

/// Copies one file to another host in one attempt: over a connection of its own to port 22, logged
/// in by password, with mode 0644. A file of that name on the other host is overwritten.
/// \param server      Host name or address.
/// \param remotePath  Full path of the file there.
/// \param password    Goes nowhere but to the server, and not into the log.
/// \param thumbprint  Fingerprint that the server's key must have: SHA-1, each of the 20 bytes as
///                    two hexadecimal digits in either case, with ":" in between. Empty: none is
///                    expected, any server will do.
/// \param localFile   Opened without sharing.
/// \return True when the server has taken the whole file. Nothing tells whether it could store it.
///
/// The narrow texts are UTF-8. Blocks without a limit of time, for as long as the server is silent.
/// Every failure is logged here.
bool ScpFile(const std::string& server, const std::string& remotePath, const std::string& user,
             const std::string& password, const std::string& thumbprint,
             const std::wstring& localFile);

/// The same in up to three attempts, without a pause between them.
/// \return True when one of them succeeded.
bool ScpFileWithRetries(const std::string& server, const std::string& remotePath,
                        const std::string& user, const std::string& password,
                        const std::string& thumbprint, const std::wstring& localFile);

}  // namespace Halvard::Transfer
