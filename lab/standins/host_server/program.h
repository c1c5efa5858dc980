// The command line and the main function of a stand-in that is a program of its own.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Lab {

/// Its options are added first; what they are read into must outlive Run. That CLI11 stands behind
/// them is known to one source alone: it takes the compiler long.
class Program {
 public:
  /// \param name  Begins the line on standard error that tells of an exception.
  /// \param footer  Ends the help.
  Program(const std::string& name, const std::string& description, const std::string& footer);
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void Option(const char* flag, std::string& value, const char* help);
  void Option(const char* flag, std::optional<std::string>& value, const char* help);
  void Option(const char* flag, std::optional<std::uint64_t>& value, const char* help);
  /// A whole number from 0 to \p highest.
  void Option(const char* flag, int& value, int highest, const char* help);
  /// May be given several times. \param choices  The only ones that are taken; empty: any.
  void Option(const char* flag, std::vector<std::string>& values, const char* help,
              const std::vector<std::string>& choices = {});
  void Flag(const char* flag, bool& value, const char* help);

  /// Reads the command line and calls \p run.
  /// \return The exit code: 0 after help or a run that ended well, 1 after an exception of the run,
  ///     2 for a command line that is wrong.
  int Run(int argc, char** argv, const std::function<void()>& run);

 private:
  struct Parser;
  const std::string name_;
  std::unique_ptr<Parser> parser_;
};

}  // namespace Lab
