// OpenLDAP's slapd as the directory service of Single Sign-On or of a Belvar Controller.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "standins/host_server/scratch_folder.h"

namespace Lab {

/// A directory server of the host for as long as the object lives: with a folder, a configuration
/// and a certificate of its own, on a port of loopback that the system chose. It needs no rights,
/// and leaves a slapd that serves this machine alone.
class Slapd {
 public:
  struct User {
    std::string name;  ///< cn=NAME,cn=Users,dc=...
    std::string password;
  };
  struct Settings {
    std::string domain = "ostrel.local";
    std::vector<User> users = {{"Administrator", "secret"}};
    /// What the root entry tells anybody as ostrelBelvarControllerVersion; nothing for an older
    /// directory, which doesn't have the attribute.
    std::optional<std::string> version = "6.0.1";
    /// A bind with a name and without a password succeeds, whatever the name.
    bool allowsUnauthenticatedBinds = false;
  };

  /// \return False where the package isn't installed.
  static bool Installed();

  /// Blocks until the server listens.
  /// \throw std::runtime_error with what slapd itself has to say.
  explicit Slapd(const Settings& settings);
  Slapd(const Slapd&) = delete;
  Slapd& operator=(const Slapd&) = delete;
  ~Slapd();

  /// \return "127.0.0.1:40636", where it speaks LDAP over TLS; for a machine's addressMap.
  std::string Address() const;

  /// Ends the server at once. Connections break.
  void Stop();

 private:
  void WriteConfiguration(const Settings& settings) const;
  bool StartOnSomePort();

  ScratchFolder folder_;
  std::uint16_t port_ = 0;
  pid_t process_ = -1;
};

}  // namespace Lab
