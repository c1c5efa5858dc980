// A connection to a Kelvane Server, for the length of one operation.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "quen/extension_manager.h"
#include "quen/service_instance.h"
#include "quen/session_manager.h"
#include "zelmo/soap_stub_adapter.h"

namespace Halvard::ServerClient {

struct KelvaneConnection {
  /// All calls go through it, and a login holds for all of them.
  std::shared_ptr<Zelmo::SoapStubAdapter> adapter;
  /// References to the server's further objects.
  Quen::ServiceInstanceContent content;
};

/// Connects and retrieves the server's content; nobody is logged in yet. All texts in UTF-8.
/// \param tunnelPath  Path through the HTTP reverse proxy, or empty for a direct connection.
/// \param thumbprint  The certificate to expect. Empty: the certificates of this and of every later
///                    connection of the process go unchecked, thumbprint or not.
/// \throws Tunrak::Exception  after any failure. Blocks for the network.
void ConnectToKelvane(const std::string& host, std::int32_t port, const std::string& tunnelPath,
                      const std::string& thumbprint, KelvaneConnection& connection);

/// Opens a session on the connection.
/// \return The session manager, for the logout.
/// \throws Tunrak::Exception
std::shared_ptr<Quen::SessionManager> LogIn(const KelvaneConnection& connection,
                                            const std::string& user, const std::string& password);

}  // namespace Halvard::ServerClient
