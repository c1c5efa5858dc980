// dnsmasq as the DNS server of the machine's network.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "standins/host_server/scratch_folder.h"

namespace Lab {

/// A DNS server of the host for as long as the object lives, on a port of loopback. It knows what
/// it is told and asks nobody else: any name below "example" that it doesn't know doesn't exist,
/// all others are refused. Needs no rights but for a port below 1024.
class Dnsmasq {
 public:
  struct Settings {
    struct Host {
      std::string name;
      std::string address;  ///< IPv4 or IPv6.
    };
    struct Alias {
      std::string name;
      std::string target;
    };
    std::vector<Host> hosts;  ///< A name may stand there more than once.
    std::vector<Alias> aliases;
    bool ipv6 = false;       ///< It listens on ::1 as well.
    std::uint16_t port = 0;  ///< 0: the system chooses. A fixed one suits a network of its own.
  };

  /// \return False where the package isn't installed.
  static bool Installed();

  /// Blocks until the server listens.
  /// \throw std::runtime_error with what dnsmasq itself has to say.
  explicit Dnsmasq(const Settings& settings);
  Dnsmasq(const Dnsmasq&) = delete;
  Dnsmasq& operator=(const Dnsmasq&) = delete;
  ~Dnsmasq();

  /// \return "127.0.0.1:40053"; for a machine's addressMap.
  std::string Address() const;
  /// \return "[::1]:40053", where it listens there.
  std::string Ipv6Address() const;

  /// Ends the server at once.
  void Stop();

 private:
  bool StartOnSomePort(const Settings& settings);

  ScratchFolder folder_;
  std::uint16_t port_ = 0;
  pid_t process_ = -1;
};

}  // namespace Lab
