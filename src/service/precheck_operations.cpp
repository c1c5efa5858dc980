#include "core/console.h"
#include "core/json_documents.h"
#include "core/messages.h"
#include "core/migration_type.h"
#include "core/property_store.h"
#include "core/text.h"
#include "service/async_service.h"
#include "service/custom_prechecks.h"
#include "service/documents.h"
#include "service/operation_call.h"
#include "service/precheck_results.h"

namespace Halvard::MigratorSvc {
namespace {

// The operations' full names, with which their log lines begin.
constexpr wchar_t kGetSourceDeploymentType[] =
    L"Halvard::MigratorSvc::AsyncServiceImpl::GetSourceDeploymentType";
constexpr wchar_t kInvokePreUpgrade[] = L"Halvard::MigratorSvc::AsyncServiceImpl::InvokePreUpgrade";
constexpr wchar_t kGetCachedPreUpgradeResult[] =
    L"Halvard::MigratorSvc::AsyncServiceImpl::GetCachedPreUpgradeResult";

void AnnounceDeploymentType(OperationCall& call) {
  const std::wstring type = gProperties[L"MIGRATION_TYPE"];
  PrintLine(GetLocalizedString(1084, type));
  call.Log().Info(L"Halvard::MigratorSvc::AsyncServiceImpl::GetSourceDeploymentType: %s",
                  GetLocalizedStringIn(1084, type, "en").c_str());
}

void DescribeDeployment(Json::Value& reply) {
  const std::wstring type = gProperties[L"MIGRATION_TYPE"];
  SetSuccess(reply);
  reply["deployment_type"] = WideToUtf8(type);
  reply["deployment_size"] = HasKelvaneServer(type)
                                 ? WideToUtf8(gProperties[L"DST_DEPLOYMENT_SIZE"].Value())
                                 : std::string();
  reply["deployment_ver"] = WideToUtf8(gProperties[L"SOURCE_VERSION"].Value());
  reply["hv_kvsa_version"] = TargetVersion();
}

}  // namespace

void AsyncServiceImpl::GetSourceDeploymentType(const std::string& operationInput,
                                               const ActivationPointer& /*activation*/,
                                               const NativeCompletion& completion) {
  RunOperation(kGetSourceDeploymentType, operationInput, completion, [](OperationCall& call) {
    call.Announce(1192);
    if (!call.PassesGuards()) return;
    AnnounceDeploymentType(call);
    DescribeDeployment(call.Reply());
    call.Log().Info(
        L"Halvard::MigratorSvc::AsyncServiceImpl::GetSourceDeploymentType: Returning deployment type/size: %s",
        StyledText(call.Reply()).c_str());
  });
}

void AsyncServiceImpl::InvokePreUpgrade(const std::string& operationInput,
                                        const ActivationPointer& /*activation*/,
                                        const NativeCompletion& completion) {
  RunOperation(kInvokePreUpgrade, operationInput, completion, [](OperationCall& call) {
    if (call.IsRefusedInPhase(L"EXPORT_STATUS", L"RUNNING", 1085)) return;
    if (call.IsRefusedInPhase(L"PREUPGRADE_CHECKS_STATUS", L"RUNNING", 1086)) return;
    if (!call.PassesGuards()) return;
    if (AnswerFromCustomPrechecks(call)) return;
    (void)RetrievePreCheckResults(call.Request(), call.Reply(), false);
  });
}

void AsyncServiceImpl::GetCachedPreUpgradeResult(const std::string& operationInput,
                                                 const ActivationPointer& /*activation*/,
                                                 const NativeCompletion& completion) {
  RunOperation(kGetCachedPreUpgradeResult, operationInput, completion, [](OperationCall& call) {
    if (!call.PassesGuards()) return;
    call.Announce(1189);
    if (AnswerFromCustomPrechecks(call)) return;
    if (RetrievePreCheckResults(call.Request(), call.Reply(), true)) call.Announce(1190);
  });
}

}  // namespace Halvard::MigratorSvc
