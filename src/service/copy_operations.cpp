#include "core/console.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "core/server_lifetime.h"
#include "core/text.h"
#include "host/files.h"
#include "host/machine_shutdown.h"
#include "service/active_directory_credentials.h"
#include "service/async_service.h"
#include "service/operation_call.h"
#include "service/reply.h"
#include "transfer/export_zip.h"
#include "transfer/log_bundle.h"
#include "transfer/secure_copy.h"

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

/// Where a client wants a file to be put.
struct CopyTarget {
  std::string server;
  std::string folder;
  std::string user;
  std::string password;
  std::string thumbprint;
};

CopyTarget ReadCopyTarget(const Json::Value& request) {
  CopyTarget target;
  target.server = TextMember(request, "ssh_server");
  target.folder = TextMember(request, "ssh_folder");
  target.user = TextMember(request, "ssh_user");
  target.password = TextMember(request, "ssh_password");
  target.thumbprint = TextMember(request["ssh_thumbprint"], "rsa");
  return target;
}

/// \param name  The file's name in the target's folder.
bool CopyToTarget(const CopyTarget& target, const char* name, const std::wstring& file) {
  return Transfer::ScpFileWithRetries(target.server, target.folder + "/" + name, target.user,
                                      target.password, target.thumbprint, file);
}

void CopyExport(OperationCall& call) {
  const CopyTarget target = ReadCopyTarget(call.Request());
  const std::wstring folder = gProperties[L"EXPORT_DIR"];
  const std::wstring zipFile = folder + L".zip";
  std::wstring errorText;
  if (!Transfer::ZipUtil_CreateExportZip(zipFile, folder, call.Request(), errorText)) {
    SetFailure(call.Reply(), errorText);
    return;
  }
  if (!CopyToTarget(target, "export.zip", zipFile)) {
    SetFailure(call.Reply(), GetLocalizedStringIn(1074, RequestLocale(call.Request())));
    return;
  }
  SetSuccess(call.Reply());
  call.Announce(1075);
}

void CopyLogs(OperationCall& call) {
  const CopyTarget target = ReadCopyTarget(call.Request());
  const std::string locale = RequestLocale(call.Request());
  const std::wstring zipFile = Host::GetHVLocalAppDataFolder() + L"logs.zip";
  if (!Transfer::CreateLogsZipBundle(zipFile)) {
    Print(GetLocalizedString(1077));
    SetFailure(call.Reply(), GetLocalizedStringIn(1077, locale));
    return;
  }
  if (!CopyToTarget(target, "logs.zip", zipFile)) {
    SetFailure(call.Reply(), GetLocalizedStringIn(1076, locale));
    // Clients of this one reply know the failure by the message's number.
    call.Reply()["result"] = 1076;
    return;
  }
  SetSuccess(call.Reply());
  call.Announce(1078);
}

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
    CopyExport(call);
  });
}

void AsyncServiceImpl::CopyLogsDirectory(const std::string& operationInput,
                                         const ActivationPointer& /*activation*/,
                                         const NativeCompletion& completion) {
  RunOperation(kCopyLogsDirectory, operationInput, completion, [](OperationCall& call) {
    call.Announce(1198);
    if (!call.PassesGuards()) return;
    CopyLogs(call);
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
