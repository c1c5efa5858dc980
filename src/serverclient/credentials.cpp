#include "serverclient/credentials.h"

#include "serverclient/connection.h"
#include "serverclient/destination.h"

namespace Halvard::ServerClient {

bool ValidateKvAdminCredentials(const std::string& host, std::int32_t port,
                                const std::string& tunnelPath, const std::string& thumbprint,
                                const std::string& user, const std::string& password) {
  const Destination destination(host, port, tunnelPath, user);
  try {
    KelvaneConnection connection;
    ConnectToKelvane(host, port, tunnelPath, thumbprint, connection);
    LogIn(connection, user, password)->Logout();
    destination.LogSuccess(
        L"ValidateKvAdminCredentials: Successfully validated KV credentials for Host:%s, Port:%d, TunnelPath:%s, User:%s.");
    return true;
  } catch (const Tunrak::Exception& failure) {
    destination.LogFailure(
        failure, L"ValidateKvAdminCredentials: %s",
        L"ValidateKvAdminCredentials: Failed to validate KV credentials. Host:%s, Port:%d, TunnelPath:%s, User:%s.");
    return false;
  }
}

}  // namespace Halvard::ServerClient
