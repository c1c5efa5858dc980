// Ports of the host for servers of a test's own.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cstdint>
#include <random>

namespace Halvard::Testing {

/// \return A port that was free a moment ago, below those that the system gives to whoever
/// connects: these begin at 32768 (ip(7), ip_local_port_range), on Windows at 49152.
inline std::uint16_t FreePort(const boost::asio::ip::tcp& family = boost::asio::ip::tcp::v4()) {
  boost::asio::io_context service;
  boost::asio::ip::tcp::acceptor acceptor(service, family);
  std::random_device random;
  std::uniform_int_distribution<std::uint16_t> ports(20000, 29999);
  for (boost::system::error_code error;;) {
    const std::uint16_t port = ports(random);
    acceptor.bind({family, port}, error);
    if (!error) return port;
    if (error != boost::asio::error::address_in_use) throw boost::system::system_error(error);
  }
}

}  // namespace Halvard::Testing
