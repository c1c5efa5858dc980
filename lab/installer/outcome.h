// What lab-installer ends with, for the function that has started it.
#pragma once

namespace Lab {

enum class InstallerOutcome : int {
  kDone = 0,
  kFatal = 1,      ///< Something failed on the way; what was unpacked by then stays.
  kNoPackage = 2,  ///< The file isn't a package.
  kRefused = 3,    ///< More than the lab's installer can do, which it has said on standard error.
};

}  // namespace Lab
