// The other end of an exchange of datagrams, over Asio in both worlds.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>
#include <optional>
#include <string>
#include <thread>

#include "host/windows_api.h"

namespace WindowsApi {

/// A UDP port of loopback.
class DatagramPeer {
 public:
  /// \param reply  What each datagram is answered with, possibly empty; nothing for silence.
  explicit DatagramPeer(std::optional<std::string> reply);
  DatagramPeer(const DatagramPeer&) = delete;
  DatagramPeer& operator=(const DatagramPeer&) = delete;
  ~DatagramPeer();

  sockaddr_in Address() const;

 private:
  void Receive();

  const std::optional<std::string> reply_;
  boost::asio::io_context service_;
  boost::asio::ip::udp::socket socket_;
  boost::asio::ip::udp::endpoint sender_;
  char request_[64] = {};
  std::thread thread_;
};

}  // namespace WindowsApi
