#include "tunrak/application.h"

#include <cstdio>
#include <mutex>

#include "tunrak/exception.h"

namespace Tunrak::Service {
namespace {

std::mutex gApplicationMutex;
std::unique_ptr<Application> gApplication;

bool ReadSwitch(const Config& config, const std::string& name, bool otherwise) {
  const std::string value = config.Get(name, otherwise ? "true" : "false");
  if (value == "true") return true;
  if (value == "false") return false;
  throw Exception("Setting " + name + " is neither true nor false: \"" + value + "\".");
}

LogLevel ReadLevel(const Config& config) {
  const std::string value = config.Get("log/level", "info");
  if (value == "error") return LogLevel::kError;
  if (value == "warning") return LogLevel::kWarning;
  if (value == "info") return LogLevel::kInfo;
  if (value == "verbose") return LogLevel::kVerbose;
  throw Exception("Setting log/level is no level: \"" + value + "\".");
}

Logger MakeLogger(const Config& config) {
  if (ReadSwitch(config, "log/outputToSyslog", false)) {
    throw Exception("Setting log/outputToSyslog is true, but there is no system log.");
  }
  return {ReadLevel(config), ReadSwitch(config, "log/outputToConsole", true)};
}

const char* LevelName(LogLevel level) {
  switch (level) {
    case LogLevel::kError:
      return "error";
    case LogLevel::kWarning:
      return "warning";
    case LogLevel::kInfo:
      return "info";
    case LogLevel::kVerbose:
      return "verbose";
  }
  return "";
}

}  // namespace

std::string Config::Get(const std::string& name, const std::string& otherwise) const {
  const auto found = values_.find(name);
  return found == values_.end() ? otherwise : found->second;
}

std::unique_ptr<Config> CreateScratchConfig() { return std::make_unique<Config>(); }

void Logger::Write(LogLevel level, const std::string& text) const {
  if (!Takes(level)) return;
  (void)std::fprintf(stderr, "tunrak %s: %s\n", LevelName(level), text.c_str());
}

Application::Application(const Config& config) : logger_(MakeLogger(config)) {}

void InitApp(const Config& config) {
  auto application = std::make_unique<Application>(config);
  const std::lock_guard lock(gApplicationMutex);
  if (gApplication != nullptr) throw Exception("There is an application already.");
  gApplication = std::move(application);
}

Application& GetApp() {
  const std::lock_guard lock(gApplicationMutex);
  if (gApplication == nullptr) throw Exception("There is no application yet.");
  return *gApplication;
}

const Logger* GetDefaultLogger() { return &GetApp().GetLogger(); }

}  // namespace Tunrak::Service
