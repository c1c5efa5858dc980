// UDP ports of loopback for tests.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Lab {

/// A bound UDP port on the host's loopback that keeps what arrives, and may answer.
class DatagramServer {
 public:
  enum class Family { kIPv4, kIPv6 };

  /// \param reply  What each datagram is answered with, possibly empty; nothing for silence.
  /// \throw std::runtime_error when the port can't be had, as IPv6 on a host without it.
  explicit DatagramServer(std::optional<std::string> reply, Family family = Family::kIPv4);
  DatagramServer(const DatagramServer&) = delete;
  DatagramServer& operator=(const DatagramServer&) = delete;
  ~DatagramServer();

  /// \return "127.0.0.1:20123" or "[::1]:20123", for a machine's addressMap.
  std::string Address() const;

  /// \return What has arrived so far, a datagram each.
  std::vector<std::string> Requests() const;

 private:
  void Serve();

  const std::optional<std::string> reply_;
  const Family family_;
  int socket_ = -1;
  int stop_ = -1;  ///< An event, set at the end.
  std::uint16_t port_ = 0;
  mutable std::mutex mutex_;
  std::vector<std::string> requests_;
  std::thread thread_;
};

/// \return Address of a port of loopback on which nobody listened a moment ago.
std::string ClosedDatagramPort();

/// \return False on a host without IPv6.
bool HostHasIPv6();

}  // namespace Lab
