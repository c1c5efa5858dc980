#include "runner/runner_input.h"

#include <json/json.h>

#include "core/json_documents.h"
#include "core/json_files.h"
#include "core/logging.h"
#include "core/property_store.h"
#include "host/windows_api.h"
#include "runner/runner_files.h"
#include "security/security_descriptor.h"

namespace Halvard::Runner {
namespace {

constexpr wchar_t kTemplate[] = L"UR_INPUT_JSON";

bool LoadTemplate(Json::Value& input, LogScope& log) {
  if (GetJsonProperty(kTemplate, input) == 0 && input.isObject()) return true;
  log.Error(L"CreateUpgradeRunnerInputFile: %s property is not a valid json.", kTemplate);
  return false;
}

/// Takes away the components that the migration doesn't have.
void FitComponents(Json::Value& components, const std::wstring& migrationType) {
  if (migrationType == L"embedded") {
    Json::Value& sso = components["com.ostrel.sso"][0];
    sso.removeMember("username");
    sso.removeMember("password");
  } else if (migrationType == L"management" || migrationType == L"tum") {
    components.removeMember("com.ostrel.sso");
  } else if (migrationType == L"infrastructure") {
    components.removeMember("com.ostrel.kelvd");
  }
}

void FitSettings(Json::Value& settings, const std::wstring& migrationType) {
  Json::Value& infrastructure = settings["infrastructure"];
  if (migrationType == L"management") {
    // Nobody writes this property, so the runner reads null: the port is to be found by itself.
    infrastructure["httpsPort"] = "[INFRA_NODE_HTTPS_PORT]";
    return;
  }
  infrastructure["host"] = "127.0.0.1";
  if (migrationType == L"tum") settings.removeMember("upgrade-type");
}

/// Makes the export directory the folder "export" in what it was so far, each time anew.
bool DescendIntoExportDirectory(LogScope& log) {
  const std::wstring directory = gProperties[L"EXPORT_DIR"];
  wchar_t buffer[MAX_PATH] = {};
  // The runtime ends the process over a text that doesn't fit, so it never sees one.
  if (directory.size() >= MAX_PATH || wcscpy_s(buffer, MAX_PATH, directory.c_str()) != 0) {
    log.Error(L"CreateUpgradeRunnerInputFile: Failed to copy the input string to buffer.");
    return false;
  }
  // Some systems write past the buffer when the backslash has no room in it.
  const bool isFull = directory.size() == MAX_PATH - 1 && !directory.ends_with(L'\\');
  if (isFull || PathAddBackslashW(buffer) == nullptr) {
    log.Error(L"CreateUpgradeRunnerInputFile: Failed to add backslash using PathAddBackslash().");
    return false;
  }
  const std::wstring exportDirectory = std::wstring(buffer) + L"export";
  gProperties[L"EXPORT_DIR"] = exportDirectory;
  log.Info(L"CreateUpgradeRunnerInputFile: Export directory is: %s", exportDirectory.c_str());
  return true;
}

bool FitPhase(Json::Value& settings, RunnerPhase phase, LogScope& log) {
  if (phase == RunnerPhaseExport) return DescendIntoExportDirectory(log);
  if (phase == RunnerPhaseRequirements) {
    settings.removeMember("export-folder");
    settings.removeMember("infrastructure");
  }
  return true;
}

/// \return The code of the failure. A file that is there would keep its rights, and whoever left or
///         planted it could read the passwords: it goes first.
DWORD SaveAnew(const std::wstring& path, const Json::Value& input,
               LPSECURITY_ATTRIBUTES securityAttributes) {
  if (!DeleteFileW(path.c_str())) {
    const DWORD error = GetLastError();
    if (error != ERROR_FILE_NOT_FOUND) return error;
  }
  return SaveJsonToFile(path, input, securityAttributes) ? DWORD{ERROR_SUCCESS} : GetLastError();
}

bool SaveForAdministrators(const std::wstring& path, const Json::Value& input, LogScope& log) {
  const Security::OwnedDescriptor descriptor = Security::AllocateAdministratorsDescriptor();
  if (descriptor == nullptr) {
    log.Error(L"CreateUpgradeRunnerInputFile: Could not allocate an admin security descriptor.");
    return false;
  }
  SECURITY_ATTRIBUTES attributes = {sizeof attributes, descriptor.get(), FALSE};
  const DWORD error = SaveAnew(path, input, &attributes);
  if (error == ERROR_SUCCESS) return true;
  log.Error(L"CreateUpgradeRunnerInputFile: Failed to save json to %s file. Error: %i",
            path.c_str(), error);
  return false;
}

}  // namespace

std::wstring CreateUpgradeRunnerInputFile(const std::wstring& directory, RunnerPhase phase) {
  LogScope log;
  std::wstring path = directory + kInputFile;
  Json::Value input;
  if (!LoadTemplate(input, log)) return {};
  const std::wstring migrationType = gProperties[L"MIGRATION_TYPE"];
  Json::Value& settings = input["upgrade-settings"];
  FitComponents(input["source-components"], migrationType);
  FitSettings(settings, migrationType);
  if (!FitPhase(settings, phase, log)) return {};
  ResolveJsonTree(input, JsonResolveProperty, nullptr);
  if (!SaveForAdministrators(path, input, log)) return {};
  return path;
}

}  // namespace Halvard::Runner
