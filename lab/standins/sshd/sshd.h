// OpenSSH's sshd as the new appliance.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "standins/host_server/scratch_folder.h"

namespace Lab {

/// An SSH server of the host for as long as the object lives, on a port of loopback that the system
/// chose. It has mounts and processes of its own, and in them a user of its own: nothing of the
/// host's accounts, keys and logs is seen or changed, and nothing of it is left behind. It wants
/// root's rights.
class Sshd {
 public:
  struct Settings {
    std::string user = "root";  ///< Has root's rights, whatever the name.
    std::string password = "secret";
    /// Kinds of keys as ssh-keygen names them: "rsa", "ecdsa", "ed25519".
    std::vector<std::string> hostKeys = {"rsa"};
    /// Room on the disk as mount has it ("64k", "2g"); empty for half of the host's memory.
    std::string diskSize{};
    /// Further lines of sshd_config, as "Ciphers aes256-ctr".
    std::vector<std::string> options{};
  };

  /// \return Why there can't be one on this host; empty where it can.
  static std::string WhyNot();

  /// Blocks until the server listens.
  /// \throw std::runtime_error with what sshd itself has to say.
  explicit Sshd(const Settings& settings);
  Sshd(const Sshd&) = delete;
  Sshd& operator=(const Sshd&) = delete;
  ~Sshd();

  /// \return "127.0.0.1:20022", for a machine's addressMap.
  std::string Address() const;
  /// \return "[::1]:20022". Nobody listens there on a host without IPv6.
  std::string Address6() const;

  /// \param type  One of the settings' host keys.
  /// \return SHA-1 of the key as "0A:1B:...".
  std::string Thumbprint(const std::string& type) const;

  /// \return Folder on a memory file system of its own, as clients have to name it. Nobody else on
  ///         the host has it under this name.
  std::string Folder() const;
  /// \return Where the host sees a path of the server, for as long as the server runs.
  std::filesystem::path HostPath(const std::string& path) const;

  /// \return What the server has logged so far.
  std::string Log() const;

  /// Ends the server with all its connections, and waits until they are gone.
  void Stop();

 private:
  void WriteFiles(const Settings& settings) const;
  void WriteConfiguration() const;
  bool StartOnSomePort();
  std::string InsideProcess() const;

  ScratchFolder folder_;
  std::vector<std::string> hostKeys_;
  std::vector<std::string> options_;
  std::uint16_t port_ = 0;
  pid_t process_ = -1;  ///< That of unshare, which waits for the server.
};

}  // namespace Lab
