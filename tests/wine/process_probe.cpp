// Runs a command line as the agent runs its children: process_probe COMMAND-LINE. Ends with 0 if
// the agent would call that a success, else with 1.
#include "runner/process_monitor.h"

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) return 2;
  return Halvard::Runner::LaunchProcAndMonitorStatus(argv[1]) ? 0 : 1;
}
