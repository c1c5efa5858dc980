// A program of the lab that runs beside the test.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Lab {

/// Starts lab_program on an instance and talks to it. Waiting for it ends the test program with an
/// exception when nothing comes for a minute. The end of the object kills what still runs.
class ProgramRun {
 public:
  enum class Streams { kPipes, kTerminal };

  ProgramRun(const std::filesystem::path& instance, std::vector<std::string> arguments,
             Streams streams = Streams::kPipes);
  ProgramRun(const ProgramRun&) = delete;
  ProgramRun& operator=(const ProgramRun&) = delete;
  ~ProgramRun();

  /// \return The next line of its output, without the line end.
  std::string ReadLine();

  /// \return All further output up to its end.
  std::string ReadAll();

  void Write(const std::string& bytes);

  /// Writes the bytes again and again until a line of output ends with \p ending. For what takes
  /// effect only while the program is reading, which can't be seen from outside.
  void WriteUntilLine(const std::string& bytes, const std::string& ending);

  void CloseInput();

  void Send(int signal);

  /// Waits for its end. \return Its exit code; the negative signal when one killed it.
  int Wait();

  /// \return True when the terminal echoes and takes lines, as it does at first.
  bool TerminalIsCooked() const;

 private:
  void StartWithPipes(const char* program, char* const* arguments, char* const* environment);
  void StartInTerminal(const char* program, char* const* arguments, char* const* environment);
  /// \return The next line if one is there within the time.
  std::optional<std::string> ReadLineWithin(int milliseconds);
  bool HasOutputWithin(int milliseconds) const;
  /// Adds what comes next to \c unread_. \return False at the end of the output.
  bool ReadMore();

  pid_t process_ = -1;
  int input_ = -1;
  int output_ = -1;
  std::string unread_;
};

}  // namespace Lab
