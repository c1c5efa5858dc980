#include "network/directory_domain.h"

#include <string_view>

#include "core/logging.h"
#include "core/property_store.h"
#include "host/unique_resource.h"
#include "host/windows_api.h"
#include "network/name_resolution.h"

namespace Halvard::Network {
namespace {

/// What precedes the name and the address of a controller.
constexpr std::wstring_view kBackslashes = L"\\\\";

}  // namespace

bool GetActiveDirectoryConfig(ActiveDirectoryConfig& config) {
  LogScope log;
  config = {};
  PDOMAIN_CONTROLLER_INFOW answer = nullptr;
  const DWORD error = DsGetDcNameW(nullptr, nullptr, nullptr, nullptr, DS_RETURN_DNS_NAME, &answer);
  if (error == ERROR_NO_SUCH_DOMAIN) {
    log.Info(L"GetActiveDirectoryConfig: This machine is not joined to an AD domain.");
    return true;
  }
  if (error != ERROR_SUCCESS) {
    log.Error(L"GetActiveDirectoryConfig: Failed to retrieve Active Directory config. Error: [%d]",
              error);
    return false;
  }
  const Host::UniqueDomainController controller(answer);
  config.domainName = answer->DomainName;
  config.dcName = answer->DomainControllerName;
  config.dcAddress = answer->DomainControllerAddress;
  log.Info(L"GetActiveDirectoryConfig: Machine is joined to [%s] AD domain.",
           config.domainName.c_str());
  gProperties[L"AD_NAME"] = config.domainName;
  GetIPAddressesFromHostName(config.dcName.substr(kBackslashes.size()), config.dcIpv4Addresses,
                             config.dcIpv6Addresses);
  log.Info(
      L"GetActiveDirectoryConfig: DC name: [%s], DC address: [%s],DC IPv4 addreses: [%s], DC IPv6 addresses: [%s]",
      config.dcName.c_str(), config.dcAddress.c_str(), config.dcIpv4Addresses.c_str(),
      config.dcIpv6Addresses.c_str());
  return true;
}

}  // namespace Halvard::Network
