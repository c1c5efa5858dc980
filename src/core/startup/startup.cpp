// The process's entry: one straight line from the first step to the end of the server, and one
// failure tail for whatever fails on the way.
#include "core/console.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/startup/initialization.h"
#include "core/startup/session.h"

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
  // Not there yet: the status file, with the failure, and the bundle of logs.
  WaitForEnterOnFailure(argc);
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
  if (initialized == kFailed || !StartSession(session)) {
    ConcludeFailure(argc);
    return -1;
  }
  ServeUntilStopped(session);
  return 0;
}
