// Signals of the host as the console's control events: Ctrl+C, Ctrl+Break, the closing of its
// window.
#pragma once

#include <mutex>
#include <vector>

#include "consoleapi.h"

namespace Lab {

/// Hands each event to the handlers on a thread of its own. SIGINT is CTRL_C_EVENT, SIGQUIT is
/// CTRL_BREAK_EVENT; SIGHUP and SIGTERM are CTRL_CLOSE_EVENT, after which the process ends 5,000 ms
/// of the machine later, whatever the handlers do. Safe under threads.
class ControlEvents {
 public:
  /// Nothing is done to the host's signals before this is first called.
  static ControlEvents& Instance();

  void Add(PHANDLER_ROUTINE handler);

  /// \return False when the handler isn't there.
  bool Remove(PHANDLER_ROUTINE handler);

 private:
  ControlEvents();

  /// Runs on a thread of its own for each event.
  void Handle(DWORD type);
  bool AnyHandles(DWORD type);

  std::mutex mutex_;
  std::vector<PHANDLER_ROUTINE> handlers_;
};

}  // namespace Lab
