#include "runner/export_phase.h"

#include <json/value.h>

#include <string>

#include "core/export_state.h"
#include "core/logging.h"
#include "core/property_store.h"
#include "core/temp_directory.h"
#include "core/text.h"
#include "host/services.h"
#include "host/unique_resource.h"
#include "runner/export_output.h"
#include "runner/runner_files.h"
#include "runner/runner_launch.h"
#include "runner/service_script.h"

namespace Halvard::Runner {
namespace {

/// Services of the older line, in the order in which they need one another.
constexpr wchar_t kSignOnServices[] =
    L"OstRelDirectoryService,OstRelCertificateService,OstrelIdentityMgmtService,OstrelSTS,OstrelKdcService";
constexpr wchar_t kServerServices[] = L"kelvd,kelweb";

HANDLE StartThread(LPTHREAD_START_ROUTINE body) {
  SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  return CreateThread(&inheritable, 0, body, nullptr, 0, nullptr);
}

bool WaitForEnd(LogScope& log, HANDLE thread) {
  if (WaitForSingleObject(thread, INFINITE) == WAIT_OBJECT_0) return true;
  const DWORD error = GetLastError();
  log.Error(
      L"LaunchUpgradeRunnerExportPhase: Failed to wait for UpgradeRunner export thread. Error: %d",
      error);
  return false;
}

/// The runner may write anything, and a part of it may be all that is there.
bool HasStatus(const Json::Value& output, const char* status) {
  return output.isObject() && output["status"] == status;
}

/// Moves status and result in one step; the guards of the service never see the one without the
/// other.
/// \return True when the runner says, in code and document, what \p result means. The result is
///         what it was before otherwise.
bool FinishExport(LogScope& log, const char* finalStatus, const wchar_t* result) {
  const auto lock = LockExportState();
  gProperties[L"EXPORT_STATUS"] = L"FINISHED";
  log.Info(L"LaunchUpgradeRunnerExport: Changed the status of export to: %s", L"FINISHED");
  Json::Value output;
  // A runner that has written nothing has no final status either.
  (void)LoadExportOutput(GetTempDirectory() + kExportOutputFile, output);
  if (!HasStatus(output, finalStatus)) return false;
  gProperties[L"EXPORT_RESULT"] = result;
  log.Info(L"LaunchUpgradeRunnerExport: Changing the status of export result to: %s", result);
  return true;
}

/// \return Names joined by commas, of which there may be one too many.
std::wstring ServicesToRestart(const std::wstring& migrationType) {
  std::wstring names;
  const bool hasBoth = migrationType == L"embedded";
  if (hasBoth || migrationType == L"infrastructure") names = kSignOnServices;
  if (hasBoth || migrationType == L"management") names += std::wstring(L",") + kServerServices;
  return names;
}

}  // namespace

int LaunchUpgradeRunnerExportPhase(bool wait) {
  LogScope log;
  gProperties[L"EXPORT_STATUS"] = L"RUNNING";
  log.Info(L"LaunchUpgradeRunnerExportPhase: Changed the status of export to: %ws", L"RUNNING");
  const HANDLE thread = StartThread(LaunchUpgradeRunnerExport);
  if (thread == nullptr) {
    log.Error(
        L"LaunchUpgradeRunnerExportPhase: Failed to create a thread to export data and configuration.");
    return kRunnerFailure;
  }
  // The thread ends by itself, and its handle lives as long as the process.
  if (!wait) return 0;
  const Host::UniqueHandle owner(thread);
  return WaitForEnd(log, thread) ? 0 : kRunnerFailure;
}

DWORD WINAPI LaunchUpgradeRunnerExport(LPVOID /*unused*/) {
  LogScope log;
  const int code = LaunchUpgradeRunnerCommon(RunnerPhaseExport);
  if (code == 0) {
    (void)FinishExport(log, "success", L"SUCCESS");
  } else if (FinishExport(log, "error", L"FAIL") &&
             StartThread(RestartServicesAfterFailedExport) == nullptr) {
    log.Warn(L"LaunchUpgradeRunnerExport: Failed to create a thread to start stopped services.");
  }
  return static_cast<DWORD>(code);
}

DWORD WINAPI RestartServicesAfterFailedExport(LPVOID /*unused*/) {
  if (gProperties[L"SOURCE_VERSION"] != L"5.5") {
    (void)ServiceControlStartStopAllServices(true);
    return 0;
  }
  const std::wstring names = ServicesToRestart(gProperties[L"MIGRATION_TYPE"]);
  // Which of them run now stands in the log.
  (void)Host::StartServices(SplitString(names, L','));
  return 0;
}

}  // namespace Halvard::Runner
