#include "transfer/scripted_shell.h"

#include "transfer/shell_zip.h"

namespace Halvard {

Testing::ScriptedShell& Testing::Shell() {
  static ScriptedShell shell;
  return shell;
}

namespace Transfer {

bool CreateEmptyZipFile(const std::wstring& /*path*/) { return Testing::Shell().emptyZipSucceeds; }

bool ZipDirectory(const std::wstring& sourceDirectory, const std::wstring& zipFile,
                  bool includeFolder) {
  return Testing::Shell().zip(sourceDirectory, zipFile, includeFolder);
}

}  // namespace Transfer
}  // namespace Halvard
