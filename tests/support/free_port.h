// Ports of the host for servers of a test's own.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cstdint>

namespace Halvard::Testing {

/// \return A port that was free a moment ago.
inline std::uint16_t FreePort(const boost::asio::ip::tcp& family = boost::asio::ip::tcp::v4()) {
  boost::asio::io_context service;
  return boost::asio::ip::tcp::acceptor(service, {family, 0}).local_endpoint().port();
}

}  // namespace Halvard::Testing
