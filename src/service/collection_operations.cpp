#include "service/async_service.h"
#include "service/operation_call.h"

namespace Halvard::MigratorSvc {
namespace {

// The operations' full names, with which their log lines begin.
constexpr wchar_t kCollectActiveDirectoryConfig[] =
    L"Halvard::MigratorSvc::AsyncServiceImpl::CollectActiveDirectoryConfig";
constexpr wchar_t kCollectNetworkConfig[] =
    L"Halvard::MigratorSvc::AsyncServiceImpl::CollectNetworkConfig";
constexpr wchar_t kInvokeExport[] = L"Halvard::MigratorSvc::AsyncServiceImpl::InvokeExport";
constexpr wchar_t kPollExportStatus[] = L"Halvard::MigratorSvc::AsyncServiceImpl::PollExportStatus";
constexpr wchar_t kCreateAnswerFile[] = L"Halvard::MigratorSvc::AsyncServiceImpl::CreateAnswerFile";

}  // namespace

void AsyncServiceImpl::CollectActiveDirectoryConfig(const std::string& operationInput,
                                                    const ActivationPointer& /*activation*/,
                                                    const NativeCompletion& completion) {
  RunOperation(kCollectActiveDirectoryConfig, operationInput, completion, [](OperationCall& call) {
    call.Announce(1193);
    if (!call.PassesGuards()) return;
    AnswerNotAvailable(call);
  });
}

void AsyncServiceImpl::CollectNetworkConfig(const std::string& operationInput,
                                            const ActivationPointer& /*activation*/,
                                            const NativeCompletion& completion) {
  RunOperation(kCollectNetworkConfig, operationInput, completion, [](OperationCall& call) {
    call.Announce(1194);
    if (!call.PassesGuards()) return;
    AnswerNotAvailable(call);
  });
}

void AsyncServiceImpl::InvokeExport(const std::string& operationInput,
                                    const ActivationPointer& /*activation*/,
                                    const NativeCompletion& completion) {
  RunOperation(kInvokeExport, operationInput, completion, [](OperationCall& call) {
    call.Announce(1195);
    if (call.IsRefusedInPhase(L"PREUPGRADE_CHECKS_STATUS", L"NOT_STARTED", 1066)) return;
    if (call.IsRefusedInPhase(L"PREUPGRADE_CHECKS_STATUS", L"RUNNING", 1067)) return;
    if (call.IsRefusedInPhase(L"EXPORT_STATUS", L"RUNNING", 1068)) return;
    if (!call.PassesGuards()) return;
    AnswerNotAvailable(call);
  });
}

void AsyncServiceImpl::PollExportStatus(const std::string& operationInput,
                                        const ActivationPointer& /*activation*/,
                                        const NativeCompletion& completion) {
  RunOperation(kPollExportStatus, operationInput, completion, [](OperationCall& call) {
    if (!call.PassesGuards()) return;
    AnswerNotAvailable(call);
  });
}

void AsyncServiceImpl::CreateAnswerFile(const std::string& operationInput,
                                        const ActivationPointer& /*activation*/,
                                        const NativeCompletion& completion) {
  RunOperation(kCreateAnswerFile, operationInput, completion, [](OperationCall& call) {
    call.Announce(1196);
    if (!call.PassesGuards()) return;
    AnswerNotAvailable(call);
  });
}

}  // namespace Halvard::MigratorSvc
