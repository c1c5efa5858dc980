#include "network/network_choice.h"

#include <optional>
#include <sstream>

#include "core/console.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "core/start_failure.h"
#include "core/text.h"
#include "network/adapter_snapshot.h"
#include "network/adapters.h"
#include "network/name_resolution.h"

namespace Halvard::Network {
namespace {

constexpr int kTries = 3;

using Addresses = std::vector<std::wstring>;

bool Migrate(const std::wstring& address) {
  LogScope log;
  gProperties[L"APP_NET_PNID_IP"] = address;
  log.Info(L"CollectNetworkToMigrate: Network of [%s] will be migrated.", address.c_str());
  return true;
}

void ShowAddresses(const Addresses& addresses) {
  PrintLine();
  PrintLine(GetLocalizedString(1212));
  for (std::size_t i = 0; i < addresses.size(); ++i) {
    PrintLine(L"   " + std::to_wstring(i + 1) + L") " + addresses[i]);
  }
}

/// \param line  What the operator typed. What follows the number doesn't matter.
/// \return The position that it names, from 0; nothing when it names none of \p count.
std::optional<std::size_t> ReadPosition(const std::wstring& line, std::size_t count) {
  long long number = 0;
  std::wistringstream(line) >> number;
  if (number < 1 || static_cast<unsigned long long>(number) > count) return std::nullopt;
  return static_cast<std::size_t>(number - 1);
}

bool AskOperator(const Addresses& addresses) {
  const std::wstring count = std::to_wstring(addresses.size());
  ShowAddresses(addresses);
  for (int attempt = 0; attempt < kTries; ++attempt) {
    Print(GetLocalizedString(1213, count));
    if (const auto position = ReadPosition(ReadLine(), addresses.size())) {
      return Migrate(addresses[*position]);
    }
    (void)ShowAndStoreError(1211, {count});
  }
  return false;
}

bool TakeGivenAddress(const Addresses& addresses, const std::wstring& given) {
  for (const std::wstring& address : addresses) {
    if (address == given) return Migrate(address);
  }
  LogScope log;
  const std::wstring english = ShowAndStoreError(1210, {JoinStrings(addresses, L", ")});
  log.Info(L"CollectNetworkToMigrate: %s", english.c_str());
  return false;
}

bool RefuseToGuess() {
  ReportFatal(L"CollectNetworkToMigrate: %s", 1214);
  return false;
}

}  // namespace

std::vector<std::wstring> GetDnsRoutableAddresses() {
  const AdapterAddressesWrapper adapters;
  std::wstring ipv4;
  std::wstring ipv6;
  GetIPAddressesFromHostName(gProperties[L"APP_NET_PNID"], ipv4, ipv6);
  // The older line of products is migrated on IPv4 alone.
  if (gProperties[L"RIMSAWIN_INSTALLED"] != L"1") ipv6.clear();
  Addresses addresses = SplitString(ipv4 + L"," + ipv6, L',');
  std::erase_if(addresses, [&](const std::wstring& address) {
    return GetAdapterWithMatchingIPAddress(adapters.Get(), address) == nullptr;
  });
  return addresses;
}

bool CollectNetworkToMigrate(const UserInput& input, int argc) {
  LogScope log;
  const Addresses addresses = GetDnsRoutableAddresses();
  if (addresses.empty()) {
    log.Error(
        L"CollectNetworkToMigrate: Failed to collect network settings as there is no dns routableIP address on this machine");
    (void)ShowAndStoreError(1064);
    return false;
  }
  gProperties[L"APP_NET_PNID_IP"] = addresses.front();
  if (!IsIpSelectionRequiredForMigration(addresses)) return Migrate(addresses.front());
  if (argc == 1) return AskOperator(addresses);
  if (!input.hvIp.empty()) return TakeGivenAddress(addresses, input.hvIp);
  return RefuseToGuess();
}

}  // namespace Halvard::Network
