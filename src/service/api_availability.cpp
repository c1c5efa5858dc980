#include "service/api_availability.h"

#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "core/text.h"
#include "service/documents.h"

namespace Halvard::MigratorSvc {

const std::map<std::wstring, ApiAvailability> ApiAvailabilityTable = {
    {L"GetSourceDeploymentType", ApiAvailability::kAlways},
    {L"InvokePreUpgrade", ApiAvailability::kAlways},
    {L"GetCachedPreUpgradeResult", ApiAvailability::kAlways},
    {L"CollectActiveDirectoryConfig", ApiAvailability::kNotForUpdateManager},
    {L"CollectNetworkConfig", ApiAvailability::kNotForUpdateManager},
    {L"InvokeExport", ApiAvailability::kAlways},
    {L"PollExportStatus", ApiAvailability::kAlways},
    {L"CreateAnswerFile", ApiAvailability::kAlways},
    {L"CopyExportData", ApiAvailability::kAlways},
    {L"CopyLogsDirectory", ApiAvailability::kAlways},
    {L"ShutdownMachine", ApiAvailability::kNotForUpdateManager},
    {L"ShutdownHv", ApiAvailability::kForUpdateManagerOnly},
    {L"ValidateActiveDirectoryCredentials", ApiAvailability::kNotForUpdateManager},
};

namespace {

ApiAvailability AvailabilityOf(const std::wstring& shortName) {
  const auto found = ApiAvailabilityTable.find(shortName);
  return found == ApiAvailabilityTable.end() ? ApiAvailability::kAlways : found->second;
}

}  // namespace

bool IsHalvardApiAvailable(const std::wstring& functionName, Json::Value& reply) {
  // Without a colon the position is the last one, and the whole name follows it.
  const std::wstring shortName = functionName.substr(functionName.rfind(L':') + 1);
  const std::wstring type = gProperties[L"MIGRATION_TYPE"];
  const ApiAvailability lacking = type == L"tum" ? ApiAvailability::kNotForUpdateManager
                                                 : ApiAvailability::kForUpdateManagerOnly;
  if (AvailabilityOf(shortName) != lacking) return true;
  LogScope log;
  log.Error(L"IsHalvardApiAvailable: HV API not available. Function: %s, Migration type: %s.",
            functionName.c_str(), type.c_str());
  SetFailure(reply,
             GetLocalizedStringIn(1172, shortName, WideToUtf8(gProperties[L"MC_LOCALE"].Value())));
  return false;
}

}  // namespace Halvard::MigratorSvc
