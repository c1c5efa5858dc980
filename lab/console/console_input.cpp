#include "console/console_input.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "consoleapi.h"
#include "machine/text.h"
#include "winerror.h"

namespace Lab {
namespace {

constexpr int kInput = STDIN_FILENO;
constexpr char kDelete = 127;

termios Settings() {
  termios settings = {};
  tcgetattr(kInput, &settings);
  return settings;
}

void SetFlag(tcflag_t& flags, tcflag_t flag, bool on) { flags = on ? flags | flag : flags & ~flag; }

bool IsSameMode(const termios& left, const termios& right) {
  constexpr tcflag_t kFlags = ISIG | ICANON | ECHO;
  return (left.c_lflag & kFlags) == (right.c_lflag & kFlags);
}

/// \return How many bytes at the start of \p text make whole characters. Bytes that belong to none
///         count as whole: they become replacement characters.
std::size_t WholeCharacters(const std::string& text) {
  const std::size_t size = text.size();
  for (std::size_t back = 1; back <= 3 && back <= size; ++back) {
    const auto byte = static_cast<unsigned char>(text[size - back]);
    if ((byte & 0xC0) == 0x80) continue;
    const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
    return length > back ? size - back : size;
  }
  return size;
}

}  // namespace

ConsoleInput& ConsoleInput::Instance() {
  static ConsoleInput& input = *new ConsoleInput;
  return input;
}

ConsoleInput::ConsoleInput() {
  std::atexit([] { Instance().Restore(); });
}

DWORD ConsoleInput::Mode() const {
  const termios settings = Settings();
  return ((settings.c_lflag & ISIG) != 0 ? ENABLE_PROCESSED_INPUT : 0) |
         ((settings.c_lflag & ICANON) != 0 ? ENABLE_LINE_INPUT : 0) |
         ((settings.c_lflag & ECHO) != 0 ? ENABLE_ECHO_INPUT : 0);
}

DWORD ConsoleInput::SetMode(DWORD mode) {
  const bool lines = (mode & ENABLE_LINE_INPUT) != 0;
  const bool echoes = (mode & ENABLE_ECHO_INPUT) != 0;
  // Only lines are echoed.
  if (echoes && !lines) return ERROR_INVALID_PARAMETER;
  const std::lock_guard lock(settingsMutex_);
  termios settings = Settings();
  if (!original_) original_ = settings;
  SetFlag(settings.c_lflag, ISIG, (mode & ENABLE_PROCESSED_INPUT) != 0);
  SetFlag(settings.c_lflag, ICANON, lines);
  SetFlag(settings.c_lflag, ECHO, echoes);
  if (!lines) {
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
  }
  if (tcsetattr(kInput, TCSANOW, &settings) != 0) return ERROR_GEN_FAILURE;
  // Who puts the old mode back leaves nothing to restore.
  if (IsSameMode(settings, *original_)) original_.reset();
  return ERROR_SUCCESS;
}

void ConsoleInput::Restore() {
  const std::lock_guard lock(settingsMutex_);
  if (original_) tcsetattr(kInput, TCSANOW, &*original_);
  original_.reset();
}

void ConsoleInput::Interrupt(bool isBreak) {
  if (isBreak) break_ = true;
  interrupted_.Set();
}

ConsoleInput::Waited ConsoleInput::WaitForInput() {
  for (;;) {
    pollfd entries[] = {{kInput, POLLIN, 0}, {interrupted_.Descriptor(), POLLIN, 0}};
    if (poll(entries, 2, -1) < 0) continue;
    if (interrupted_.Reset()) {
      // Ctrl+C leaves the reading of single characters alone.
      const bool isBreak = break_.exchange(false);
      if (isBreak || (Mode() & ENABLE_LINE_INPUT) != 0) return Waited::kInterrupted;
      continue;
    }
    if (entries[0].revents != 0) return Waited::kInput;
  }
}

void ConsoleInput::Append(const char* bytes, std::size_t size, bool lines) {
  undecoded_.append(bytes, size);
  const std::size_t whole = WholeCharacters(undecoded_);
  for (wchar_t character : ToWide(std::string_view(undecoded_).substr(0, whole))) {
    if (lines && character == L'\n') waiting_.push_back(L'\r');
    if (!lines && character == L'\n') character = L'\r';
    if (!lines && character == kDelete) character = L'\b';
    waiting_.push_back(character);
  }
  undecoded_.erase(0, whole);
}

ConsoleInput::ReadResult ConsoleInput::Read(wchar_t* buffer, DWORD size) {
  const std::lock_guard lock(reading_);
  // What was pressed before anybody asked interrupts nothing.
  interrupted_.Reset();
  break_ = false;
  while (waiting_.empty()) {
    if (WaitForInput() == Waited::kInterrupted) return {0, ERROR_OPERATION_ABORTED, true};
    char bytes[1024];
    const ssize_t count = read(kInput, bytes, sizeof(bytes));
    if (count < 0 && errno == EINTR) continue;
    // The terminal is gone.
    if (count < 0) return {0, ERROR_INVALID_HANDLE, false};
    if (count == 0) return {};
    Append(bytes, static_cast<std::size_t>(count), (Mode() & ENABLE_LINE_INPUT) != 0);
  }
  ReadResult result;
  while (result.count < size && !waiting_.empty()) {
    buffer[result.count++] = waiting_.front();
    waiting_.pop_front();
  }
  return result;
}

}  // namespace Lab
