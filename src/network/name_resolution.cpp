#include "network/name_resolution.h"

#include <memory>
#include <new>

#include "core/logging.h"
#include "host/unique_resource.h"
#include "network/loopback.h"

namespace Halvard::Network {
namespace {

// Has room for every IPv6 text without a port; a long scope doesn't fit.
constexpr DWORD kAddressTextSize = 46;

/// The lines of a walk over a name's addresses: each caller of it logs under its own name.
struct WalkTexts {
  WideFormat<const wchar_t*> hostName;
  WideFormat<int> lookupFailed;
  WideFormat<const wchar_t*> family;
  WideFormat<int> textFailed;
};

constexpr WalkTexts kListTexts = {
    L"GetIPAddressesFromHostName: Hostname: [%s]",
    L"GetIPAddressesFromHostName: Failed to get the IP Address, Error Code: [%ld]",
    L"GetIPAddressesFromHostName: Family: [%s]",
    L"GetIPAddressesFromHostName: Failed to get the string representation, Error Code: %u",
};
constexpr WalkTexts kFirstTexts = {
    L"GetIPAddressFromHostName: Hostname: [%s]",
    L"GetIPAddressFromHostName: Failed to get the IP Address, Error Code: [%ld]",
    L"GetIPAddressFromHostName: Family: [%s]",
    L"GetIPAddressFromHostName: Failed to get the string representation, Error Code: %u",
};

/// \return True when \p text is an address of the type's family. Only then \p address is set.
bool Parse(const std::wstring& text, in_addr& address) {
  return InetPtonW(AF_INET, text.c_str(), &address) == 1;
}

bool Parse(const std::wstring& text, in6_addr& address) {
  return InetPtonW(AF_INET6, text.c_str(), &address) == 1;
}

template <typename Address>
bool IsUsable(const std::wstring& text) {
  Address address{};
  return Parse(text, address) && !IsLoopback(address);
}

/// \return Empty after a failure, which is logged here.
std::wstring Render(const addrinfoW& entry, const WalkTexts& texts) {
  wchar_t text[kAddressTextSize] = {};
  DWORD length = kAddressTextSize;
  if (WSAAddressToStringW(entry.ai_addr, static_cast<DWORD>(entry.ai_addrlen), nullptr, text,
                          &length) == 0) {
    return text;
  }
  const int error = WSAGetLastError();
  LogScope log;
  log.Error(texts.textFailed, error);
  return {};
}

/// Hands the texts of a name's addresses to \p take, in the resolver's order, until it returns
/// false.
template <typename Take>
void WalkAddressTexts(const std::wstring& hostName, const WalkTexts& texts, Take take) {
  LogScope log;
  log.Info(texts.hostName, hostName.c_str());
  PADDRINFOW list = nullptr;
  const int error = GetAddrInfoW(hostName.c_str(), nullptr, nullptr, &list);
  const Host::UniqueAddressList owner(list);
  if (error != 0) {
    log.Error(texts.lookupFailed, error);
    return;
  }
  for (const addrinfoW* entry = list; entry != nullptr; entry = entry->ai_next) {
    log.Info(texts.family, GetAddressFamilyName(entry->ai_addr).c_str());
    const std::wstring text = Render(*entry, texts);
    if (!text.empty() && !take(text)) return;
  }
}

void Append(std::wstring& list, const std::wstring& text) {
  if (!list.empty()) list += L",";
  list += text;
}

/// \return Characters with the terminating zero; 0 after a failure, which is logged here.
DWORD GetFqdnSize() {
  DWORD size = 0;
  const BOOL fits = GetComputerNameExW(ComputerNameDnsFullyQualified, nullptr, &size);
  const DWORD error = GetLastError();
  if (!fits && error == ERROR_MORE_DATA && size > 0) return size;
  LogScope log;
  log.Error(L"GetSystemFqdn: Failed to get size of FQDN: %d", error);
  return 0;
}

}  // namespace

bool IsIpLiteral(const std::wstring& text) {
  in_addr v4{};
  in6_addr v6{};
  return Parse(text, v4) || Parse(text, v6);
}

std::wstring GetSystemFqdn() {
  LogScope log;
  DWORD size = GetFqdnSize();
  if (size == 0) return {};
  const std::unique_ptr<wchar_t[]> name(new (std::nothrow) wchar_t[size]);
  if (!name) {
    log.Error(L"GetSystemFqdn: Failed to alloc memory for FQDN");
    return {};
  }
  if (!GetComputerNameExW(ComputerNameDnsFullyQualified, name.get(), &size)) {
    const DWORD error = GetLastError();
    log.Error(L"GetSystemFqdn: Failed to get FQDN: %d", error);
    return {};
  }
  log.Info(L"GetSystemFqdn: Populating FQDN: [%s]", name.get());
  return name.get();
}

void GetIPAddressesFromHostName(const std::wstring& hostName, std::wstring& ipv4Addresses,
                                std::wstring& ipv6Addresses) {
  ipv4Addresses.clear();
  ipv6Addresses.clear();
  WalkAddressTexts(hostName, kListTexts, [&](const std::wstring& text) {
    LogScope log;
    if (IsUsable<in_addr>(text)) {
      Append(ipv4Addresses, text);
      log.Info(L"GetIPAddressesFromHostName: [%s] is a valid IPv4 address", text.c_str());
    } else if (IsUsable<in6_addr>(text)) {
      Append(ipv6Addresses, text);
      log.Info(L"GetIPAddressesFromHostName: [%s] is a valid IPv6 Address.", text.c_str());
    } else {
      log.Warn(L"GetIPAddressesFromHostName: [%s] is not a valid IP Address.", text.c_str());
    }
    return true;
  });
}

std::wstring GetIPAddressFromHostName(const std::wstring& hostName) {
  // Who asks for a time server gets the last text even if nothing else can be said for it: a name
  // that leads to loopback alone is probed there.
  std::wstring address;
  WalkAddressTexts(hostName, kFirstTexts, [&](const std::wstring& text) {
    LogScope log;
    address = text;
    if (IsUsable<in_addr>(text) || IsUsable<in6_addr>(text)) {
      log.Info(L"GetIPAddressFromHostName: [%s] is a valid IPaddress", text.c_str());
      return false;
    }
    log.Warn(L"GetIPAddressFromHostName: [%s] is not a valid IP Address.", text.c_str());
    return true;
  });
  return address;
}

}  // namespace Halvard::Network
