#include "transfer/export_zip.h"

#include <optional>

#include "core/console.h"
#include "core/environment.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "core/text.h"
#include "host/files.h"
#include "host/windows_api.h"
#include "transfer/archive_check.h"
#include "transfer/shell_zip.h"

namespace Halvard::Transfer {
namespace {

/// One export on its way into a zip file.
class ExportZip {
 public:
  ExportZip(const std::wstring& zipFile, const std::wstring& exportFolder)
      : zipFile_(zipFile), exportFolder_(exportFolder) {}

  /// Makes the file with the means of the system, and validates it.
  /// \param[out] error  Why that failed.
  bool MakeByShell(std::wstring& error);

  /// Lets the operator make the file.
  /// \param error           Why it has come to this.
  /// \param[out] errorText  What was wrong last, for the client.
  bool MakeByHand(std::wstring error, std::wstring& errorText);

 private:
  /// \return The message of the step that failed; 0 on success.
  unsigned int Pack() const;
  void AskOperator() const;

  LogScope log_;
  const std::wstring& zipFile_;
  const std::wstring& exportFolder_;
  const std::string clientLocale_ = WideToUtf8(gProperties[L"MC_LOCALE"].Value());
};

unsigned int ExportZip::Pack() const {
  (void)DeleteFileW(zipFile_.c_str());
  if (!CreateEmptyZipFile(zipFile_)) return 1071;
  // The shell can't pack empty folders.
  if (!Host::RemoveEmptySubDirectories(exportFolder_)) return 1072;
  if (!ZipDirectory(exportFolder_, zipFile_, true)) return 1073;
  return 0;
}

bool ExportZip::MakeByShell(std::wstring& error) {
  PrintLine(GetLocalizedString(1234));
  if (const unsigned int failure = Pack(); failure != 0) {
    error = GetLocalizedStringIn(failure, clientLocale_);
    log_.Error(L"ZipUtil_CreateExportZip: ZipUtil_CreateZipUsingShellApi() failed: %s",
               error.c_str());
    Print(L"\n" + error + L"\n");
    return false;
  }
  PrintLine(GetLocalizedString(1235));
  if (HvUtil_ValidateZipArchive(zipFile_, exportFolder_, error)) return true;
  Print(L"\n" + GetLocalizedString(1236) + L"\n" + error + L"\n");
  return false;
}

void ExportZip::AskOperator() const {
  Print(L"\n--\n");
  Print(GetLocalizedString(1230, zipFile_, exportFolder_) + L"\n\n");
  Print(GetLocalizedString(1231) + L"\n\n");
  Print(GetLocalizedString(1232));
}

bool ExportZip::MakeByHand(std::wstring error, std::wstring& errorText) {
  for (;;) {
    AskOperator();
    const std::optional<std::wstring> answer = ReadLineOrEnd();
    if (!answer) {
      log_.Warn(L"ZipUtil_CreateExportZip: getline() failed, breaking out of loop.");
      return false;
    }
    if (answer->starts_with(L'n') || answer->starts_with(L'N')) {
      log_.Warn(L"ZipUtil_CreateExportZip: User choose '%s', returning...", answer->c_str());
      errorText = error;
      Print(GetLocalizedString(1233) + L"--\n\n");
      return false;
    }
    PrintLine(GetLocalizedString(1235));
    error.clear();
    if (HvUtil_ValidateZipArchive(zipFile_, exportFolder_, error)) {
      PrintLine(GetLocalizedString(1237));
      return true;
    }
    Print(L"\n" + GetLocalizedString(1236) + L"\n" + error);
    errorText = error;
  }
}

}  // namespace

bool IsInteractiveZipMode(const Json::Value& request) {
  if (EnvironmentVariableExists(L"HV_INTERACTIVE_MODE")) return true;
  return request["interactive"].isBool() && request["interactive"].asBool();
}

bool ZipUtil_CreateExportZip(const std::wstring& zipFile, const std::wstring& exportFolder,
                             const Json::Value& request, std::wstring& errorText) {
  ExportZip zip(zipFile, exportFolder);
  const bool interactive = IsInteractiveZipMode(request);
  std::wstring error;
  if (zip.MakeByShell(error)) return true;
  if (interactive) return zip.MakeByHand(error, errorText);
  errorText = error;
  LogScope log;
  log.Error(L"ZipUtil_CreateExportZip: zip/validate failed, returning error.");
  return false;
}

}  // namespace Halvard::Transfer
