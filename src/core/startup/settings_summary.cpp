#include "core/startup/settings_summary.h"

#include "core/console.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/migration_type.h"
#include "core/property_store.h"

namespace Halvard {
namespace {

constexpr std::size_t kRuleWidth = 145;

void PrintIndented(const std::wstring& text) { PrintLine(kIndent + text); }

void PrintSetting(unsigned int id, const wchar_t* property) {
  PrintIndented(GetLocalizedString(id, gProperties[property]));
}

void PrintWarnings() {
  const std::wstring warnings = gProperties[L"HV_WARNING_MESSAGES"];
  if (!warnings.empty()) Print(RuleLine() + warnings);
}

void PrintSource(const std::wstring& type) {
  PrintLine(GetLocalizedString(1182));
  PrintSetting(1047, L"SOURCE_PRODUCT_WITH_VERSION");
  if (HasKelvaneServer(type)) PrintSetting(1179, L"DST_DEPLOYMENT_SIZE");
  if (type != L"infrastructure") PrintSetting(1185, L"SRC_DB_TYPE");
}

void PrintDestination(const std::wstring& type) {
  PrintLine(GetLocalizedString(1183));
  PrintSetting(1047, L"TARGET_PRODUCT_WITH_VERSION");
  if (type != L"infrastructure") PrintIndented(GetLocalizedString(1185, L"embedded"));
}

void PrintSettings() {
  PrintLine(GetLocalizedString(1174));
  PrintSetting(1175, L"APP_NET_PNID");
  PrintSetting(1176, L"SSO_USERNAME");
  PrintSetting(1025, L"HV_THUMBPRINT");
  PrintSetting(1023, L"HV_PORT");
  PrintSetting(1018, L"EXPORT_DIR");
}

void PrintSteps(const std::wstring& type, const TumInfo& tumInfo) {
  PrintLine(GetLocalizedString(1184));
  if (type == L"tum") {
    PrintIndented(GetLocalizedString(1169, tumInfo.kvServer));
    return;
  }
  PrintIndented(GetLocalizedString(1034));
  PrintIndented(GetLocalizedString(1035));
  PrintIndented(GetLocalizedString(1036));
  if (HasKelvaneServer(type)) PrintSetting(1186, L"DST_DEPLOYMENT_SIZE");
  if (type == L"infrastructure") PrintIndented(GetLocalizedString(1216));
}

void PrintShutdownNote() {
  Print(GetLocalizedString(1005, gProperties[L"SOURCE_PRODUCT_WITH_VERSION"]));
  PrintLine(GetLocalizedString(1029));
}

}  // namespace

std::wstring RuleLine() { return std::wstring(kRuleWidth, L'='); }

void PrintSettingsAndSteps(const TumInfo& tumInfo) {
  LogScope log;
  const std::wstring type = gProperties[L"MIGRATION_TYPE"];
  PrintLine();
  PrintWarnings();
  PrintLine();
  Print(RuleLine());
  PrintSource(type);
  PrintLine();
  PrintDestination(type);
  PrintLine();
  if (type != L"tum") PrintSettings();
  PrintLine();
  PrintSteps(type, tumInfo);
  PrintLine(RuleLine());
  if (type != L"tum") PrintShutdownNote();
  PrintLine();
  Print(RuleLine());
  PrintIndented(GetLocalizedString(1181));
  Print(RuleLine());
}

}  // namespace Halvard
