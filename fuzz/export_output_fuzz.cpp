// Any bytes as the document in which the runner tells of its export: whoever polls gets one answer,
// and the export ends with a result where exit code and document agree, and with the old one
// otherwise.
#include <json/writer.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "core/json_documents.h"
#include "core/property_store.h"
#include "core/temp_directory.h"
#include "host/services.h"
#include "host/windows_api.h"
#include "require.h"
#include "runner/export_output.h"
#include "runner/export_phase.h"
#include "runner/runner_launch.h"
#include "runner/service_script.h"

namespace Halvard {
namespace {

std::string gText;
int gExitCode = 0;
int gRestarts = 0;

}  // namespace

// In place of a machine with a runner and services.

std::wstring GetTempDirectory() { return L"C:\\Temp\\"; }

int Runner::LaunchUpgradeRunnerCommon(RunnerPhase) { return gExitCode; }

bool Runner::LoadExportOutput(const std::wstring&, Json::Value& document) {
  return ParseJson(gText, document);
}

std::vector<std::wstring> Host::StartServices(const std::vector<std::wstring>& names) {
  ++gRestarts;
  return names;
}

bool Runner::ServiceControlStartStopAllServices(bool) {
  ++gRestarts;
  return true;
}

namespace {

/// What the document says in the end; empty for anything but a text.
std::string StatusOf(const Json::Value& document) {
  const bool isSaid = document.isObject() && document.isMember("status");
  return isSaid && document["status"].isString() ? document["status"].asString() : std::string();
}

void End(const Json::Value& document, int exitCode, const wchar_t* before) {
  gExitCode = exitCode;
  gRestarts = 0;
  gProperties[L"EXPORT_STATUS"] = L"RUNNING";
  gProperties[L"EXPORT_RESULT"] = before;
  Require(Runner::LaunchUpgradeRunnerExport(nullptr) == static_cast<DWORD>(exitCode));
  const bool agree = StatusOf(document) == (exitCode == 0 ? "success" : "error");
  const std::wstring result = exitCode == 0 ? L"SUCCESS" : L"FAIL";
  Require(gProperties[L"EXPORT_STATUS"] == L"FINISHED");
  Require(gProperties[L"EXPORT_RESULT"] == (agree ? result : before));
  Require(gRestarts == (agree && exitCode != 0 ? 1 : 0));
}

/// The client's answer is the document, written anew.
void Poll(const Json::Value& document) {
  const std::string reply = Json::StyledWriter().write(document);
  Require(reply.ends_with('\n'));
}

}  // namespace
}  // namespace Halvard

/// Runs the thread at once.
HANDLE CreateThread(LPSECURITY_ATTRIBUTES, SIZE_T, LPTHREAD_START_ROUTINE start, LPVOID parameter,
                    DWORD, LPDWORD) {
  start(parameter);
  return &Halvard::gRestarts;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace Halvard;
  gText.assign(reinterpret_cast<const char*>(data), size);
  Json::Value document;
  (void)ParseJson(gText, document);
  Poll(document);
  for (const wchar_t* before : {L"FAIL", L"SUCCESS"}) {
    for (const wchar_t* version : {L"5.5", L"6.0"}) {
      gProperties[L"SOURCE_VERSION"] = version;
      End(document, 0, before);
      End(document, Runner::kRunnerFailure, before);
    }
  }
  return 0;
}
