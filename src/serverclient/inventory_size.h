// How much a Kelvane Server manages.
#pragma once

#include <cstdint>
#include <string>

namespace Halvard::ServerClient {

struct KelvaneConnection;

/// Counts the hosts and the virtual machines of the Kelvane Server's inventory. All texts in UTF-8.
/// \param tunnelPath  Path through the HTTP reverse proxy, or empty for a direct connection.
/// \param thumbprint  The certificate to expect, or empty for any.
/// \param hosts,machines  The counts; after a failure what was counted before it, else 0.
/// \return True on success. Failures are logged. Blocks for the network.
bool GetInventorySize(const std::string& host, std::int32_t port, const std::string& tunnelPath,
                      const std::string& thumbprint, const std::string& user,
                      const std::string& password, std::int32_t& hosts, std::int32_t& machines);

/// Count the hosts, and the virtual machines, below the root folder. The running totals are logged
/// with each page of the server's answer; nothing is kept of a page.
/// \param connection  With a session.
/// \throws Tunrak::Exception  after any failure.
std::int32_t GetNumHosts(const KelvaneConnection& connection);
std::int32_t GetNumVMs(const KelvaneConnection& connection);

}  // namespace Halvard::ServerClient
