#include "transfer/secure_copy.h"

#include <cstdint>

#include "core/logging.h"
#include "core/text.h"
#include "network/name_resolution.h"
#include "transfer/ssh_connection.h"

namespace Halvard::Transfer {
namespace {

constexpr int kAttempts = 3;
constexpr int kRemoteFileMode = 0644;
constexpr DWORD kBlockSize = 8192;

/// The library's state that all sessions of the process share, for the time of one attempt.
class SshLibrary {
 public:
  SshLibrary() : error_(libssh2_init(0)) {}
  SshLibrary(const SshLibrary&) = delete;
  SshLibrary& operator=(const SshLibrary&) = delete;
  ~SshLibrary() {
    if (error_ == 0) libssh2_exit();
  }

  /// \return 0 when it can be used.
  int Error() const { return error_; }

 private:
  const int error_;
};

/// \return The address to connect to; no address at all when the name has none.
std::wstring AddressOf(const std::wstring& server) {
  if (Network::IsIpLiteral(server)) return server;
  LogScope log;
  std::wstring address = Network::GetIPAddressFromHostName(server);
  log.Info(L"ScpFile: Resolved host '%s' to IP address '%s'", server.c_str(), address.c_str());
  return address;
}

/// Hands a block over, which the library may take in parts.
bool WriteBlock(LIBSSH2_CHANNEL* channel, const char* block, std::size_t length) {
  while (length > 0) {
    const ssize_t taken = libssh2_channel_write_ex(channel, 0, block, length);
    if (taken < 0) return false;
    block += taken;
    length -= static_cast<std::size_t>(taken);
  }
  return true;
}

/// Sends the file's content, one block after the other.
/// \param[out] sent  Bytes that were handed over.
/// \return False after a failure, which is logged here.
bool SendContent(HANDLE file, LIBSSH2_CHANNEL* channel, std::uint64_t size, std::uint64_t& sent) {
  LogScope log;
  char block[kBlockSize];
  sent = 0;
  while (sent < size) {
    DWORD length = 0;
    // Nobody shares the file, so it can't have become shorter: an early end is a failed read.
    if (ReadFile(file, block, kBlockSize, &length, nullptr) == FALSE || length == 0) {
      log.Error(L"ScpFile: Failed to read the file.");
      return false;
    }
    log.Debug(L"ScpFile: Read %d bytes from file.", length);
    if (!WriteBlock(channel, block, length)) {
      log.Error(L"ScpFile: Failed to write file content to channel.");
      return false;
    }
    log.Debug(L"ScpFile: Copied %d bytes.", length);
    sent += length;
  }
  return true;
}

/// Ends the file and waits until the server has ended as well.
/// \return False after a failure, which is logged here.
bool FinishChannel(UniqueSshChannel& channel) {
  LogScope log;
  if (const int error = libssh2_channel_send_eof(channel.Get()); error != 0) {
    log.Error(L"ScpFile: Failed to send EOF. Error code: %d", error);
    return false;
  }
  if (const int error = libssh2_channel_wait_eof(channel.Get()); error != 0) {
    log.Error(L"ScpFile: Failed to wait for EOF. Error code: %d", error);
    return false;
  }
  if (const int error = libssh2_channel_wait_closed(channel.Get()); error != 0) {
    log.Error(L"ScpFile: Failed to wait and close channel. Error code: %d", error);
    return false;
  }
  if (const int error = libssh2_channel_free(channel.Get()); error != 0) {
    log.Error(L"ScpFile: Failed to free channel. Error code: %d", error);
    return false;
  }
  (void)channel.Detach();
  return true;
}

/// Opens the file and takes its size.
/// \return Nothing after a failure, which is logged here.
Host::UniqueFile OpenLocalFile(const std::wstring& path, std::uint64_t& size) {
  LogScope log;
  Host::UniqueFile file(CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) {
    log.Error(L"ScpFile: Failed to open file.");
    return file;
  }
  LARGE_INTEGER length = {};
  if (GetFileSizeEx(file.Get(), &length) == FALSE) {
    const DWORD error = GetLastError();
    log.Error(L"ScpFile: Failed to get the size of the file. Error: %d", error);
    file.Reset();
    return file;
  }
  size = static_cast<std::uint64_t>(length.QuadPart);
  log.Info(L"ScpFile: Local file size retrieved: %llu bytes.", size);
  return file;
}

/// Sends a file through a session that is logged in. Failures are logged here.
bool SendFile(LIBSSH2_SESSION* session, const std::string& remotePath,
              const std::wstring& localFile) {
  LogScope log;
  // Comes first, since the file is to be closed before the channel is freed.
  UniqueSshChannel channel;
  std::uint64_t size = 0;
  const Host::UniqueFile file = OpenLocalFile(localFile, size);
  if (!file) return false;
  channel.Reset(libssh2_scp_send64(session, remotePath.c_str(), kRemoteFileMode,
                                   static_cast<libssh2_int64_t>(size), 0, 0));
  if (!channel) {
    const int error = libssh2_session_last_errno(session);
    log.Error(L"ScpFile: Failed to create a channel to SCP file to remote host. Error: %d", error);
    return false;
  }
  std::uint64_t sent = 0;
  if (!SendContent(file.Get(), channel.Get(), size, sent) || !FinishChannel(channel)) return false;
  log.Info(L"ScpFile: Total bytes copied: %llu bytes", sent);
  if (sent != size) {
    log.Error(
        L"ScpFile: Failed to copy file. Number of bytes copied does not match local file size.");
    return false;
  }
  log.Info(L"ScpFile: Successfully SCPed file to remote host.");
  return true;
}

}  // namespace

bool ScpFile(const std::string& server, const std::string& remotePath, const std::string& user,
             const std::string& password, const std::string& thumbprint,
             const std::wstring& localFile) {
  LogScope log;
  if (server.empty() || remotePath.empty() || user.empty() || password.empty() ||
      localFile.empty()) {
    log.Error(L"ScpFile: ScpFile called with invalid arguments.");
    return false;
  }
  const std::wstring host = Utf8ToWide(server);
  const std::wstring address = AddressOf(host);
  log.Info(L"ScpFile: Copying local %s file to host %s at location %s.", localFile.c_str(),
           host.c_str(), Utf8ToWide(remotePath).c_str());
  const SshLibrary library;
  if (library.Error() != 0) {
    log.Error(L"ScpFile: Libssh2 initialization failed: %d", library.Error());
    return false;
  }
  const Host::UniqueSocket socket = ConnectToSshServer(host, address);
  if (!socket) return false;
  const UniqueSshSession session = OpenSshSession(socket.Get(), host, thumbprint);
  return session && IsExpectedServer(session.Get(), host, thumbprint) &&
         LogIn(session.Get(), user, password) && SendFile(session.Get(), remotePath, localFile);
}

bool ScpFileWithRetries(const std::string& server, const std::string& remotePath,
                        const std::string& user, const std::string& password,
                        const std::string& thumbprint, const std::wstring& localFile) {
  LogScope log;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (ScpFile(server, remotePath, user, password, thumbprint, localFile)) {
      log.Info(L"ScpFileWithRetries: Scpfile is successful");
      return true;
    }
    if (attempt == kAttempts - 1) {
      log.Error(L"ScpFileWithRetries: ScpFile failed after [%d] retries.", attempt);
    } else {
      log.Warn(L"ScpFileWithRetries: ScpFile failed. retryCount [%d]", attempt);
    }
  }
  return false;
}

}  // namespace Halvard::Transfer
