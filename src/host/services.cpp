#include "host/services.h"

#include <algorithm>
#include <utility>

#include "core/logging.h"
#include "host/unique_resource.h"

namespace Halvard::Host {
namespace {

/// Of the service, in milliseconds.
constexpr DWORD kLongestWithoutProgress = 30'000;

constexpr DWORD kShortestPoll = 1'000;
constexpr DWORD kLongestPoll = 10'000;

/// A service that is asked for its state and started. Nothing here stops one.
constexpr DWORD kStartAccess = SERVICE_QUERY_STATUS | SERVICE_ENUMERATE_DEPENDENTS | SERVICE_START;

UniqueServiceHandle OpenToStart(const std::wstring& name, LogScope& log) {
  const UniqueServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
  if (!manager) {
    const DWORD error = GetLastError();
    log.Info(L"StartServiceW: OpenSCManager failed. Error: %d", error);
    return UniqueServiceHandle();
  }
  UniqueServiceHandle service(OpenServiceW(manager.Get(), name.c_str(), kStartAccess));
  if (service) return service;
  const DWORD error = GetLastError();
  log.Info(L"StartServiceW: OpenService failed. Error: %d", error);
  if (error == ERROR_SERVICE_DOES_NOT_EXIST) log.Info(L"StartServiceW: Service does not exist");
  return UniqueServiceHandle();
}

bool QueryStatus(SC_HANDLE service, SERVICE_STATUS_PROCESS& status, LogScope& log) {
  DWORD needed = 0;
  if (QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<LPBYTE>(&status),
                           sizeof status, &needed)) {
    return true;
  }
  const DWORD error = GetLastError();
  log.Info(L"StartServiceW: QueryServiceStatusEx failed. Error: %d", error);
  return false;
}

/// Waits until the service runs or has made no progress for too long.
/// \param[in,out] status  As it was before the start, as it is in the end.
void AwaitStart(SC_HANDLE service, SERVICE_STATUS_PROCESS& status, LogScope& log) {
  // Tick counts wrap after 49 days; their difference doesn't.
  DWORD progressAt = GetTickCount();
  DWORD checkPoint = status.dwCheckPoint;
  while (status.dwCurrentState != SERVICE_RUNNING) {
    Sleep(std::clamp(status.dwWaitHint / 10, kShortestPoll, kLongestPoll));
    if (!QueryStatus(service, status, log)) return;
    if (status.dwCheckPoint > checkPoint) {
      progressAt = GetTickCount();
      checkPoint = status.dwCheckPoint;
    } else if (GetTickCount() - progressAt > kLongestWithoutProgress) {
      // A service that has just come up is none to give up: the state is looked at behind the loop.
      log.Info(L"StartServiceW: Service did not start within the timeout; breaking");
      return;
    }
  }
}

/// \return The size of the configuration in bytes; 0 after a failure, which is logged.
DWORD AskConfigurationSize(SC_HANDLE service, const std::wstring& name, LogScope& log) {
  DWORD size = 0;
  if (::QueryServiceConfigW(service, nullptr, 0, &size)) {
    log.Error(L"QueryServiceConfigW: QueryServiceConfig call passed with NULL buffer.");
    return 0;
  }
  const DWORD error = GetLastError();
  if (error == ERROR_INSUFFICIENT_BUFFER) return size;
  log.Error(
      L"QueryServiceConfigW: Failed to get the size of the buffer required to retrieve the service config for %s service. Error code: %i.",
      name.c_str(), error);
  return 0;
}

UniqueServiceHandle OpenToConfigure(const std::wstring& name, LogScope& log) {
  const UniqueServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
  if (!manager) {
    const DWORD error = GetLastError();
    log.Error(L"QueryServiceConfigW: OpenSCManager failed. Error code: %i.", error);
    return UniqueServiceHandle();
  }
  UniqueServiceHandle service(OpenServiceW(manager.Get(), name.c_str(), SERVICE_QUERY_CONFIG));
  if (service) return service;
  const DWORD error = GetLastError();
  log.Error(L"QueryServiceConfigW: OpenService failed for %s service. Error code: %i.",
            name.c_str(), error);
  return UniqueServiceHandle();
}

}  // namespace

bool QueryServiceConfigW(const std::wstring& name, ServiceConfiguration& configuration) {
  LogScope log;
  const UniqueServiceHandle service = OpenToConfigure(name, log);
  if (!service) return false;
  DWORD size = AskConfigurationSize(service.Get(), name, log);
  if (size == 0) return false;
  log.Debug(
      L"QueryServiceConfigW: Buffer size required to retrieve service account info is %i bytes",
      size);
  std::unique_ptr<std::byte[]> block(new std::byte[size]());
  if (!::QueryServiceConfigW(service.Get(), reinterpret_cast<QUERY_SERVICE_CONFIGW*>(block.get()),
                             size, &size)) {
    const DWORD error = GetLastError();
    log.Error(
        L"QueryServiceConfigW: Failed to retrieve the service config for %s service. Error code: %i.",
        name.c_str(), error);
    return false;
  }
  configuration = ServiceConfiguration(std::move(block));
  log.Info(L"QueryServiceConfigW: Successfully retrieved the Service Config for %s service",
           name.c_str());
  return true;
}

bool StartServiceW(const std::wstring& name) {
  LogScope log;
  if (name.empty()) return false;
  const UniqueServiceHandle service = OpenToStart(name, log);
  if (!service) return false;
  SERVICE_STATUS_PROCESS status = {};
  if (!QueryStatus(service.Get(), status, log)) return false;
  if (status.dwCurrentState == SERVICE_RUNNING) {
    log.Info(L"StartServiceW: Service is already running.");
    return true;
  }
  log.Info(L"StartServiceW: Attempting to start service '%s'...", name.c_str());
  if (!::StartServiceW(service.Get(), 0, nullptr)) {
    const DWORD error = GetLastError();
    log.Info(L"StartServiceW: StartService failed (%d)", error);
    return false;
  }
  log.Info(L"StartServiceW: Service start pending...");
  AwaitStart(service.Get(), status, log);
  if (status.dwCurrentState != SERVICE_RUNNING) {
    log.Info(L"StartServiceW: Service not started. Current state: %d", status.dwCurrentState);
    return false;
  }
  log.Info(L"StartServiceW: Service started successfully");
  return true;
}

std::vector<std::wstring> StartServices(const std::vector<std::wstring>& names) {
  LogScope log;
  std::vector<std::wstring> started;
  for (const std::wstring& name : names) {
    if (name.empty()) continue;
    log.Info(L"StartServices: Starting service '%s'", name.c_str());
    // A later service needs the ones before it.
    if (!StartServiceW(name)) {
      log.Info(L"StartServices: Failed to start service '%s'", name.c_str());
      break;
    }
    log.Info(L"StartServices: Successfully started service '%s'", name.c_str());
    started.push_back(name);
  }
  return started;
}

}  // namespace Halvard::Host
