// Takes the place of the import of InitiateShutdownW in a program that is tested under Wine, which
// answers 120. This one leaves what it was told in C:\shutdown.json, as the lab does, and shuts
// nothing down.
#include <windows.h>

#include <json/json.h>

#include <filesystem>
#include <fstream>

#include "host_paths.h"

namespace {

// ERROR_SHUTDOWN_IS_SCHEDULED, which the headers lack.
constexpr DWORD kAlreadyScheduled = 1190;

DWORD WINAPI RecordShutdown(LPWSTR machine, LPWSTR message, DWORD gracePeriod, DWORD flags,
                            DWORD reason) {
  const std::filesystem::path record = L"C:\\shutdown.json";
  if (machine != nullptr || reason != 0) return ERROR_NOT_SUPPORTED;
  if (std::filesystem::exists(record)) return kAlreadyScheduled;
  Json::Value document;
  document["message"] = Lab::Wine::ToUtf8(message);
  document["gracePeriod"] = static_cast<Json::UInt>(gracePeriod);
  document["flags"] = static_cast<Json::UInt>(flags);
  std::ofstream(record) << document;
  return ERROR_SUCCESS;
}

}  // namespace

// What a call of an imported function goes through. The linker takes this one before it looks into
// the import library.
extern "C" {
decltype(&InitiateShutdownW) __imp_InitiateShutdownW = RecordShutdown;
}
