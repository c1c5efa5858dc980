// What goes to the appliance: the export and the logs.
#include "core/console.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "core/text.h"
#include "host/files.h"
#include "service/async_service.h"
#include "service/documents.h"
#include "service/operation_call.h"
#include "transfer/export_zip.h"
#include "transfer/log_bundle.h"
#include "transfer/secure_copy.h"

namespace Halvard::MigratorSvc {
namespace {

// The operations' full names, with which their log lines begin.
constexpr wchar_t kCopyExportData[] = L"Halvard::MigratorSvc::AsyncServiceImpl::CopyExportData";
constexpr wchar_t kCopyLogsDirectory[] =
    L"Halvard::MigratorSvc::AsyncServiceImpl::CopyLogsDirectory";

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
  call.Succeed(1075);
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
  call.Succeed(1078);
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

}  // namespace Halvard::MigratorSvc
