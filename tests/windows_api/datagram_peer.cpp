#include "datagram_peer.h"

#include <boost/asio/buffer.hpp>
#include <utility>

namespace WindowsApi {

using boost::asio::ip::udp;

DatagramPeer::DatagramPeer(std::optional<std::string> reply)
    : reply_(std::move(reply)),
      socket_(service_, udp::endpoint(boost::asio::ip::address_v4::loopback(), 0)) {
  Receive();
  thread_ = std::thread([this] { service_.run(); });
}

DatagramPeer::~DatagramPeer() {
  service_.stop();
  thread_.join();
}

sockaddr_in DatagramPeer::Address() const {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(socket_.local_endpoint().port());
  return address;
}

void DatagramPeer::Receive() {
  socket_.async_receive_from(boost::asio::buffer(request_), sender_,
                             [this](const boost::system::error_code&, std::size_t) {
                               boost::system::error_code ignored;
                               if (reply_) {
                                 socket_.send_to(boost::asio::buffer(*reply_), sender_, 0, ignored);
                               }
                               Receive();
                             });
}

}  // namespace WindowsApi
