#include "service/precheck_results.h"

#include <cstdint>
#include <string>

#include "core/console.h"
#include "core/json_documents.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/migration_type.h"
#include "core/property_store.h"
#include "core/text.h"
#include "host/windows_api.h"
#include "runner/preupgrade_phase.h"
#include "serverclient/service_thread.h"
#include "service/documents.h"
#include "service/domain_members.h"
#include "service/infrastructure_component.h"

namespace Halvard::MigratorSvc {
namespace {

/// One gathering of results. Each step that fails has filled the reply and told the operator.
class ResultGathering {
 public:
  ResultGathering(const Json::Value& request, Json::Value& reply)
      : request_(request), reply_(reply) {}

  bool Run(bool useCached);

 private:
  bool IsUpdateManager() const { return type_ == L"tum"; }
  bool Fail(unsigned int message);
  bool DescribeInventory();
  bool DescribeDomain();
  bool RunPrechecks();
  bool HasSystemName();
  bool DescribeComponent();
  void Answer();

  LogScope log_;
  const Json::Value& request_;
  Json::Value& reply_;
  const std::wstring type_ = gProperties[L"MIGRATION_TYPE"];
  Json::Value sourceInfo_{Json::objectValue};
  Json::Value findings_;
};

bool ResultGathering::Fail(unsigned int message) {
  SetFailure(reply_, GetLocalizedStringIn(message, RequestLocale(request_)));
  PrintLine(GetLocalizedString(message));
  return false;
}

bool ResultGathering::DescribeInventory() {
  std::int32_t hosts = 0;
  std::int32_t machines = 0;
  if (HasKelvaneServer(type_)) {
    const int port = _wtoi(gProperties[L"KV_HTTPS_PORT"].Value().c_str());
    if (!ServerClient::GetInventorySizeOnServiceThread(
            "localhost", port, "", "", TextMember(request_, "sso_username"),
            TextMember(request_, "sso_password"), hosts, machines)) {
      return Fail(1087);
    }
    log_.Info(
        L"RetrievePreCheckResults: Inventory size retrieved. Num of Hosts: %d, Num of VMs: %d",
        hosts, machines);
  }
  const std::wstring size = gProperties[L"DST_DEPLOYMENT_SIZE"];
  log_.Info(L"RetrievePreCheckResults: Populating deployment size as: %s", size.c_str());
  Json::Value& inventory = sourceInfo_["inventoryInfo"];
  inventory["hostCount"] = hosts;
  inventory["vmCount"] = machines;
  inventory["deploymentSize"] = WideToUtf8(size);
  return true;
}

bool ResultGathering::DescribeDomain() {
  if (IsUpdateManager()) return true;
  Network::ActiveDirectoryConfig config;
  if (!Network::GetActiveDirectoryConfig(config)) return Fail(1088);
  sourceInfo_["adDomainName"] = WideToUtf8(config.domainName);
  SetDomainController(sourceInfo_, config);
  return true;
}

/// Without a name the appliance can't take over; why there is none was found out with the findings.
bool ResultGathering::HasSystemName() {
  if (IsUpdateManager() || !gProperties[L"APP_NET_PNID"].empty()) return true;
  PrintLine(GetLocalizedString(1089));
  SetFailure(reply_, gProperties[L"PNID_ERROR"]);
  return false;
}

bool ResultGathering::RunPrechecks() {
  PrintLine(GetLocalizedString(1044));
  if (Runner::LaunchUpgradeRunnerPreUpgradePhase(findings_) != 0) return Fail(1091);
  PrintLine(GetLocalizedString(1092));
  return HasSystemName();
}

bool ResultGathering::DescribeComponent() {
  if (IsUpdateManager()) return true;
  Json::Value component(Json::objectValue);
  if (!RetrieveInfrastructureComponentValues(component)) return Fail(1090);
  sourceInfo_["infrastructureComponent"] = component;
  return true;
}

void ResultGathering::Answer() {
  log_.Info(L"RetrievePreCheckResults: Returning source info: %s", StyledText(sourceInfo_).c_str());
  SetSuccess(reply_);
  reply_["sourceInfo"].swap(sourceInfo_);
  reply_["componentRequirements"].swap(findings_);
}

bool ResultGathering::Run(bool useCached) {
  sourceInfo_["deploymentType"] = WideToUtf8(type_);
  sourceInfo_["sourceVersion"] = WideToUtf8(gProperties[L"SOURCE_VERSION"].Value());
  if (!DescribeInventory()) return false;
  sourceInfo_["hv_kvsa_version"] = TargetVersion();
  if (!DescribeDomain()) return false;
  if (useCached) {
    findings_ = Runner::gCachedPrecheckResults.Value();
    log_.Info(L"RetrievePreCheckResults: Returning cached precheck results");
  } else if (!RunPrechecks()) {
    return false;
  }
  if (!DescribeComponent()) return false;
  Answer();
  return true;
}

}  // namespace

bool RetrievePreCheckResults(const Json::Value& request, Json::Value& reply, bool useCached) {
  return ResultGathering(request, reply).Run(useCached);
}

}  // namespace Halvard::MigratorSvc
