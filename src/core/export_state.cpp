#include "core/export_state.h"

#include "core/property_store.h"

namespace Halvard {
namespace {

std::mutex gExportStateMutex;

}  // namespace

std::unique_lock<std::mutex> LockExportState() { return std::unique_lock(gExportStateMutex); }

ExportState ReadExportState() {
  const std::unique_lock lock = LockExportState();
  return {gProperties[L"EXPORT_STATUS"], gProperties[L"EXPORT_RESULT"]};
}

}  // namespace Halvard
