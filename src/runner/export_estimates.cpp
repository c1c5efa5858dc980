#include "runner/export_estimates.h"

#include <cstdint>

#include "core/logging.h"
#include "core/property_store.h"
#include "core/text.h"
#include "discovery/installed_products.h"

namespace Halvard::Runner {
namespace {

struct Estimates {
  std::int32_t diskMegabytes = 0;
  std::int32_t exportMinutes = 0;
  std::int32_t importMinutes = 0;
};

/// Sums are numbers of 32 bits that run over.
std::int32_t Sum(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

Estimates ReadEstimates(const Json::Value& component) {
  const Json::Value& core = component["requirements"]["coreRequirement"];
  // The document's own conversion cuts to an integer, and refuses what doesn't fit in one.
  const Json::Value megabytes(core["requiredSrcDiskSpace"].asDouble() * 1024.0);
  return {megabytes.asInt(), core["exportEstimationTime"].asInt(),
          core["importEstimationTime"].asInt()};
}

void LogEstimates(const std::wstring& name, const Estimates& estimates) {
  LogScope log;
  log.Info(
      L"ParseExportEstimatesFromPreUpgradeOutput: Component '%s': Export disk req [%d MB], Export time estimate [%d mins] and Import time estimate [%d mins].",
      name.c_str(), estimates.diskMegabytes, estimates.exportMinutes, estimates.importMinutes);
  // The line says more than what happens: the component is added like any other.
  if (name == L"com.ostrel.kelIntegrity" && !Discovery::localTumInstalled) {
    log.Info(
        L"ParseExportEstimatesFromPreUpgradeOutput: TUM is installed remotely, so not aggregating TUM exportdisk requirements.");
  }
}

void StoreEstimates(const Estimates& total) {
  gProperties[L"EXPORT_DATA_SIZE"] = std::to_wstring(total.diskMegabytes);
  gProperties[L"EXPORT_DISK_REQ_SIZE"] =
      std::to_wstring(Sum(total.diskMegabytes, total.diskMegabytes));
  gProperties[L"EXPORT_TIME_ESTIMATE"] = std::to_wstring(total.exportMinutes);
  gProperties[L"IMPORT_TIME_ESTIMATE"] = std::to_wstring(total.importMinutes);
}

}  // namespace

bool ParseExportEstimatesFromPreUpgradeOutput(const Json::Value& output) {
  if (!output.isArray()) {
    LogScope log;
    log.Error(
        L"ParseExportEstimatesFromPreUpgradeOutput: UpgradeRunner PreUpgrade output is not formatted correctly.");
    return false;
  }
  Estimates total;
  for (const Json::Value& component : output) {
    const std::wstring name = Utf8ToWide(component["name"].asString());
    const Estimates estimates = ReadEstimates(component);
    LogEstimates(name, estimates);
    total = {Sum(total.diskMegabytes, estimates.diskMegabytes),
             Sum(total.exportMinutes, estimates.exportMinutes),
             Sum(total.importMinutes, estimates.importMinutes)};
  }
  StoreEstimates(total);
  return true;
}

}  // namespace Halvard::Runner
