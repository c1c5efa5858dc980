#include "core/startup/status_file.h"

#include <ctime>
#include <cwchar>
#include <string>

#include "core/console.h"
#include "core/json_documents.h"
#include "core/json_files.h"
#include "core/log_file.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "host/files.h"
#include "host/windows_api.h"
#include "transfer/log_bundle.h"

namespace Halvard {
namespace {

constexpr wchar_t kTemplate[] = L"HV_STATUS_JSON";

/// The local time, as "20260131120000". Empty when the system can't tell it.
std::wstring LocalTime() {
  const __time64_t now = _time64(nullptr);
  std::tm fields = {};
  if (_localtime64_s(&fields, &now) != 0) return {};
  wchar_t text[20] = {};
  (void)std::wcsftime(text, 20, L"%Y%m%d%H%M%S", &fields);
  return text;
}

/// \return Path of a bundle that no other run makes.
std::wstring BundlePath(LogScope& log) {
  const std::wstring name = L"Ostrel-HV-logs-" + LocalTime() + L".zip";
  std::wstring folder = Host::GetDesktopFolder();
  if (folder.empty()) {
    log.Info(L"CreateHVStatusFile: Creating log zip in the temp directory.");
    folder = GetTempDirectory();
  }
  return folder + name;
}

void BundleLogs(LogScope& log) {
  const std::wstring bundle = BundlePath(log);
  if (Transfer::CreateLogsZipBundle(bundle)) {
    PrintLine();
    PrintLine(GetLocalizedString(1162, bundle));
    return;
  }
  log.Error(L"CreateHVStatusFile: Failed to create a log zip bundle.");
  PrintLine();
  PrintLine(GetLocalizedString(1161, GetTempDirectory() + kLogFileName));
}

}  // namespace

void CreateHVStatusFile() {
  LogScope log;
  Json::Value status;
  if (GetJsonProperty(kTemplate, status) != 0) {
    log.Error(L"CreateHVStatusFile: %s property is not a valid json.", kTemplate);
    return;
  }
  if (gProperties[L"HV_INIT_ERROR"].empty()) {
    gProperties[L"HV_INITIALIZATION"] = L"success";
  } else {
    gProperties[L"HV_INITIALIZATION"] = L"fail";
    BundleLogs(log);
  }
  ResolveJsonTree(status, JsonResolveProperty, nullptr);
  const std::wstring path = GetTempDirectory() + kStatusFileName;
  if (!SaveJsonToFile(path, status, nullptr)) {
    const DWORD error = GetLastError();
    log.Error(L"CreateHVStatusFile: Failed to save json to %s file. Error: %i", path.c_str(),
              error);
    return;
  }
  log.Info(L"CreateHVStatusFile: Created %s file with content: %s", path.c_str(),
           StyledText(status).c_str());
}

}  // namespace Halvard
