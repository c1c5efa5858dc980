#include "core/startup/agent_registration.h"

#include "core/console.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "core/server_lifetime.h"
#include "core/start_failure.h"
#include "core/text.h"
#include "serverclient/temporary_extension.h"

namespace Halvard {
namespace {

constexpr const char* kTunnelPath = "/sdkTunnel";

bool IsUpdateManager(const Session& session) { return session.migrationType == L"tum"; }

}  // namespace

bool RegisterAgent(const Session& session) {
  if (!IsUpdateManager(session)) return true;
  const TumInfo& tum = session.tumInfo;
  if (ServerClient::RegisterUpdateHVExtension(
          WideToUtf8(tum.kvServer), tum.kvPort, kTunnelPath, WideToUtf8(tum.kvThumbprint),
          WideToUtf8(session.input.ssoUser), WideToUtf8(session.input.ssoPassword),
          WideToUtf8(tum.tumServer), WideToUtf8(gProperties[L"HV_PORT"].Value()),
          WideToUtf8(gProperties[L"HV_THUMBPRINT"].Value()))) {
    return true;
  }
  LogScope log;
  StopServer();
  DestroyServer();
  log.Info(L"wmain: %s", ShowAndStoreError(1167, {tum.kvServer}).c_str());
  return false;
}

void UnregisterAgent(const Session& session) {
  if (!IsUpdateManager(session)) return;
  const TumInfo& tum = session.tumInfo;
  if (ServerClient::UnregisterHVExtension(
          WideToUtf8(tum.kvServer), tum.kvPort, kTunnelPath, WideToUtf8(tum.kvThumbprint),
          WideToUtf8(session.input.ssoUser), WideToUtf8(session.input.ssoPassword),
          WideToUtf8(tum.tumServer))) {
    return;
  }
  LogScope log;
  PrintLine(GetLocalizedString(1168, tum.kvServer));
  log.Info(L"wmain: %s", GetLocalizedStringIn(1168, tum.kvServer, "en").c_str());
}

}  // namespace Halvard
