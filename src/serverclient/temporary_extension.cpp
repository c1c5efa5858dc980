#include "serverclient/temporary_extension.h"

#include "core/logging.h"
#include "core/text.h"
#include "serverclient/connection.h"
#include "serverclient/destination.h"
#include "serverclient/extension_record.h"
#include "serverclient/stubs.h"

namespace Halvard::ServerClient {
namespace {

/// \throws Tunrak::TypeMismatchException  also if the server has no extension manager.
std::shared_ptr<Quen::ExtensionManager> MakeManager(const KelvaneConnection& connection) {
  return MakeStub<Quen::ExtensionManager>(connection.adapter, connection.content.extensionManager);
}

void RegisterOrUpdate(const Quen::ExtensionManager& manager, const std::string& agentHost,
                      const std::string& agentPort, const std::string& agentThumbprint) {
  LogScope log;
  const std::string key = ExtensionKey(agentHost);
  log.Info(L"RegisterUpdateHVExtension: HV extension key: %s", Utf8ToWide(key).c_str());
  const AgentAddress agent{agentHost, agentPort, agentThumbprint};
  const Tunrak::System::DateTime now = Tunrak::System::GetUtcDateTime();
  const auto found = manager.FindExtension(key);
  if (found == nullptr) {
    log.Info(L"RegisterUpdateHVExtension: Extension not already registered with KV.");
    manager.RegisterExtension(MakeExtension(key, agent, now));
    return;
  }
  log.Info(
      L"RegisterUpdateHVExtension: Extension is already registered with KV, so updating extension info.");
  UpdateExtension(*found, agent);
  manager.UpdateExtension(*found);
}

void UnregisterIfFound(const Quen::ExtensionManager& manager, const std::string& agentHost) {
  LogScope log;
  const std::string key = ExtensionKey(agentHost);
  const std::wstring wideKey = Utf8ToWide(key);
  log.Info(L"UnregisterHVExtension: HV extension key: %s", wideKey.c_str());
  if (manager.FindExtension(key) == nullptr) {
    log.Warn(L"UnregisterHVExtension: No registered extensions found for key: '%s'",
             wideKey.c_str());
    return;
  }
  log.Info(L"UnregisterHVExtension: Registered extension found for key: '%s'", wideKey.c_str());
  manager.UnregisterExtension(key);
}

}  // namespace

bool RegisterUpdateHVExtension(const std::string& host, std::int32_t port,
                               const std::string& tunnelPath, const std::string& thumbprint,
                               const std::string& user, const std::string& password,
                               const std::string& agentHost, const std::string& agentPort,
                               const std::string& agentThumbprint) {
  LogScope log;
  const Destination destination(host, port, tunnelPath, user);
  try {
    KelvaneConnection connection;
    ConnectToKelvane(host, port, tunnelPath, thumbprint, connection);
    const auto sessions = LogIn(connection, user, password);
    if (!connection.content.extensionManager) {
      log.Error(L"RegisterUpdateHVExtension: Failed to get MoRef for the Extension Manager.");
    }
    RegisterOrUpdate(*MakeManager(connection), agentHost, agentPort, agentThumbprint);
    sessions->Logout();
    destination.LogSuccess(
        L"RegisterUpdateHVExtension: Successfully registered/updated HV extension info with KV. Host:%s, Port:%d, TunnelPath:%s, User:%s.");
    return true;
  } catch (const Tunrak::Exception& failure) {
    destination.LogFailure(
        failure, L"RegisterUpdateHVExtension: %s",
        L"RegisterUpdateHVExtension: Failed to register/update HV extension with KV. Host:%s, Port:%d, TunnelPath:%s, User:%s.");
    return false;
  }
}

bool UnregisterHVExtension(const std::string& host, std::int32_t port,
                           const std::string& tunnelPath, const std::string& thumbprint,
                           const std::string& user, const std::string& password,
                           const std::string& agentHost) {
  LogScope log;
  const Destination destination(host, port, tunnelPath, user);
  try {
    KelvaneConnection connection;
    ConnectToKelvane(host, port, tunnelPath, thumbprint, connection);
    const auto sessions = LogIn(connection, user, password);
    if (!connection.content.extensionManager) {
      log.Error(L"UnregisterHVExtension: Failed to get MoRef for the Extension Manager.");
    }
    UnregisterIfFound(*MakeManager(connection), agentHost);
    sessions->Logout();
    destination.LogSuccess(
        L"UnregisterHVExtension: Successfully unregisted HV extension from KV. Host:%s, Port:%d, TunnelPath:%s, User:%s");
    return true;
  } catch (const Tunrak::Exception& failure) {
    destination.LogFailure(
        failure, L"UnregisterHVExtension: %s",
        L"UnregisterHVExtension: Failed to unregister HV extension from KV. Host:%s, Port:%d, TunnelPath:%s, User:%s");
    return false;
  }
}

}  // namespace Halvard::ServerClient
