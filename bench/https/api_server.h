// The agent's HTTPS server, with a handler of the benchmark's choice behind it.
#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <functional>
#include <iostream>
#include <string>

#include "pion/http/server.h"
#include "pion/scheduler.h"
#include "tls_settings.h"

namespace Bench {

/// Makes what answers "/api". The scheduler runs the server, and outlives the handler.
using MakeHandler =
    std::function<pion::http::server::request_handler_t(pion::single_service_scheduler&)>;

/// Prints the port and serves on one I/O thread, with the agent's TLS settings, until standard
/// input ends. \param pem  A file with a certificate and its key.
inline void ServeApi(const std::string& pem, const MakeHandler& makeHandler) {
  pion::single_service_scheduler scheduler;
  scheduler.set_num_threads(1);
  pion::http::server server(scheduler, {boost::asio::ip::address_v4::loopback(), 0});
  server.set_ssl_key_file(pem);
  SetCurveAndCiphers(server.get_ssl_context_type().native_handle());
  server.set_dispatch_after_headers(true);
  server.add_resource("/api", makeHandler(scheduler));
  server.start();
  std::cout << server.get_port() << std::endl;
  for (std::string line; std::getline(std::cin, line);) {
  }
  server.stop();
}

}  // namespace Bench
