// What the operator types at the terminal, as a Windows console hands it out.
#pragma once

#include <atomic>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

#include <termios.h>

#include "minwindef.h"
#include "sync/signal.h"

namespace Lab {

/// The console's input: the terminal behind standard input. Safe under threads.
class ConsoleInput {
 public:
  static ConsoleInput& Instance();

  /// \return ENABLE_PROCESSED_INPUT, ENABLE_LINE_INPUT and ENABLE_ECHO_INPUT as they are now.
  DWORD Mode() const;

  /// Sets these three. The terminal gets its own settings back when the process ends.
  /// \return 0 or the system error code.
  DWORD SetMode(DWORD mode);

  struct ReadResult {
    DWORD count = 0;  ///< Characters handed out.
    DWORD error = 0;  ///< ERROR_OPERATION_ABORTED after Ctrl+C or Ctrl+Break, with no characters.
    bool ok = true;
  };

  /// Blocks until there is something: a line that ends in CR LF with line input, else at least one
  /// character, where Enter is CR and the key that erases is backspace.
  ReadResult Read(wchar_t* buffer, DWORD size);

  /// Tells a waiting Read() that Ctrl+C or Ctrl+Break was pressed. The first ends only the reading
  /// of lines, the second any.
  void Interrupt(bool isBreak);

  /// Gives the terminal its own settings back.
  void Restore();

 private:
  ConsoleInput();

  enum class Waited { kInput, kInterrupted };
  Waited WaitForInput();
  void Append(const char* bytes, std::size_t size, bool lines);

  std::mutex reading_;
  std::string undecoded_;        // the start of a character whose end hasn't come yet
  std::deque<wchar_t> waiting_;  // typed but not asked for yet
  Signal interrupted_;
  std::atomic<bool> break_{false};
  mutable std::mutex settingsMutex_;
  std::optional<termios> original_;
};

}  // namespace Lab
