// A server that listens, for tests of those who stop it.
#pragma once

#include <memory>
#include <utility>

#include "core/server_lifetime.h"
#include "pion/http/server.h"
#include "pion/scheduler.h"

namespace Halvard::Testing {

/// Listens on a port that the system chooses, as the one server of the process. At the end it's
/// destroyed, if nobody has done so before.
class ListeningServer {
 public:
  ListeningServer() {
    const boost::asio::ip::tcp::endpoint anyPort(boost::asio::ip::address_v4::loopback(), 0);
    auto server = std::make_unique<pion::http::server>(scheduler_, anyPort);
    server_ = server.get();
    server_->start();
    SetServer(std::move(server));
  }
  ListeningServer(const ListeningServer&) = delete;
  ListeningServer& operator=(const ListeningServer&) = delete;
  ~ListeningServer() { DestroyServer(); }

  /// Only for as long as the server hasn't been destroyed.
  bool IsListening() const { return server_->is_listening(); }

 private:
  pion::single_service_scheduler scheduler_;
  pion::tcp::server* server_ = nullptr;
};

}  // namespace Halvard::Testing
