#include "serverclient/credentials.h"

#include "core/logging.h"
#include "core/text.h"
#include "serverclient/connection.h"

namespace Halvard::ServerClient {

bool ValidateKvAdminCredentials(const std::string& host, std::int32_t port,
                                const std::string& tunnelPath, const std::string& thumbprint,
                                const std::string& user, const std::string& password) {
  LogScope log;
  try {
    KelvaneConnection connection;
    ConnectToKelvane(host, port, tunnelPath, thumbprint, connection);
    LogIn(connection, user, password)->Logout();
    log.Info(
        L"ValidateKvAdminCredentials: Successfully validated KV credentials for Host:%s, Port:%d, TunnelPath:%s, User:%s.",
        Utf8ToWide(host).c_str(), port, Utf8ToWide(tunnelPath).c_str(), Utf8ToWide(user).c_str());
    return true;
  } catch (const Tunrak::Exception& failure) {
    log.Warn(L"ValidateKvAdminCredentials: %s", Utf8ToWide(failure.what()).c_str());
    log.Warn(
        L"ValidateKvAdminCredentials: Failed to validate KV credentials. Host:%s, Port:%d, TunnelPath:%s, User:%s.",
        Utf8ToWide(host).c_str(), port, Utf8ToWide(tunnelPath).c_str(), Utf8ToWide(user).c_str());
    return false;
  }
}

}  // namespace Halvard::ServerClient
