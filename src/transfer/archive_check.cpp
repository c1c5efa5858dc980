#include "transfer/archive_check.h"

#include "core/format_into.h"
#include "core/json_documents.h"
#include "core/json_files.h"
#include "core/logging.h"
#include "core/property_store.h"
#include "core/temp_directory.h"
#include "core/text.h"
#include "host/files.h"
#include "host/windows_api.h"
#include "runner/package_layout.h"
#include "runner/process_monitor.h"

namespace Halvard::Transfer {
namespace {

constexpr wchar_t kTool[] = L"hv_util.py";

/// A path and, for as long as this lives, a link with a shorter one.
class ToolLinkPath {
 public:
  explicit ToolLinkPath(const std::wstring& path) : path_(path) {
    // The long path serves too, unless it makes the command line too long.
    (void)Host::CreateShortSymbolicLink(path_, link_);
  }
  ToolLinkPath(const ToolLinkPath&) = delete;
  ToolLinkPath& operator=(const ToolLinkPath&) = delete;
  ~ToolLinkPath() {
    if (!link_.empty()) (void)Host::RemoveDirectoryIfEmpty(link_);
  }

  const std::wstring& Path() const { return link_.empty() ? path_ : link_; }

 private:
  const std::wstring path_;
  std::wstring link_;
};

bool IsThere(const std::wstring& path) {
  if (PathFileExistsW(path.c_str())) return true;
  const DWORD error = GetLastError();
  LogScope log;
  log.Error(L"HvUtilLaunch: File not found [%d]: %s", error, path.c_str());
  return false;
}

std::wstring ToolCommandLine(const std::wstring& interpreter, const std::wstring& tool,
                             const std::wstring& arguments, const std::wstring& resultFile) {
  constexpr std::size_t kRoom = 2048;
  wchar_t line[kRoom] = {};
  // A line that doesn't fit is cut, and the tool is left to complain about it.
  (void)FormatInto(line, L"\"%ws\" \"%ws\" %ws --result \"%ws\"", interpreter.c_str(), tool.c_str(),
                   arguments.c_str(), resultFile.c_str());
  return line;
}

}  // namespace

bool HvUtil_ValidateZipArchive(const std::wstring& zipFile, const std::wstring& folder,
                               std::wstring& errorText) {
  return HvUtil_TestArchive(zipFile, errorText) &&
         HvUtil_CompareZipAndDir(zipFile, folder, errorText);
}

bool HvUtil_TestArchive(const std::wstring& zipFile, std::wstring& errorText) {
  LogScope log;
  log.Info(L"HvUtil_TestArchive: Testing zip file: %s", zipFile.c_str());
  Json::Value result;
  if (!HvUtilLaunch(L"--test \"" + zipFile + L"\"", result)) {
    log.Error(L"HvUtil_TestArchive: Failed to run %s tool.", kTool);
    return false;
  }
  return HvUtilCheckResult(result, errorText);
}

bool HvUtil_CompareZipAndDir(const std::wstring& zipFile, const std::wstring& folder,
                             std::wstring& errorText) {
  LogScope log;
  log.Info(L"HvUtil_CompareZipAndDir: Comparing %s with %s", zipFile.c_str(), folder.c_str());
  Json::Value result;
  if (!HvUtilLaunch(L"--compare \"" + zipFile + L"\" \"" + folder + L"\"", result)) {
    log.Error(L"HvUtil_CompareZipAndDir: Failed to run %s tool.", kTool);
    return false;
  }
  return HvUtilCheckResult(result, errorText);
}

bool HvUtilLaunch(const std::wstring& arguments, Json::Value& result) {
  LogScope log;
  const ToolLinkPath extracted(gProperties[L"PYTHON_EXTRACT_PATH"]);
  const std::wstring interpreter = extracted.Path() + Runner::kInterpreter;
  if (!IsThere(interpreter)) return false;
  const std::wstring tool = gProperties[L"SOURCE_DIRECTORY"].Value() + kTool;
  if (!IsThere(tool)) return false;
  const std::wstring tempDirectory = GetTempDirectory();
  if (tempDirectory.empty()) {
    const DWORD error = GetLastError();
    log.Error(L"HvUtilLaunch: Failed to get the temp directory. Error: %i", error);
    return false;
  }
  const std::wstring resultFile = tempDirectory + L"hv_util.json";
  // The word of an earlier run must not be taken for this one's.
  (void)DeleteFileW(resultFile.c_str());
  const std::wstring line = ToolCommandLine(interpreter, tool, arguments, resultFile);
  log.Info(L"HvUtilLaunch: Running: %s", line.c_str());
  // The tool speaks through its document, also when it ends with another code.
  if (!Runner::LaunchProcAndMonitorStatus(line.c_str())) {
    log.Error(L"HvUtilLaunch: Failed to run: %ws", line.c_str());
  }
  if (LoadJsonFromFile(resultFile, result, 0)) return true;
  log.Error(L"HvUtilLaunch: Failed to load JSON from the %s output file %s.", kTool,
            resultFile.c_str());
  return false;
}

bool HvUtilCheckResult(const Json::Value& result, std::wstring& errorText) {
  LogScope log;
  if (!result.isObject() || !result.isMember("status")) {
    log.Error(L"HvUtilCheckResult: Result file does not contain 'status' data.");
    return false;
  }
  const std::string status = TextOrNothing(result, "status");
  log.Info(L"HvUtilCheckResult: status = %hs", status.c_str());
  if (status == "success") return true;
  if (!result.isMember("message")) {
    log.Warn(L"HvUtilCheckResult: No message in result JSON.");
    return false;
  }
  const std::wstring message = Utf8ToWide(TextOrNothing(result, "message"));
  log.Info(L"HvUtilCheckResult: message: %s", message.c_str());
  errorText = message;
  return false;
}

}  // namespace Halvard::Transfer
