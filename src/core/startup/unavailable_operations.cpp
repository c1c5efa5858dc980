// Operations that this program doesn't have yet. Each refuses and says so in the log: an agent that
// can't check credentials must not go on as if it had. The file goes, function by function, as the
// real ones come.
#include "core/logging.h"
#include "security/export_directory.h"

namespace Halvard {

// The real one is on its way: path, rights and room of the folder.
bool Security::ValidateExportDir() {
  LogScope log;
  log.Error(L"ValidateExportDir: Refused. This build can't check the export folder.");
  return false;
}

}  // namespace Halvard
