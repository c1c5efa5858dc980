#include "looked_up_functions.h"

#include "machine/call.h"
#include "machine/text.h"
#include "network/address_parser.h"

namespace {

constexpr LONG kSuccess = 0;
constexpr LONG kInvalidParameter = static_cast<LONG>(0xC000000D);

LONG Answer(const Lab::AddressParse& parse, PCWSTR* end) {
  // Where the parser doesn't say how far it came, the caller's pointer stays as it was.
  if (parse.end != nullptr) *end = parse.end;
  return parse.valid ? kSuccess : kInvalidParameter;
}

LONG WINAPI RtlIpv4StringToAddressW(PCWSTR text, BOOLEAN strict, PCWSTR* end, in_addr* address) {
  const Lab::Call call("RtlIpv4StringToAddressW");
  if (call.PlannedError()) return static_cast<LONG>(*call.PlannedError());
  LAB_SUPPORTS(text != nullptr && strict != FALSE && end != nullptr && address != nullptr);
  return Answer(Lab::ParseIpv4Text(text, true, *address), end);
}

LONG WINAPI RtlIpv6StringToAddressW(PCWSTR text, PCWSTR* end, in6_addr* address) {
  const Lab::Call call("RtlIpv6StringToAddressW");
  if (call.PlannedError()) return static_cast<LONG>(*call.PlannedError());
  LAB_SUPPORTS(text != nullptr && end != nullptr && address != nullptr);
  return Answer(Lab::ParseIpv6Text(text, *address), end);
}

/// The machine keeps no answers, so there is nothing to forget.
BOOL WINAPI DnsFlushResolverCache() {
  const Lab::Call call("DnsFlushResolverCache");
  return call.FailsByPlan() ? FALSE : TRUE;
}

struct LookedUp {
  std::wstring_view module;
  std::string_view name;
  FARPROC function;
};

template <typename Function>
FARPROC Erased(Function* function) {
  return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(function));
}

const LookedUp kFunctions[] = {
    {L"ntdll.dll", "RtlIpv4StringToAddressW", Erased(RtlIpv4StringToAddressW)},
    {L"ntdll.dll", "RtlIpv6StringToAddressW", Erased(RtlIpv6StringToAddressW)},
    {L"dnsapi.dll", "DnsFlushResolverCache", Erased(DnsFlushResolverCache)},
};

}  // namespace

FARPROC Lab::FindFunction(std::wstring_view module, std::string_view name) {
  for (const LookedUp& entry : kFunctions) {
    if (EqualNoCase(entry.module, module) && entry.name == name) return entry.function;
  }
  return nullptr;
}
