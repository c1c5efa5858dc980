// A bad line to a server.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Lab {

/// Passes connections to a port of loopback on to another one, with what can go wrong on the way.
class TcpRelay {
 public:
  /// Bytes are those that the client has sent on a connection, encrypted as they are.
  struct Limits {
    std::optional<std::uint64_t> closeAfter{};   ///< Both ends are closed then; 0 for at once.
    std::optional<std::uint64_t> silentAfter{};  ///< Not a byte passes from then on, either way.
    std::optional<std::uint64_t> bytesPerSecond{};
  };

  /// \param target  "127.0.0.1:20022"
  /// \throw std::runtime_error when there's no port to be had.
  TcpRelay(const std::string& target, const Limits& limits);
  TcpRelay(const TcpRelay&) = delete;
  TcpRelay& operator=(const TcpRelay&) = delete;
  /// Closes all connections.
  ~TcpRelay();

  /// \return "127.0.0.1:20023", for a machine's addressMap.
  std::string Address() const;

  /// \return How many connections have been made so far.
  unsigned Connections() const;

  /// Blocks until a connection has fallen silent.
  void WaitForSilence();

  /// Closes all connections, and each further one at once.
  void Close();

 private:
  struct Passage;

  void Accept();
  void Serve(int client);
  void Pass(Passage& passage);
  bool WaitForStop(int milliseconds) const;
  void FallSilent();

  const std::uint16_t target_;
  const Limits limits_;
  int listener_ = -1;
  int stop_ = -1;  ///< An event, set at the end.
  std::uint16_t port_ = 0;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  bool silent_ = false;
  std::vector<std::thread> connections_;
  std::thread acceptor_;
};

}  // namespace Lab
