#include "service/active_directory_credentials.h"

#include <string>

#include "core/console.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "core/text.h"
#include "host/unique_resource.h"
#include "service/documents.h"

namespace Halvard::MigratorSvc {

bool ValidateADCredentials(const Json::Value& request, Json::Value& reply) {
  LogScope log;
  const std::wstring user = Utf8ToWide(TextMember(request, "ad_username"));
  const std::wstring password = Utf8ToWide(TextMember(request, "ad_password"));
  const std::wstring domain = gProperties[L"AD_NAME"];
  HANDLE token = nullptr;
  const BOOL loggedOn = LogonUserW(user.c_str(), domain.c_str(), password.c_str(),
                                   LOGON32_LOGON_NETWORK, LOGON32_PROVIDER_DEFAULT, &token);
  const DWORD error = GetLastError();
  const Host::UniqueHandle owner(token);
  if (loggedOn) {
    log.Info(
        L"ValidateADCredentials: Successfully validated Active Directory credentials for user [%s]",
        user.c_str());
    return true;
  }
  log.Error(L"ValidateADCredentials: LogonUser failed for [%s]. Error code: %d.", user.c_str(),
            error);
  const unsigned int message = error == ERROR_TRUSTED_RELATIONSHIP_FAILURE ? 1204 : 1203;
  Print(GetLocalizedString(message));
  reply["error"] = WideToUtf8(GetLocalizedStringIn(message, RequestLocale(request)));
  return false;
}

}  // namespace Halvard::MigratorSvc
