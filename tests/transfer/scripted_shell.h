// In place of the shell's zip: what a test wants it to do.
#pragma once

#include <functional>
#include <string>

namespace Halvard::Testing {

struct ScriptedShell {
  bool emptyZipSucceeds = true;
  /// What ZipDirectory does and answers.
  std::function<bool(const std::wstring& folder, const std::wstring& zipFile, bool includeFolder)>
      zip;
};

ScriptedShell& Shell();

}  // namespace Halvard::Testing
