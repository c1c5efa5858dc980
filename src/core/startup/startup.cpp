// The process's entry: one straight line from the first step to the end of the server, and one
// failure tail for whatever fails on the way.
#include <exception>
#include <string>

#include "core/console.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "core/startup/initialization.h"
#include "core/startup/session.h"
#include "core/startup/status_file.h"
#include "core/text.h"

namespace Halvard {
namespace {

/// Keeps the console open until an operator has read what failed. A run with arguments has nobody
/// to wait for.
void WaitForEnterOnFailure(int argc) {
  if (argc >= 2) return;
  PrintLine(GetLocalizedString(1126));
  (void)ReadLine();
}

void ConcludeFailure(int argc) {
  CreateHVStatusFile();
  WaitForEnterOnFailure(argc);
}

/// What a library throws at a step ends the run like any failure: a port, for instance, that only
/// IPv6 shows as taken.
bool StartOrReport(Session& session) {
  try {
    return StartSession(session);
  } catch (const std::exception& error) {
    LogScope log;
    const std::wstring reason = Utf8ToWide(error.what());
    log.Error(L"wmain: %s", reason.c_str());
    gProperties[L"HV_INIT_ERROR"] = reason;
    return false;
  }
}

}  // namespace
}  // namespace Halvard

/// \return 0 after help or after a normal stop of the server, -1 after any failure.
extern "C" int wmain(int argc, wchar_t* argv[]) {
  using namespace Halvard;
  LogScope log;
  Session session(argc);
  const StartResult initialized = HVInit(argc, argv, session.input);
  if (initialized == kStop) return 0;
  if (initialized == kFailed || !StartOrReport(session)) {
    ConcludeFailure(argc);
    return -1;
  }
  ServeUntilStopped(session);
  return 0;
}
