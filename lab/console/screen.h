// The screen of the console: a buffer of lines and a window onto it.
#pragma once

#include <mutex>

#include "wincon.h"

namespace Lab {

/// Sizes that the program gave its console. The terminal keeps its own: what is written runs
/// through it either way. Safe under threads.
class Screen {
 public:
  static Screen& Instance();

  /// \return False when the window wouldn't fit into the buffer any more.
  bool SetBufferSize(COORD size);

  /// \return False when the window is no rectangle or reaches beyond the buffer.
  bool SetWindow(const SMALL_RECT& window);

 private:
  Screen();

  std::mutex mutex_;
  COORD buffer_{};
  SMALL_RECT window_{};
};

}  // namespace Lab
