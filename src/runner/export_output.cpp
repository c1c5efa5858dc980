#include "runner/export_output.h"

#include "core/json_files.h"

namespace Halvard::Runner {
namespace {

std::mutex gExportOutputMutex;

}  // namespace

std::unique_lock<std::mutex> LockExportOutput() { return std::unique_lock(gExportOutputMutex); }

bool LoadExportOutput(const std::wstring& path, Json::Value& document) {
  const std::unique_lock lock = LockExportOutput();
  return LoadJsonFromFile(path, document, FILE_ATTRIBUTE_NORMAL);
}

}  // namespace Halvard::Runner
