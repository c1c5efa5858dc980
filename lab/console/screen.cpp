#include "console/screen.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace Lab {

Screen& Screen::Instance() {
  static Screen& screen = *new Screen;
  return screen;
}

Screen::Screen() {
  winsize size = {};
  // A terminal that doesn't know its size is taken for one of the usual size.
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) {
    size.ws_col = 80;
    size.ws_row = 25;
  }
  buffer_ = {static_cast<SHORT>(size.ws_col), static_cast<SHORT>(size.ws_row)};
  window_ = {0, 0, static_cast<SHORT>(size.ws_col - 1), static_cast<SHORT>(size.ws_row - 1)};
}

bool Screen::SetBufferSize(COORD size) {
  const std::lock_guard lock(mutex_);
  if (size.X <= window_.Right || size.Y <= window_.Bottom) return false;
  buffer_ = size;
  return true;
}

bool Screen::SetWindow(const SMALL_RECT& window) {
  const std::lock_guard lock(mutex_);
  if (window.Left < 0 || window.Top < 0) return false;
  if (window.Right < window.Left || window.Bottom < window.Top) return false;
  if (window.Right >= buffer_.X || window.Bottom >= buffer_.Y) return false;
  window_ = window;
  return true;
}

}  // namespace Lab
