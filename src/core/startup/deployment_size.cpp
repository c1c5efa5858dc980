#include "core/startup/deployment_size.h"

#include "core/console.h"
#include "core/environment.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "core/start_failure.h"

namespace Halvard {
namespace {

struct SizeLimit {
  std::int32_t hosts;
  std::int32_t machines;
  const wchar_t* name;
};

// The first row that fits both counts decides.
constexpr SizeLimit kSizeLimits[] = {
    {10, 100, L"Tiny"},
    {100, 1000, L"Small"},
    {400, 4000, L"Medium"},
    {1000, 10000, L"Large"},
};

void WarnOfLargeInventory() {
  LogScope log;
  PrintLine(GetLocalizedString(1160));
  log.Warn(L"wmain: %s", GetLocalizedStringIn(1160, "en").c_str());
}

}  // namespace

std::wstring DeploymentSizeFor(std::int32_t hosts, std::int32_t machines) {
  for (const SizeLimit& limit : kSizeLimits) {
    if (hosts <= limit.hosts && machines <= limit.machines) return limit.name;
  }
  return {};
}

bool SetDeploymentSize(std::int32_t hosts, std::int32_t machines) {
  std::wstring size = DeploymentSizeFor(hosts, machines);
  if (size.empty()) {
    if (!EnvironmentVariableExists(L"HV_ALLOW_LARGE_PLUS_INV")) {
      ReportFatal(L"wmain: %s", 1060);
      return false;
    }
    WarnOfLargeInventory();
    size = L"Large";
  }
  gProperties[L"DST_DEPLOYMENT_SIZE"] = size;
  return true;
}

}  // namespace Halvard
