#include "core/startup/control_handler.h"

#include "core/console.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/server_lifetime.h"

namespace Halvard {
namespace {

constexpr DWORD kWindDownMilliseconds = 10'000;

void AnnounceAndStopServer() {
  if (!ServerExists()) return;
  LogScope log;
  PrintLine(GetLocalizedString(1045));
  log.Info(L"CtrlHandler: %s", GetLocalizedStringIn(1045, "en").c_str());
  StopServer();
}

}  // namespace

BOOL WINAPI CtrlHandler(DWORD ctrlType) {
  LogScope log;
  log.Info(L"CtrlHandler: Received ctrl type: %d", ctrlType);
  switch (ctrlType) {
    case CTRL_C_EVENT:
    case CTRL_BREAK_EVENT:
      AnnounceAndStopServer();
      return TRUE;
    case CTRL_CLOSE_EVENT:
      AnnounceAndStopServer();
      Sleep(kWindDownMilliseconds);
      return TRUE;
    default:
      return FALSE;
  }
}

}  // namespace Halvard
