// The server as a whole: one thread that takes connections and serves them side by side.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>

#include <json/value.h>

#include "certificate.h"
#include "config.h"
#include "connection.h"
#include "endpoint.h"
#include "inventory_generator.h"
#include "journal.h"
#include "lookup_service.h"
#include "planned_faults.h"
#include "server_objects.h"

namespace Lab::Kelvane {

class Server {
 public:
  /// Makes the inventory and listens. Throws std::exception for a certificate or an address that
  /// can't be had.
  /// \param io, journal  Must outlive the server.
  Server(boost::asio::io_context& io, const Config& config, Journal& journal);

  /// What a test has to know: port, thumbprint, certificate, numbers of hosts and machines.
  Json::Value Announcement() const;

  /// Takes connections from now on, as long as the io_context runs.
  void Start();

  /// Writes the journal's last line.
  void RecordStop();

 private:
  boost::asio::awaitable<void> Accept();

  Config config_;
  Journal& journal_;
  GeneratedInventory inventory_;
  Certificate certificate_;
  boost::asio::ssl::context context_;
  boost::asio::ssl::context otherContext_;
  PlannedFaults faults_;
  ServerObjects objects_;
  LookupService lookup_;
  Endpoint endpoint_;
  ConnectionHost host_;
  boost::asio::ip::tcp::acceptor acceptor_;
  unsigned connections_ = 0;
};

}  // namespace Lab::Kelvane
