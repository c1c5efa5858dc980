#include "service/custom_prechecks.h"

#include <string>

#include "core/environment.h"
#include "core/json_files.h"
#include "host/windows_api.h"

namespace Halvard::MigratorSvc {
namespace {

constexpr wchar_t kVariable[] = L"HV_CUSTOM_PRECHECKS_JSON";

/// \return False, with a warning in the log, when the variable holds nothing.
bool ReadPath(OperationCall& call, std::wstring& path) {
  wchar_t buffer[MAX_PATH] = {};
  // An empty value leaves the code of whatever failed last.
  SetLastError(ERROR_SUCCESS);
  const DWORD size = GetEnvironmentVariableW(kVariable, buffer, MAX_PATH);
  if (size == 0) {
    const DWORD error = GetLastError();
    call.Log().Warn(L"%s: GetEnvironment variable failed for '%s'. Error: %d", call.Name().c_str(),
                    kVariable, error);
    return false;
  }
  // Of a value that doesn't fit there is nothing in the buffer that could be used.
  path = size < MAX_PATH ? buffer : L"";
  return true;
}

}  // namespace

bool AnswerFromCustomPrechecks(OperationCall& call) {
  if (!EnvironmentVariableExists(kVariable)) return false;
  std::wstring path;
  if (!ReadPath(call, path)) return false;
  if (LoadJsonFromFile(path, call.Reply(), FILE_ATTRIBUTE_NORMAL)) {
    call.Log().Info(L"%s: Returning prechecks from: %s", call.Name().c_str(), path.c_str());
    return true;
  }
  const DWORD error = GetLastError();
  call.Log().Warn(L"%s: Failed to load Json from %s file. Error code: %d", call.Name().c_str(),
                  path.c_str(), error);
  // A broken document has left what the reader made of it.
  call.Reply() = Json::Value();
  return false;
}

}  // namespace Halvard::MigratorSvc
