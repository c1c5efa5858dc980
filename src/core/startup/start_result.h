// How a first step of start-up ended.
#pragma once

namespace Halvard {

enum StartResult : int {
  /// Help was shown; the process ends without an error.
  kStop = 0,
  /// The process ends with an error.
  kFailed = 1,
  kGoOn = 2,
};

}  // namespace Halvard
