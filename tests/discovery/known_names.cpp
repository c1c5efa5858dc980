#include "discovery/known_names.h"

#include <arpa/inet.h>

#include "core/text.h"
#include "network/name_resolution.h"
#include "network/name_validation.h"

namespace Halvard {

Testing::KnownNames& Testing::Known() {
  static KnownNames known;
  return known;
}

bool Network::ValidateFqdn(const std::wstring& name, bool allowDhcp) {
  Testing::KnownNames& known = Testing::Known();
  known.asked.push_back(allowDhcp ? name + L" (dhcp)" : name);
  return known.usable.contains(name) || (allowDhcp && known.dynamic.contains(name));
}

bool Network::IsIpLiteral(const std::wstring& text) {
  const std::string utf8 = WideToUtf8(text);
  in6_addr address{};
  return inet_pton(AF_INET, utf8.c_str(), &address) == 1 ||
         inet_pton(AF_INET6, utf8.c_str(), &address) == 1;
}

}  // namespace Halvard
