#include "network/adapters.h"

#include <memory>
#include <mutex>
#include <new>

#include "core/logging.h"
#include "core/property_store.h"
#include "network/name_resolution.h"

namespace Halvard::Network {
namespace {

constexpr ULONG kAdapterFlags = GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST |
                                GAA_FLAG_INCLUDE_PREFIX | GAA_FLAG_INCLUDE_GATEWAYS;
constexpr ULONG kIpv6Enabled = 0x100;

// The records point into one buffer, which is freed as a whole.
using AdapterBuffer = std::unique_ptr<std::byte[]>;

std::mutex gSnapshotMutex;
int gSnapshotHandles = 0;
AdapterBuffer gSnapshot;

IP_ADAPTER_ADDRESSES* AsList(const AdapterBuffer& buffer) {
  return reinterpret_cast<IP_ADAPTER_ADDRESSES*>(buffer.get());
}

/// \return Null after a failure, which is logged here.
AdapterBuffer FetchAdapters() {
  LogScope log;
  ULONG size = 0;
  const ULONG sizeResult = GetAdaptersAddresses(AF_UNSPEC, kAdapterFlags, nullptr, nullptr, &size);
  if (sizeResult != ERROR_BUFFER_OVERFLOW) {
    log.Error(
        L"AdapterAddressesWrapper::AdapterAddressesWrapper: Failed to get the adapter address length, Error:[%ld]",
        sizeResult);
    return nullptr;
  }
  AdapterBuffer buffer(new (std::nothrow) std::byte[size]);
  if (!buffer) {
    log.Error(
        L"AdapterAddressesWrapper::AdapterAddressesWrapper: Failed to allocate memory for GetAdaptersAddresses function");
    return nullptr;
  }
  const ULONG result =
      GetAdaptersAddresses(AF_UNSPEC, kAdapterFlags, nullptr, AsList(buffer), &size);
  if (result != ERROR_SUCCESS) {
    log.Error(
        L"AdapterAddressesWrapper::AdapterAddressesWrapper: GetAdaptersAddresses function returned error, Error [%ld]",
        result);
    return nullptr;
  }
  return buffer;
}

/// Looks through one adapter; an address without a text ends the search in it.
bool HasIPAddress(const IP_ADAPTER_ADDRESSES& adapter, const std::wstring& ipAddress) {
  LogScope log;
  for (const IP_ADAPTER_UNICAST_ADDRESS* entry = adapter.FirstUnicastAddress; entry != nullptr;
       entry = entry->Next) {
    if (entry->Address.lpSockaddr == nullptr ||
        (entry->Flags & IP_ADAPTER_ADDRESS_DNS_ELIGIBLE) == 0) {
      log.Info(
          L"GetAdapterWithMatchingIPAddress: Socket address is null or the IP is not eligible DNS entry.");
      continue;
    }
    const std::wstring text = GetNameInfoWrapper(entry->Address);
    if (text.empty()) {
      log.Error(L"GetAdapterWithMatchingIPAddress: Failed to retrieve IP Address.");
      return false;
    }
    if (text == ipAddress) return true;
  }
  return false;
}

}  // namespace

AdapterAddressesWrapper::AdapterAddressesWrapper() {
  const std::lock_guard lock(gSnapshotMutex);
  ++gSnapshotHandles;
  if (!gSnapshot) gSnapshot = FetchAdapters();
}

AdapterAddressesWrapper::~AdapterAddressesWrapper() {
  const std::lock_guard lock(gSnapshotMutex);
  if (--gSnapshotHandles == 0) gSnapshot.reset();
}

const IP_ADAPTER_ADDRESSES* AdapterAddressesWrapper::Get() const {
  const std::lock_guard lock(gSnapshotMutex);
  return AsList(gSnapshot);
}

const IP_ADAPTER_ADDRESSES* GetAdapterWithMatchingIPAddress(const IP_ADAPTER_ADDRESSES* adapters,
                                                            const std::wstring& ipAddress) {
  LogScope log;
  for (const IP_ADAPTER_ADDRESSES* adapter = adapters; adapter != nullptr;
       adapter = adapter->Next) {
    if (HasIPAddress(*adapter, ipAddress)) {
      log.Info(L"GetAdapterWithMatchingIPAddress: Detected the adapter that matches the FQDN");
      return adapter;
    }
  }
  log.Info(L"GetAdapterWithMatchingIPAddress: No adapter found for the IP [%s]", ipAddress.c_str());
  return nullptr;
}

bool IsIPv6EnabledOnAppNetPnidAdapter(bool& enabled) {
  LogScope log;
  enabled = false;
  const AdapterAddressesWrapper adapters;
  if (adapters.Get() == nullptr) return false;
  const std::wstring ipAddress = gProperties[L"APP_NET_PNID_IP"];
  const IP_ADAPTER_ADDRESSES* adapter = GetAdapterWithMatchingIPAddress(adapters.Get(), ipAddress);
  if (adapter == nullptr) {
    log.Error(
        L"IsIPv6EnabledOnAppNetPnidAdapter: Failed to retrieve the adapter that matches theAppNetPnid IP address.");
    return false;
  }
  enabled = (adapter->Flags & kIpv6Enabled) != 0;
  return true;
}

}  // namespace Halvard::Network
