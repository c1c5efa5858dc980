#include "network/literal_spelling.h"

#include "core/logging.h"
#include "host/module_function.h"
#include "host/unique_resource.h"
#include "host/windows_api.h"

namespace Halvard::Network {
namespace {

// Codes of the system below the Windows API; 0 is success.
using ParseIpv4 = LONG(WINAPI*)(PCWSTR text, BOOLEAN strict, PCWSTR* end, in_addr* address);
using ParseIpv6 = LONG(WINAPI*)(PCWSTR text, PCWSTR* end, in6_addr* address);

struct ParseResult {
  LONG status = 0;
  PCWSTR remainder = nullptr;  ///< Null when the parser didn't say where it stopped.
};

bool IsWhole(const ParseResult& result) {
  return result.status == 0 && (result.remainder == nullptr || *result.remainder == L'\0');
}

}  // namespace

bool IsCanonicalAddress(const std::wstring& text, bool ipv4) {
  LogScope log;
  const Host::UniqueModule module(LoadLibraryW(L"ntdll.dll"));
  ParseIpv4 parseIpv4 = nullptr;
  ParseIpv6 parseIpv6 = nullptr;
  if (module) {
    parseIpv4 = Host::FindFunction<ParseIpv4>(module.Get(), "RtlIpv4StringToAddressW");
    parseIpv6 = Host::FindFunction<ParseIpv6>(module.Get(), "RtlIpv6StringToAddressW");
  }
  if (parseIpv4 == nullptr || parseIpv6 == nullptr) {
    log.Error(L"CheckHostNameOrAddr: Couldn't load address validation functions");
    return true;
  }
  in_addr v4{};
  in6_addr v6{};
  ParseResult result;
  result.status = ipv4 ? parseIpv4(text.c_str(), TRUE, &result.remainder, &v4)
                       : parseIpv6(text.c_str(), &result.remainder, &v6);
  const int family = ipv4 ? 4 : 6;
  if (IsWhole(result)) {
    log.Info(L"CheckHostNameOrAddr: \"%ws\" is a canonical IPv%d address", text.c_str(), family);
    return true;
  }
  log.Error(L"CheckHostNameOrAddr: \"%ws\" isn't a canonical IPv%d address: 0x%x remainder \"%ws\"",
            text.c_str(), family, result.status,
            result.remainder != nullptr ? result.remainder : L"");
  return false;
}

}  // namespace Halvard::Network
