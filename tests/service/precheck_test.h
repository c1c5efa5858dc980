// What the tests of the precheck operations start from: a machine with an inventory, a domain, a
// system name, and findings of an earlier run.
#pragma once

#include <string>

#include "runner/cached_precheck_results.h"
#include "service_test.h"

namespace Halvard::MigratorSvc {

inline constexpr Slot kInvoke = &AsyncServiceInterface::InvokePreUpgrade;
inline constexpr Slot kCached = &AsyncServiceInterface::GetCachedPreUpgradeResult;

/// An operation with the name that its lines bear.
struct PrecheckOperation {
  const wchar_t* name;
  Slot slot;
};
inline constexpr PrecheckOperation kBoth[] = {{L"InvokePreUpgrade", kInvoke},
                                              {L"GetCachedPreUpgradeResult", kCached}};

inline Json::Value Findings(const char* name) {
  Json::Value findings;
  findings[0]["name"] = name;
  findings[0]["further"]["kept"] = true;
  return findings;
}

class PrecheckOperations : public ServiceTest {
 protected:
  PrecheckOperations() {
    machine_.SetVariable(Testing::kInventoryVariable, L"3 14");
    gProperties[L"APP_NET_PNID"] = L"kv.example";
    gProperties[L"PNID_ERROR"] = L"Kein Name \u6771\u4eac";
    Testing::Surroundings& surroundings = Testing::TheSurroundings();
    surroundings.domain =
        Network::ActiveDirectoryConfig{L"corp.\u00e4xample", L"\\\\dc1.corp", L"\\\\192.0.2.1",
                                       L"192.0.2.1,192.0.2.2", L"fd00::1"};
    surroundings.precheckOutput = Findings("com.ostrel.keldb");
    Runner::gCachedPrecheckResults = Findings("earlier");
    machine_.RemoveFile(L"%TEMP%\\halvard.log");
  }

  CallResult Invoke(const std::string& locale = "en") { return Call(kInvoke, GoodRequest(locale)); }
  CallResult Cached(const std::string& locale = "en") { return Call(kCached, GoodRequest(locale)); }
};

}  // namespace Halvard::MigratorSvc
