// Ports of the host for servers of a test's own.
#pragma once

#include <fcntl.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/local/datagram_protocol.hpp>
#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace Halvard::Testing {

/// Keeps other tests from choosing a port as long as this program runs: between the choice and the
/// server's start it is nobody's. Programs that share their ports share these names too (unix(7),
/// abstract), tools/rehearsal/processes.py among them.
/// \return False when another has it.
inline bool ClaimPort(std::uint16_t port) {
  using Claims = boost::asio::local::datagram_protocol;
  static boost::asio::io_context service;
  static std::vector<Claims::socket> claims;
  Claims::socket claim(service, Claims());
  boost::system::error_code error;
  claim.bind(std::string(1, '\0') + "halvard-test-port-" + std::to_string(port), error);
  if (error == boost::asio::error::address_in_use) return false;
  if (error) throw boost::system::system_error(error);
  // Not a program's that it starts.
  fcntl(claim.native_handle(), F_SETFD, FD_CLOEXEC);
  claims.push_back(std::move(claim));
  return true;
}

/// \return A port that was free a moment ago and that no other test chooses, below those that the
/// system gives to whoever connects: these begin at 32768 (ip(7), ip_local_port_range), on Windows
/// at 49152.
inline std::uint16_t FreePort(const boost::asio::ip::tcp& family = boost::asio::ip::tcp::v4()) {
  boost::asio::io_context service;
  boost::asio::ip::tcp::acceptor acceptor(service, family);
  std::random_device random;
  std::uniform_int_distribution<std::uint16_t> ports(20000, 29999);
  for (boost::system::error_code error;;) {
    const std::uint16_t port = ports(random);
    if (!ClaimPort(port)) continue;
    acceptor.bind({family, port}, error);
    if (!error) return port;
    if (error != boost::asio::error::address_in_use) throw boost::system::system_error(error);
  }
}

}  // namespace Halvard::Testing
