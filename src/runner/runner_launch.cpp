#include "runner/runner_launch.h"

#include <string>

#include "core/automated_tum_upgrade.h"
#include "core/environment.h"
#include "core/format_into.h"
#include "core/logging.h"
#include "core/property_store.h"
#include "core/temp_directory.h"
#include "host/files.h"
#include "host/windows_api.h"
#include "runner/export_output.h"
#include "runner/package_layout.h"
#include "runner/process_monitor.h"
#include "runner/runner_files.h"
#include "runner/runner_input.h"

namespace Halvard::Runner {
namespace {

/// One launch. Its end removes what must not outlive it.
class RunnerLaunch {
 public:
  explicit RunnerLaunch(RunnerPhase phase) : phase_(phase) {}
  RunnerLaunch(const RunnerLaunch&) = delete;
  RunnerLaunch& operator=(const RunnerLaunch&) = delete;
  ~RunnerLaunch();

  int Run();

 private:
  bool MakeInput();
  void ChooseBaseFolder(const std::wstring& extractDirectory);
  std::wstring Script();
  bool BuildArguments(const std::wstring& locale);
  std::wstring CommandLine(const std::wstring& script) const;
  void DeleteOldOutput();
  int RunCommandLine(const std::wstring& commandLine);
  void DeleteInput();

  LogScope log_{L"LaunchUpgradeRunnerCommon"};
  const RunnerPhase phase_;
  std::wstring tempDirectory_;
  std::wstring inputPath_;
  std::wstring link_;
  std::wstring baseFolder_;
  std::wstring arguments_;
  std::wstring outputPath_;
};

bool RunnerLaunch::MakeInput() {
  tempDirectory_ = GetTempDirectory();
  if (tempDirectory_.empty()) {
    const DWORD error = GetLastError();
    log_.Error(L"LaunchUpgradeRunnerCommon: Failed to get the temp directory. Error: %i", error);
    return false;
  }
  inputPath_ = CreateUpgradeRunnerInputFile(tempDirectory_, phase_);
  if (!inputPath_.empty()) return true;
  log_.Error(L"LaunchUpgradeRunnerCommon: Failed to create input file for upgrade runner");
  return false;
}

void RunnerLaunch::ChooseBaseFolder(const std::wstring& extractDirectory) {
  if (Host::CreateShortSymbolicLink(extractDirectory, link_)) {
    baseFolder_ = link_;
    return;
  }
  log_.Error(L"LaunchUpgradeRunnerCommon: Failed to create symbolic link for UR path.");
  baseFolder_ = extractDirectory;
}

std::wstring RunnerLaunch::Script() {
  if (!automatedTumUpgrade) return baseFolder_ + kRunnerScript;
  log_.Info(L"LaunchUpgradeRunnerCommon: Using UpgradeOrchestrator.");
  return baseFolder_ + kOrchestratorScript;
}

bool RunnerLaunch::BuildArguments(const std::wstring& locale) {
  switch (phase_) {
    case RunnerPhaseRequirements:
      arguments_ = L"--mode=requirements";
      outputPath_ = tempDirectory_ + kRequirementsOutputFile;
      break;
    case RunnerPhaseExport:
      arguments_ = L"--mode=export";
      if (gProperties[L"UR_SILENT_EXPORT"] == L"1") arguments_ += L" --silent";
      outputPath_ = tempDirectory_ + kExportOutputFile;
      break;
    default:
      log_.Error(L"LaunchUpgradeRunnerCommon: Unhandled phase type: %i", static_cast<int>(phase_));
      return false;
  }
  // The runner's own parser doesn't mind the two blanks.
  arguments_ += L" --configFile=\"" + inputPath_ + L"\" --logDir=\"" + tempDirectory_ + kLogFolder +
                L"\"  --locale=" + locale;
  return true;
}

std::wstring RunnerLaunch::CommandLine(const std::wstring& script) const {
  constexpr std::size_t kRoom = 2048;
  wchar_t line[kRoom] = {};
  // A line that doesn't fit is cut, and the child is left to complain about it.
  (void)FormatInto(line, L"\"%ws\" \"%ws\" %ws --outputFile=\"%ws\"",
                   (baseFolder_ + kInterpreter).c_str(), script.c_str(), arguments_.c_str(),
                   outputPath_.c_str());
  return line;
}

void RunnerLaunch::DeleteOldOutput() {
  // A client may be asking for the export's output at this moment.
  const auto lock = LockExportOutput();
  if (DeleteFileW(outputPath_.c_str())) return;
  const DWORD error = GetLastError();
  if (error == ERROR_FILE_NOT_FOUND) {
    log_.Info(L"LaunchUpgradeRunnerCommon: File %s does not exist.", outputPath_.c_str());
  } else {
    log_.Warn(L"LaunchUpgradeRunnerCommon: Failed to delete file %s. Error code: %u.",
              outputPath_.c_str(), error);
  }
}

int RunnerLaunch::RunCommandLine(const std::wstring& commandLine) {
  if (LaunchProcAndMonitorStatus(commandLine.c_str())) return 0;
  switch (phase_) {
    case RunnerPhaseRequirements:
      log_.Error(L"LaunchUpgradeRunnerCommon: Failed to run pre-upgrade phase: %ws",
                 commandLine.c_str());
      break;
    case RunnerPhaseExport:
      log_.Error(L"LaunchUpgradeRunnerCommon: Failed to run export phase: %ws",
                 commandLine.c_str());
      break;
    default:
      log_.Info(L"LaunchUpgradeRunnerCommon: Unhandled launch case");
      break;
  }
  return kRunnerFailure;
}

int RunnerLaunch::Run() {
  if (!MakeInput()) return kRunnerFailure;
  const std::wstring locale = gProperties[L"MC_LOCALE"];
  const std::wstring extractDirectory = gProperties[L"URExtractDirectory"];
  if (locale.empty() || extractDirectory.empty()) {
    log_.Error(L"LaunchUpgradeRunnerCommon: Missing required properties: \"%ws\" \"%ws\"",
               locale.c_str(), extractDirectory.c_str());
    return kRunnerFailure;
  }
  ChooseBaseFolder(extractDirectory);
  const std::wstring script = Script();
  if (!BuildArguments(locale)) return kRunnerFailure;
  const std::wstring commandLine = CommandLine(script);
  DeleteOldOutput();
  return RunCommandLine(commandLine);
}

void RunnerLaunch::DeleteInput() {
  // Without a temp directory there is no file and no name for one.
  if (tempDirectory_.empty() || EnvironmentVariableExists(L"KEEP_UR_JSON_FILES")) return;
  // A failed writing may have left a part of the file behind, passwords included.
  const std::wstring path = inputPath_.empty() ? tempDirectory_ + kInputFile : inputPath_;
  if (DeleteFileW(path.c_str())) {
    log_.Info(L"LaunchUpgradeRunnerCommon: Successfully deleted file: %ws", path.c_str());
    return;
  }
  const DWORD error = GetLastError();
  if (error == ERROR_FILE_NOT_FOUND) return;
  log_.Warn(L"LaunchUpgradeRunnerCommon: Failed to delete file: %ws. Error code: %d", path.c_str(),
            error);
}

RunnerLaunch::~RunnerLaunch() {
  if (!link_.empty()) (void)Host::RemoveDirectoryIfEmpty(link_);
  DeleteInput();
}

}  // namespace

int LaunchUpgradeRunnerCommon(RunnerPhase phase) {
  RunnerLaunch launch(phase);
  return launch.Run();
}

}  // namespace Halvard::Runner
