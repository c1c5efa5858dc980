// What tests of the server's pointer share.
#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <memory>
#include <utility>

#include "core/server_lifetime.h"
#include "core_test.h"
#include "pion/http/server.h"
#include "pion/scheduler.h"

namespace Halvard {

/// Can start a server, and destroys the one that is there in the end.
class ServerTest : public CoreTest {
 protected:
  ~ServerTest() override { DestroyServer(); }

  void StartServer() {
    const boost::asio::ip::tcp::endpoint anyPort(boost::asio::ip::address_v4::loopback(), 0);
    auto server = std::make_unique<pion::http::server>(scheduler_, anyPort);
    server_ = server.get();
    server_->start();
    SetServer(std::move(server));
  }

  pion::single_service_scheduler scheduler_;
  /// The server that was started last, also when it is gone.
  pion::tcp::server* server_ = nullptr;
};

}  // namespace Halvard
