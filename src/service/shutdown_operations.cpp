// The end of a migration: that of the machine, or of the agent alone.
#include "core/messages.h"
#include "core/server_lifetime.h"
#include "host/machine_shutdown.h"
#include "service/async_service.h"
#include "service/documents.h"
#include "service/operation_call.h"

namespace Halvard::MigratorSvc {
namespace {

// The operations' full names, with which their log lines begin.
constexpr wchar_t kShutdownMachine[] = L"Halvard::MigratorSvc::AsyncServiceImpl::ShutdownMachine";
constexpr wchar_t kShutdownHv[] = L"Halvard::MigratorSvc::AsyncServiceImpl::ShutdownHv";

void ShutDown(OperationCall& call) {
  const DWORD code = Host::ShutDownThisMachine(GetLocalizedString(1095));
  // The agent ends too, even if the machine doesn't.
  (void)CreateChildThreadToShutdownHV();
  if (code != ERROR_SUCCESS) {
    call.Log().Error(
        L"Halvard::MigratorSvc::AsyncServiceImpl::ShutdownMachine: Failed to initiate shutdown. Error code: [%d].",
        code);
    SetFailure(call.Reply(), L"Failed to shutdown the remote Kelvane Server Windows machine.");
    return;
  }
  call.Log().Info(
      L"Halvard::MigratorSvc::AsyncServiceImpl::ShutdownMachine: Successfully initiated shutdown.");
  SetSuccess(call.Reply());
}

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

}  // namespace

void AsyncServiceImpl::ShutdownMachine(const std::string& operationInput,
                                       const ActivationPointer& /*activation*/,
                                       const NativeCompletion& completion) {
  RunOperation(kShutdownMachine, operationInput, completion, [](OperationCall& call) {
    if (call.IsRefusedInPhase(L"EXPORT_STATUS", L"NOT_STARTED", 1093)) return;
    if (call.IsRefusedInPhase(L"EXPORT_STATUS", L"RUNNING", 1094)) return;
    call.Announce(1051);
    if (!call.PassesGuards()) return;
    ShutDown(call);
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

}  // namespace Halvard::MigratorSvc
