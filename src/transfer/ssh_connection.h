// The way to an SSH server that has proved itself and let us in.
#pragma once

#include <string>

#include <libssh2.h>

#include "host/unique_resource.h"

namespace Halvard::Transfer {

/// Sessions with an SSH server; the end says goodbye, whatever has become of the connection.
struct SshSessionTraits {
  using Type = LIBSSH2_SESSION*;
  static Type Invalid() { return nullptr; }
  static void Release(Type session);
};
using UniqueSshSession = Host::UniqueResource<SshSessionTraits>;

/// Channels of a session, to be released before it.
struct SshChannelTraits {
  using Type = LIBSSH2_CHANNEL*;
  static Type Invalid() { return nullptr; }
  static void Release(Type channel) { (void)libssh2_channel_free(channel); }
};
using UniqueSshChannel = Host::UniqueResource<SshChannelTraits>;

/// Makes a socket and connects it to the server's port 22.
/// \param server   As the log is to name it.
/// \param address  Text of an IPv4 or IPv6 address.
/// \return Nothing when there's no socket. One that couldn't be connected is handed out as well:
///         what is done next with it fails, and that failure is the attempt's. Both are logged
///         here.
Host::UniqueSocket ConnectToSshServer(const std::wstring& server, const std::wstring& address);

/// Opens a blocking session without a limit of time. aes128-gcm is preferred in both directions.
/// \param socket      Stays the caller's, and has to outlive the session.
/// \param thumbprint  Not empty: the server is asked for its RSA key before others, since it's the
///                    fingerprint of that key that is expected.
/// \return Nothing after a failure, which is logged here.
UniqueSshSession OpenSshSession(SOCKET socket, const std::wstring& server,
                                const std::string& thumbprint);

/// Compares the fingerprint of the server's key with the expected one, and logs the outcome.
/// \param thumbprint  Empty: nothing is compared, with a warning.
/// \return False when they differ. Upper and lower case are alike.
bool IsExpectedServer(LIBSSH2_SESSION* session, const std::wstring& server,
                      const std::string& thumbprint);

/// Logs in by password, and logs the outcome.
bool LogIn(LIBSSH2_SESSION* session, const std::string& user, const std::string& password);

}  // namespace Halvard::Transfer
