// Operations that this program doesn't have yet. Each refuses and says so in the log: an agent that
// can't check credentials must not go on as if it had. The file goes, function by function, as the
// real ones come.
#include "core/logging.h"
#include "security/export_directory.h"

namespace Halvard {

// security/export_directory.cpp has the real one. A run that passes it goes on to serve, which the
// rehearsal and the tests of whole runs aren't ready for.
bool Security::ValidateExportDir() {
  LogScope log;
  log.Error(L"ValidateExportDir: Refused. This build can't check the export folder.");
  return false;
}

}  // namespace Halvard
