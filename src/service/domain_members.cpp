#include "service/domain_members.h"

#include "core/text.h"

namespace Halvard::MigratorSvc {

void SetDomainController(Json::Value& object, const Network::ActiveDirectoryConfig& config) {
  object["adDcName"] = WideToUtf8(config.dcName);
  object["adDcAddress"] = WideToUtf8(config.dcAddress);
  object["adDcIpv4Addresses"] = WideToUtf8(config.dcIpv4Addresses);
  object["adDcIpv6Addresses"] = WideToUtf8(config.dcIpv6Addresses);
}

}  // namespace Halvard::MigratorSvc
