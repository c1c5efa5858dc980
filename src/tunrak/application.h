// The library's application: its configuration, its log and its threads.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "tunrak/thread_facility.h"

namespace Tunrak::Service {

/// Settings by name; a name that wasn't set reads as not given.
class Config {
 public:
  void Set(const std::string& name, const std::string& value) { values_[name] = value; }
  /// A literal is no boolean.
  void Set(const std::string& name, const char* value) { values_[name] = value; }
  void Set(const std::string& name, bool value) { values_[name] = value ? "true" : "false"; }

  /// \return The setting's text, or \p otherwise.
  std::string Get(const std::string& name, const std::string& otherwise) const;

 private:
  std::map<std::string, std::string> values_;
};

/// \return Settings that lie in memory alone, empty at first.
std::unique_ptr<Config> CreateScratchConfig();

enum class LogLevel { kError, kWarning, kInfo, kVerbose };

/// The library's own log. Lines go to standard error, if they go anywhere. Safe on any thread.
class Logger {
 public:
  Logger(LogLevel level, bool toConsole) : level_(level), toConsole_(toConsole) {}

  bool Takes(LogLevel level) const { return toConsole_ && level <= level_; }
  void Write(LogLevel level, const std::string& text) const;

 private:
  LogLevel level_;
  bool toConsole_;
};

class Application {
 public:
  explicit Application(const Config& config);

  const Logger& GetLogger() const { return logger_; }
  ProcessThreads& GetThreadFacility() { return threads_; }

 private:
  Logger logger_;
  ProcessThreads threads_;
};

/// Makes the process's application. Settings that count: "log/outputToConsole" (default true),
/// "log/level" ("error", "warning", "info", "verbose"; default "info"), "log/outputToSyslog"
/// (false: there is no such log).
/// \throws Exception  for a bad setting, or when there is an application already.
void InitApp(const Config& config);

/// \throws Exception  before InitApp.
Application& GetApp();

/// \return The application's logger; it lives as long as the process.
/// \throws Exception  before InitApp.
const Logger* GetDefaultLogger();

}  // namespace Tunrak::Service
