// chrony's chronyd as a time server.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

#include "standins/host_server/scratch_folder.h"

namespace Lab {

/// A time server of the host for as long as the object lives, on a port of loopback that the system
/// chose. It tells the host's time and leaves the host's clock alone, so it needs no rights.
class Chronyd {
 public:
  /// \return False where the host has no chronyd.
  static bool Installed();

  /// Blocks until the server answers.
  /// \throw std::runtime_error with what chronyd itself has to say.
  Chronyd();
  Chronyd(const Chronyd&) = delete;
  Chronyd& operator=(const Chronyd&) = delete;
  ~Chronyd();

  /// \return "127.0.0.1:20123", for a machine's addressMap.
  std::string Address() const;

 private:
  bool StartOnSomePort();

  ScratchFolder folder_;
  std::uint16_t port_ = 0;
  pid_t process_ = -1;
};

}  // namespace Lab
