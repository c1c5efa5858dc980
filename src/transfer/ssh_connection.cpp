#include "transfer/ssh_connection.h"

#include <initializer_list>
#include <string_view>

#include "core/logging.h"
#include "core/octet_text.h"
#include "core/text.h"

namespace Halvard::Transfer {
namespace {

constexpr WORD kSshPort = 22;
constexpr std::size_t kFingerprintBytes = 20;

/// An address of either family.
union SocketAddress {
  sockaddr any;
  sockaddr_in v4;
  sockaddr_in6 v6;
};

/// Reads the text of an address and tells its kind in the log.
/// \return What isn't an IPv6 address is an IPv4 one. If it's neither, nobody will be there.
SocketAddress ParseAddress(const std::wstring& text) {
  LogScope log;
  SocketAddress address = {};
  if (InetPtonW(AF_INET6, text.c_str(), &address.v6.sin6_addr) == 1) {
    log.Info(L"ScpFile: Create socket using AF_INET6 address family.");
    address.v6.sin6_family = AF_INET6;
    address.v6.sin6_port = htons(kSshPort);
    return address;
  }
  log.Info(L"ScpFile: Create socket using AF_INET address family.");
  address.v4.sin_family = AF_INET;
  address.v4.sin_addr.s_addr = inet_addr(WideToUtf8(text).c_str());
  address.v4.sin_port = htons(kSshPort);
  return address;
}

/// Lets each block leave at once: the server's answers aren't waited for.
void SendWithoutDelay(SOCKET socket) {
  const DWORD on = 1;
  // Without it the copy is slower, and no less of a copy.
  (void)setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on),
                   sizeof(on));
}

bool Contains(const std::string& list, std::string_view method) {
  return ("," + list + ",").find("," + std::string(method) + ",") != std::string::npos;
}

/// Moves methods to the front of those that the library has. The others stay behind them: a server
/// may know none of ours.
void Prefer(LIBSSH2_SESSION* session, int kind, const std::string& preferred) {
  std::string list = preferred;
  const char** methods = nullptr;
  const int count = libssh2_session_supported_algs(session, kind, &methods);
  for (int i = 0; i < count; ++i) {
    if (!Contains(list, methods[i])) list += std::string(",") + methods[i];
  }
  if (count > 0) libssh2_free(session, methods);
  // If this fails the library's own order is left, which works or ends in another fingerprint.
  (void)libssh2_session_method_pref(session, kind, list.c_str());
}

void SetPreferences(LIBSSH2_SESSION* session, const std::string& thumbprint) {
  // In one direction alone the library decrypts by the rules of the other one's cipher, and hangs.
  for (const int direction : {LIBSSH2_METHOD_CRYPT_CS, LIBSSH2_METHOD_CRYPT_SC}) {
    Prefer(session, direction, "aes128-gcm@openssh.com");
  }
  if (!thumbprint.empty()) {
    Prefer(session, LIBSSH2_METHOD_HOSTKEY, "rsa-sha2-512,rsa-sha2-256,ssh-rsa");
  }
}

/// \return "0A:1B:...", empty without a hash.
std::string FormatFingerprint(const char* hash) {
  if (hash == nullptr) return {};
  return OctetText(reinterpret_cast<const unsigned char*>(hash), kFingerprintBytes);
}

}  // namespace

void SshSessionTraits::Release(Type session) {
  (void)libssh2_session_disconnect_ex(session, SSH_DISCONNECT_BY_APPLICATION, "Disconnect!!!", "");
  (void)libssh2_session_free(session);
}

Host::UniqueSocket ConnectToSshServer(const std::wstring& server, const std::wstring& address) {
  LogScope log;
  const SocketAddress target = ParseAddress(address);
  Host::UniqueSocket result(socket(target.any.sa_family, SOCK_STREAM, IPPROTO_TCP));
  if (!result) {
    log.Error(L"ScpFile: Failed to create socket on host [%s].", server.c_str());
    return result;
  }
  SendWithoutDelay(result.Get());
  const int length = target.any.sa_family == AF_INET6 ? sizeof(target.v6) : sizeof(target.v4);
  if (connect(result.Get(), &target.any, length) != 0) {
    const int error = WSAGetLastError();
    log.Error(L"ScpFile: Failed to connect to remote host [%s], Error code: [%d]", server.c_str(),
              error);
  }
  return result;
}

UniqueSshSession OpenSshSession(SOCKET socket, const std::wstring& server,
                                const std::string& thumbprint) {
  LogScope log;
  UniqueSshSession session(libssh2_session_init_ex(nullptr, nullptr, nullptr, nullptr));
  if (!session) {
    log.Error(L"ScpFile: Failed to initialize libssh2 session");
    return session;
  }
  SetPreferences(session.Get(), thumbprint);
  const int error = libssh2_session_handshake(session.Get(), static_cast<libssh2_socket_t>(socket));
  if (error < 0) {
    log.Error(L"ScpFile: Handshake failed with remote host [%s]. Error: %d", server.c_str(), error);
    session.Reset();
  }
  return session;
}

bool IsExpectedServer(LIBSSH2_SESSION* session, const std::wstring& server,
                      const std::string& thumbprint) {
  LogScope log;
  const std::string fingerprint =
      FormatFingerprint(libssh2_hostkey_hash(session, LIBSSH2_HOSTKEY_HASH_SHA1));
  if (thumbprint.empty()) {
    log.Warn(L"ScpFile: Expected fingerprint not passed.");
    return true;
  }
  const std::wstring expected = Utf8ToWide(thumbprint);
  if (_stricmp(fingerprint.c_str(), thumbprint.c_str()) != 0) {
    log.Error(
        L"ScpFile: The fingerprint of the remote host '%s' did not match the expected fingerprint '%s'.",
        server.c_str(), expected.c_str());
    return false;
  }
  log.Info(
      L"ScpFile: The fingerprint of the remote host '%s' matched the expected fingerprint '%s'.",
      server.c_str(), expected.c_str());
  return true;
}

bool LogIn(LIBSSH2_SESSION* session, const std::string& user, const std::string& password) {
  LogScope log;
  if (libssh2_userauth_password_ex(session, user.data(), static_cast<unsigned>(user.size()),
                                   password.data(), static_cast<unsigned>(password.size()),
                                   nullptr) != 0) {
    log.Error(L"ScpFile: Failed to authenticate against remote host using provided credentials.");
    return false;
  }
  log.Info(L"ScpFile: Successfully authenticated against remote host.");
  return true;
}

}  // namespace Halvard::Transfer
