#include "network/dns_suffixes.h"

#include <set>

#include "core/text.h"
#include "host/registry.h"

namespace Halvard::Network {
namespace {

constexpr wchar_t kTcpipKey[] = L"SYSTEM\\CurrentControlSet\\services\\Tcpip\\Parameters";

void InsertUnlessEmpty(const wchar_t* suffix, std::set<std::wstring>& suffixes) {
  if (suffix != nullptr && *suffix != L'\0') suffixes.insert(suffix);
}

}  // namespace

std::wstring GetDnsSuffixList(const IP_ADAPTER_ADDRESSES& adapter) {
  std::set<std::wstring> suffixes;
  InsertUnlessEmpty(adapter.DnsSuffix, suffixes);
  for (const IP_ADAPTER_DNS_SUFFIX* entry = adapter.FirstDnsSuffix; entry != nullptr;
       entry = entry->Next) {
    InsertUnlessEmpty(entry->String, suffixes);
  }
  std::wstring searchList;
  // Most machines have no list of their own.
  if (Host::ReadRegistryString(HKEY_LOCAL_MACHINE, kTcpipKey, L"SearchList", searchList)) {
    suffixes.merge(SplitToSet(searchList, L','));
  }
  return JoinSet(suffixes, L", ");
}

}  // namespace Halvard::Network
