#include "runner/runner_extraction.h"

#include "core/automated_tum_upgrade.h"
#include "core/console.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "host/files.h"
#include "host/windows_api.h"
#include "runner/package_layout.h"

namespace Halvard::Runner {
namespace {

/// \return The folder of the running program, with its backslash.
std::wstring ProgramFolder() {
  wchar_t path[MAX_PATH] = {};
  // A longer path is cut by the system; no package is found beside the program then.
  (void)GetModuleFileNameW(nullptr, path, MAX_PATH);
  const std::wstring program = path;
  return program.substr(0, program.rfind(L'\\') + 1);
}

void ShowFailure(UINT installerCode) {
  if (installerCode == ERROR_INSTALL_ALREADY_RUNNING) {
    PrintLine(GetLocalizedString(1133) + GetLocalizedString(1191));
  } else {
    PrintLine(GetLocalizedString(1043));
  }
}

}  // namespace

PythonUpgradeRunnerExtractor::PythonUpgradeRunnerExtractor() {
  (void)ExtractPythonAndUpgradeRunner();
}

PythonUpgradeRunnerExtractor::~PythonUpgradeRunnerExtractor() {
  LogScope log;
  if (Host::RemoveDirectoryAndContents(extractDirectory_)) {
    log.Info(
        L"PythonUpgradeRunnerExtractor::~PythonUpgradeRunnerExtractor: Successfully cleaned up temporary directory %s",
        extractDirectory_.c_str());
  } else {
    log.Warn(
        L"PythonUpgradeRunnerExtractor::~PythonUpgradeRunnerExtractor: Failed to cleanup temporary directory %s",
        extractDirectory_.c_str());
  }
}

bool PythonUpgradeRunnerExtractor::ExtractPythonAndUpgradeRunner() {
  LogScope log;
  PrintLine(GetLocalizedString(1020));
  if (Prepare() && UnpackPython() && UnpackRunner()) {
    gProperties[L"URExtractDirectory"] = extractDirectory_;
    extracted_ = true;
    return true;
  }
  ShowFailure(installerCode_);
  log.Error(
      L"PythonUpgradeRunnerExtractor::ExtractPythonAndUpgradeRunner: Failed to extract upgrade scripts. Error code: %d",
      installerCode_);
  return false;
}

bool PythonUpgradeRunnerExtractor::Prepare() {
  const std::wstring dataFolder = Host::GetHVLocalAppDataFolder();
  if (dataFolder.empty()) return false;
  extractDirectory_ = dataFolder + L"PythonURExtractDir";
  // What a crashed run has left would mingle with what is unpacked now.
  (void)Host::RemoveDirectoryAndContents(extractDirectory_);
  (void)MsiSetInternalUI(INSTALLUILEVEL_NONE, nullptr);
  programFolder_ = ProgramFolder();
  gProperties[L"SOURCE_DIRECTORY"] = programFolder_;
  gProperties[L"PYTHON_EXTRACT_PATH"] = extractDirectory_;
  return true;
}

bool PythonUpgradeRunnerExtractor::UnpackPython() {
  LogScope log;
  log.Info(L"PythonUpgradeRunnerExtractor::ExtractPythonAndUpgradeRunner: Extracting python msi.");
  installerCode_ = Unpack(L"Ostrel-python.msi");
  if (installerCode_ != ERROR_SUCCESS) {
    log.Error(
        L"PythonUpgradeRunnerExtractor::ExtractPythonAndUpgradeRunner: Failed to extract python msi.");
    return false;
  }
  const std::wstring interpreter = extractDirectory_ + kInterpreter;
  if (PathFileExistsW(interpreter.c_str())) return true;
  log.Error(
      L"PythonUpgradeRunnerExtractor::ExtractPythonAndUpgradeRunner: Failed to extract python successfully: %s",
      interpreter.c_str());
  return false;
}

bool PythonUpgradeRunnerExtractor::UnpackRunner() {
  LogScope log;
  log.Info(
      L"PythonUpgradeRunnerExtractor::ExtractPythonAndUpgradeRunner: Installing upgrade runner msi.");
  installerCode_ = Unpack(L"rimsa-upgrade-runner.msi");
  if (installerCode_ != ERROR_SUCCESS) {
    log.Error(
        L"PythonUpgradeRunnerExtractor::ExtractPythonAndUpgradeRunner: Failed to extract UpgradeRunner msi.");
    return false;
  }
  const std::wstring script =
      extractDirectory_ + (automatedTumUpgrade ? kOrchestratorScript : kRunnerScript);
  if (PathFileExistsW(script.c_str())) return true;
  log.Error(
      L"PythonUpgradeRunnerExtractor::ExtractPythonAndUpgradeRunner: Failed to extract UpgradeRunner successfully: %s",
      script.c_str());
  return false;
}

/// An administrative install: the package's files in a folder, and nothing of the system changed.
UINT PythonUpgradeRunnerExtractor::Unpack(const wchar_t* package) const {
  const std::wstring properties = L"ACTION=ADMIN TARGETDIR=\"" + extractDirectory_ + L"\"";
  return MsiInstallProductW((programFolder_ + package).c_str(), properties.c_str());
}

}  // namespace Halvard::Runner
