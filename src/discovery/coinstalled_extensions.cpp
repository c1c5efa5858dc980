#include "discovery/coinstalled_extensions.h"

#include <string>

#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "core/start_failure.h"
#include "discovery/upgrade_codes.h"
#include "host/registry.h"

namespace Halvard::Discovery {
namespace {

/// What becomes of the migration when an extension is installed.
enum class ExtensionClass { kIgnored, kBlocking, kWarning };

struct ExtensionRow {
  const wchar_t* upgradeCode;
  const wchar_t* displayName;
  ExtensionClass extensionClass;
};

/// In the order in which they are looked up; the log shows it.
constexpr ExtensionRow kExtensions[] = {
    // Looked up like the others, but the discovery of products has warned of it already.
    {kTarmisUpdateManager, L"Ostrel Tarmis Update Manager", ExtensionClass::kIgnored},
    {kLedgerService, L"Ostrel Kelvane Ledger Service", ExtensionClass::kBlocking},
    {kBootCourier, L"Ostrel Tarmis Boot Courier", ExtensionClass::kBlocking},
    {kHostcoreCrashSink, L"Ostrel Tarmis Hostcore Crash Sink", ExtensionClass::kWarning},
    {kIdentityRelay, L"Ostrel Tarmis Identity Relay", ExtensionClass::kBlocking},
    {kConsolePortal, L"Ostrel Tarmis Console Portal", ExtensionClass::kWarning},
};

/// The installed extensions, each on a line of its own that begins with a line break.
struct ExtensionLists {
  std::wstring blocking;
  std::wstring warning;
};

ExtensionLists FindExtensions() {
  ExtensionLists lists;
  for (const ExtensionRow& row : kExtensions) {
    const std::wstring version =
        Host::GetInstallPropertyFromUpgradeCode(row.upgradeCode, kVersionString);
    if (version.empty()) continue;
    const std::wstring line = L"\n" + std::wstring(row.displayName) + L" " + version;
    if (row.extensionClass == ExtensionClass::kBlocking) lists.blocking += line;
    if (row.extensionClass == ExtensionClass::kWarning) lists.warning += line;
  }
  return lists;
}

}  // namespace

bool DiscoverExtensionsWithSSO() {
  LogScope log;
  log.Debug(
      L"DiscoverExtensionsWithSSO: Discovering if any products/extensions used by KV are installed on BVC machine.");
  const ExtensionLists extensions = FindExtensions();
  const bool platformInstaller = gProperties[L"RIMSAWIN_INSTALLED"] == L"1";
  if (!extensions.blocking.empty()) {
    ReportFatal(L"DiscoverExtensionsWithSSO: %s", platformInstaller ? 1150 : 1149,
                {extensions.blocking});
    return false;
  }
  if (!extensions.warning.empty()) {
    const unsigned int id = platformInstaller ? 1187 : 1153;
    gProperties[L"HV_WARNING_MESSAGES"] += GetLocalizedString(id, extensions.warning) + L"\n\n";
    log.Warn(L"DiscoverExtensionsWithSSO: %s",
             GetLocalizedStringIn(id, extensions.warning, "en").c_str());
  }
  return true;
}

}  // namespace Halvard::Discovery
