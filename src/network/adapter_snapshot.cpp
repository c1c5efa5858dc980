#include "network/adapter_snapshot.h"

#include <cstddef>
#include <mutex>
#include <new>

#include "core/logging.h"
#include "network/adapter_buffer.h"

namespace Halvard::Network {
namespace {

constexpr ULONG kAdapterFlags = GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST |
                                GAA_FLAG_INCLUDE_PREFIX | GAA_FLAG_INCLUDE_GATEWAYS;

std::mutex gSnapshotMutex;
int gSnapshotHandles = 0;
AdapterBuffer gSnapshot;

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

}  // namespace Halvard::Network
