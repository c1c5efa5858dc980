#include "standins/chronyd/chronyd.h"

#include <poll.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <stdexcept>

#include "standins/host_server/child_process.h"
#include "standins/host_server/loopback_port.h"

namespace Lab {
namespace {

/// The package's own place, and that of the one that is unpacked beside another time service.
constexpr std::array<const char*, 2> kPlaces = {
    "/usr/sbin/chronyd", "/usr/local/lib/halvard-lab/chrony/usr/sbin/chronyd"};

const char* Program() {
  for (const char* place : kPlaces) {
    if (access(place, X_OK) == 0) return place;
  }
  return nullptr;
}

/// A socket on a port of its own; the port is free again when it is closed.
int BoundSocket(std::uint16_t& port) {
  const int descriptor = ::socket(AF_INET, int{SOCK_DGRAM} | SOCK_CLOEXEC, 0);
  sockaddr_in address = Loopback(0);
  socklen_t length = sizeof(address);
  (void)bind(descriptor, reinterpret_cast<sockaddr*>(&address), length);
  (void)getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length);
  port = ntohs(address.sin_port);
  return descriptor;
}

std::uint16_t FreePort() {
  std::uint16_t port = 0;
  close(BoundSocket(port));
  return port;
}

/// Asks once for the time and waits a moment for the answer.
bool Answers(std::uint16_t port) {
  constexpr int kMoment = 20;
  std::uint16_t ownPort = 0;
  const int descriptor = BoundSocket(ownPort);
  const std::array<char, 48> request = {0b00'011'011};
  const sockaddr_in server = Loopback(port);
  (void)::sendto(descriptor, static_cast<const void*>(request.data()), request.size(), 0,
                 reinterpret_cast<const sockaddr*>(&server), sizeof(server));
  pollfd ready{descriptor, POLLIN, 0};
  const bool answered = poll(&ready, 1, kMoment) > 0;
  close(descriptor);
  return answered;
}

std::string OwnUser() {
  const passwd* user = getpwuid(geteuid());
  return user == nullptr ? "root" : user->pw_name;
}

}  // namespace

bool Chronyd::Installed() { return Program() != nullptr; }

Chronyd::Chronyd() : folder_("chronyd") {
  constexpr int kTries = 5;  // Another program may take the port in between.
  for (int i = 0; i < kTries; ++i) {
    if (StartOnSomePort()) return;
  }
  throw std::runtime_error(std::string(Program()) + ": " + folder_.Read("output"));
}

Chronyd::~Chronyd() { EndChild(process_); }

std::string Chronyd::Address() const { return "127.0.0.1:" + std::to_string(port_); }

bool Chronyd::StartOnSomePort() {
  port_ = FreePort();
  // Its own clock serves as the source, and nothing listens for commands.
  std::ofstream(folder_ / "chrony.conf") << "port " << port_
                                         << "\nbindaddress 127.0.0.1\nallow\nlocal stratum 8\n"
                                            "cmdport 0\nbindcmdaddress /\npidfile "
                                         << (folder_ / "pid").string() << "\n";
  // In the foreground (-d), without touching the clock (-x), whoever starts it (-U).
  process_ =
      StartChild({Program(), "-d", "-x", "-U", "-u", OwnUser(), "-f", folder_ / "chrony.conf"},
                 folder_ / "output");
  return AwaitReady(process_, [this] { return Answers(port_); });
}

}  // namespace Lab
