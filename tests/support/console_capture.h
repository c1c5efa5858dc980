// What a test's code prints on the console, and what it reads from there.
#pragma once

#include <filesystem>
#include <string>

namespace Halvard::Testing {

/// Diverts standard output into a file until its end. The stream may be printed to with wide text
/// meanwhile; afterwards it takes narrow text again, for the test program's own report.
class ConsoleCapture {
 public:
  ConsoleCapture();
  ConsoleCapture(const ConsoleCapture&) = delete;
  ConsoleCapture& operator=(const ConsoleCapture&) = delete;
  ~ConsoleCapture();

  /// \return Everything printed so far.
  std::wstring Text() const;

 private:
  std::filesystem::path file_;
  int savedOutput_;
};

/// Puts a pipe with a given text, and its end behind it, in the place of standard input.
class PipedInput {
 public:
  explicit PipedInput(const std::string& text);
  PipedInput(const PipedInput&) = delete;
  PipedInput& operator=(const PipedInput&) = delete;
  ~PipedInput();

 private:
  int savedInput_;
};

/// Puts a terminal in the place of standard input.
class TerminalInput {
 public:
  TerminalInput();
  TerminalInput(const TerminalInput&) = delete;
  TerminalInput& operator=(const TerminalInput&) = delete;
  ~TerminalInput();

  /// Types \p text, as bytes of the keyboard: "\r" is Enter.
  void Type(const std::string& text);

 private:
  int master_ = -1;
  int savedInput_;
};

}  // namespace Halvard::Testing
