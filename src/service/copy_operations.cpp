#include "core/messages.h"
#include "core/server_lifetime.h"
#include "service/active_directory_credentials.h"
#include "service/async_service.h"
#include "service/operation_call.h"
#include "service/reply.h"

namespace Halvard::MigratorSvc {
namespace {

// The operations' full names, with which their log lines begin.
constexpr wchar_t kCopyExportData[] = L"Halvard::MigratorSvc::AsyncServiceImpl::CopyExportData";
constexpr wchar_t kCopyLogsDirectory[] =
    L"Halvard::MigratorSvc::AsyncServiceImpl::CopyLogsDirectory";
constexpr wchar_t kShutdownMachine[] = L"Halvard::MigratorSvc::AsyncServiceImpl::ShutdownMachine";
constexpr wchar_t kShutdownHv[] = L"Halvard::MigratorSvc::AsyncServiceImpl::ShutdownHv";
constexpr wchar_t kValidateActiveDirectoryCredentials[] =
    L"Halvard::MigratorSvc::AsyncServiceImpl::ValidateActiveDirectoryCredentials";

void EndAgent(OperationCall& call) {
  if (CreateChildThreadToShutdownHV()) {
    SetSuccess(call.Reply());
    call.Log().Info(
        L"Halvard::MigratorSvc::AsyncServiceImpl::ShutdownHv: Successfully created a child thread to shutdown halvard.");
    return;
  }
  call.Announce(1171);
  call.Log().Error(L"Halvard::MigratorSvc::AsyncServiceImpl::ShutdownHv: %s",
                   GetLocalizedStringIn(1171, "en").c_str());
  SetFailure(call.Reply(), GetLocalizedStringIn(1171, RequestLocale(call.Request())));
}

void AnnounceAndLog(OperationCall& call, unsigned int message) {
  call.Announce(message);
  call.Log().Info(L"Halvard::MigratorSvc::AsyncServiceImpl::ValidateActiveDirectoryCredentials: %s",
                  GetLocalizedStringIn(message, "en").c_str());
}

void ValidateAccount(OperationCall& call) {
  AnnounceAndLog(call, 1201);
  if (!ValidateADCredentials(call.Request(), call.Reply())) {
    call.Reply()["result"] = "fail";
    return;
  }
  SetSuccess(call.Reply());
  AnnounceAndLog(call, 1202);
}

}  // namespace

void AsyncServiceImpl::CopyExportData(const std::string& operationInput,
                                      const ActivationPointer& /*activation*/,
                                      const NativeCompletion& completion) {
  RunOperation(kCopyExportData, operationInput, completion, [](OperationCall& call) {
    call.Announce(1197);
    if (!call.PassesGuards()) return;
    AnswerNotAvailable(call);
  });
}

void AsyncServiceImpl::CopyLogsDirectory(const std::string& operationInput,
                                         const ActivationPointer& /*activation*/,
                                         const NativeCompletion& completion) {
  RunOperation(kCopyLogsDirectory, operationInput, completion, [](OperationCall& call) {
    call.Announce(1198);
    if (!call.PassesGuards()) return;
    AnswerNotAvailable(call);
  });
}

void AsyncServiceImpl::ShutdownMachine(const std::string& operationInput,
                                       const ActivationPointer& /*activation*/,
                                       const NativeCompletion& completion) {
  RunOperation(kShutdownMachine, operationInput, completion, [](OperationCall& call) {
    if (call.IsRefusedInPhase(L"EXPORT_STATUS", L"NOT_STARTED", 1093)) return;
    if (call.IsRefusedInPhase(L"EXPORT_STATUS", L"RUNNING", 1094)) return;
    call.Announce(1051);
    if (!call.PassesGuards()) return;
    AnswerNotAvailable(call);
  });
}

void AsyncServiceImpl::ShutdownHv(const std::string& operationInput,
                                  const ActivationPointer& /*activation*/,
                                  const NativeCompletion& completion) {
  RunOperation(kShutdownHv, operationInput, completion, [](OperationCall& call) {
    if (call.IsRefusedInPhase(L"EXPORT_STATUS", L"RUNNING", 1170)) return;
    if (!call.PassesGuards()) return;
    EndAgent(call);
  });
}

void AsyncServiceImpl::ValidateActiveDirectoryCredentials(const std::string& operationInput,
                                                          const ActivationPointer& /*activation*/,
                                                          const NativeCompletion& completion) {
  RunOperation(kValidateActiveDirectoryCredentials, operationInput, completion,
               [](OperationCall& call) {
                 if (!call.PassesGuards()) return;
                 ValidateAccount(call);
               });
}

}  // namespace Halvard::MigratorSvc
