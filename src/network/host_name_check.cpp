#include "network/host_name_check.h"

#include "core/logging.h"
#include "host/unique_resource.h"
#include "network/address_on_system.h"
#include "network/literal_spelling.h"
#include "network/loopback.h"

namespace Halvard::Network {
namespace {

/// One call of CheckHostNameOrAddr.
struct Check {
  const std::wstring& name;
  bool addressOnly;
  bool ipv4;
  int version;  ///< 4 or 6, for the log.
};

/// \return The resolver's code.
int LookUp(const Check& check, PADDRINFOW& list) {
  addrinfoW hints{};
  hints.ai_family = check.ipv4 ? AF_INET : AF_INET6;
  hints.ai_flags = check.addressOnly ? AI_NUMERICHOST : 0;
  return GetAddrInfoW(check.name.c_str(), nullptr, &hints, &list);
}

void CountAddress(const Check& check, const addrinfoW& entry, AddressCheckCounts& found) {
  ++found.total;
  bool dhcp = false;
  if (!AddressOnSystem(entry.ai_addr, static_cast<int>(entry.ai_addrlen), dhcp)) return;
  ++found.onSystem;
  if (dhcp) ++found.dhcp;
  // The first address is the one that others reach the machine by.
  if (found.total != 1) return;
  found.primaryOnSystem = true;
  if (!IsLoopback(entry.ai_addr)) return;
  LogScope log;
  log.Info(L"CheckHostNameOrAddr: Primary IPv%d address is loopback", check.version);
  found.loopback = true;
}

/// \return False when there are too few addresses, or too many.
bool CheckNumber(const Check& check, std::uint32_t total) {
  LogScope log;
  if (total == 0) {
    log.Error(L"CheckHostNameOrAddr: IPv%d %s was not found", check.version,
              check.addressOnly ? L"addr" : L"addr/name");
    return false;
  }
  if (check.addressOnly && total > 1) {
    log.Error(
        L"CheckHostNameOrAddr: Received multiple IPv%d addresses for an address-only check of %ws: %d",
        check.version, check.name.c_str(), total);
    return false;
  }
  return true;
}

void ReportShare(const Check& check, const AddressCheckCounts& found) {
  LogScope log;
  if (found.onSystem == 0) {
    log.Error(L"CheckHostNameOrAddr: None of the %u IPv%d addresses are on the system", found.total,
              check.version);
  } else if (found.onSystem == found.total) {
    log.Info(L"CheckHostNameOrAddr: IPv%d is consistent and usable", check.version);
  } else if (found.primaryOnSystem) {
    log.Warn(L"CheckHostNameOrAddr: Only %u of %u IPv%d addresses are on the system",
             found.onSystem, found.total, check.version);
  } else {
    log.Error(L"CheckHostNameOrAddr: Primary lookup IPv%d address was not found on the system",
              check.version);
  }
}

void Report(const Check& check, const AddressCheckCounts& found) {
  LogScope log;
  ReportShare(check, found);
  if (found.onSystem > 0 && check.addressOnly) {
    log.Warn(L"CheckHostNameOrAddr: address used instead of name");
  }
  if (found.dhcp > 0) {
    log.Warn(L"CheckHostNameOrAddr: %d of the IPv%d address(es) were assigned by DHCP", found.dhcp,
             check.version);
  }
}

}  // namespace

bool CheckHostNameOrAddr(const std::wstring& name, bool addressOnly, bool ipv4,
                         AddressCheckCounts* counts) {
  LogScope log;
  const Check check{name, addressOnly, ipv4, ipv4 ? 4 : 6};
  PADDRINFOW list = nullptr;
  const int error = LookUp(check, list);
  const Host::UniqueAddressList owner(list);
  if (error != 0) {
    log.Info(L"CheckHostNameOrAddr: Failed to lookup \"%ws\" as an IPv%d %s: %d", name.c_str(),
             check.version, addressOnly ? L"address-only" : L"address or name", error);
    return false;
  }
  // It was found, but nothing confirms it: the caller sees an address that can't be used.
  if (addressOnly && !IsCanonicalAddress(name, ipv4)) return true;
  AddressCheckCounts found;
  for (const addrinfoW* entry = list; entry != nullptr; entry = entry->ai_next) {
    CountAddress(check, *entry, found);
  }
  log.Info(L"CheckHostNameOrAddr: %u of %u IPv%d addresses are on the system (primary is %ws)",
           found.onSystem, found.total, check.version,
           found.primaryOnSystem ? L"okay" : L"invalid");
  if (!CheckNumber(check, found.total)) return false;
  Report(check, found);
  if (counts != nullptr) counts->Add(found);
  return true;
}

}  // namespace Halvard::Network
