// One connection to the server, from its acceptance to its end.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>

#include "endpoint.h"
#include "journal.h"
#include "planned_faults.h"

namespace Lab::Kelvane {

/// What connections share. All must outlive them.
struct ConnectionHost {
  Endpoint& endpoint;
  Journal& journal;
  const std::string& tunnelPath;           ///< Empty: no tunnel.
  boost::asio::ssl::context& certificate;  ///< The announced one.
  boost::asio::ssl::context& otherCertificate;
};

/// Serves a connection: the tunnel if the client asks for one, TLS, then one request after the
/// other. Its end and what failed before the first request stand in the journal. Throws nothing.
/// \param fault  What is planned for it; null for nothing.
boost::asio::awaitable<void> ServeConnection(boost::asio::ip::tcp::socket socket, unsigned number,
                                             const ConnectionFault* fault, ConnectionHost& host);

}  // namespace Lab::Kelvane
