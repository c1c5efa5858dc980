// The service manager, over the services of the description and their states on disk.
#include <cstring>
#include <memory>
#include <string>

#include "api/failure.h"
#include "machine/call.h"
#include "machine/handles.h"
#include "machine/machine.h"
#include "process/service_handles.h"
#include "windows.h"

namespace {

using Lab::Fail;
using Lab::FailWithNull;

constexpr DWORD kSupportedRights =
    SERVICE_QUERY_CONFIG | SERVICE_QUERY_STATUS | SERVICE_ENUMERATE_DEPENDENTS | SERVICE_START;

constexpr DWORD kDriver = 0x1;
constexpr DWORD kOwnProcess = 0x10;
constexpr DWORD kNormalErrors = 1;
constexpr DWORD kDisabled = 4;

SC_HANDLE AddHandle(std::shared_ptr<Lab::Object> object) {
  return static_cast<SC_HANDLE>(Lab::Handles().Add(std::move(object)));
}

std::shared_ptr<Lab::ServiceObject> FindService(SC_HANDLE service) {
  return Lab::Handles().FindAs<Lab::ServiceObject>(service);
}

std::wstring NameOf(SC_HANDLE handle) {
  const auto service = FindService(handle);
  return service == nullptr ? std::wstring() : service->Name();
}

/// \return 0, or the error for a handle that isn't a service's or lacks a right.
DWORD CheckHandle(const std::shared_ptr<Lab::ServiceObject>& service, DWORD right) {
  if (service == nullptr) return ERROR_INVALID_HANDLE;
  return service->Grants(right) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

DWORD TypeOf(const Lab::Service& service) { return service.account ? kOwnProcess : kDriver; }

/// A block with a configuration and, behind it, its texts.
class ConfigurationBlock {
 public:
  explicit ConfigurationBlock(const Lab::Service& service) : service_(service) {}

  DWORD Size() const {
    const std::size_t characters = service_.program.size() + 1 + kNothing.size() + 1 +
                                   kNothing.size() + 1 + service_.displayName.size() + 1 +
                                   (service_.account ? service_.account->size() + 1 : 0);
    return static_cast<DWORD>(sizeof(QUERY_SERVICE_CONFIGW) + characters * sizeof(WCHAR));
  }

  void WriteTo(LPQUERY_SERVICE_CONFIGW configuration) const {
    auto* at = reinterpret_cast<WCHAR*>(configuration + 1);
    const auto add = [&](const std::wstring& text) {
      std::memcpy(at, text.c_str(), (text.size() + 1) * sizeof(WCHAR));
      return std::exchange(at, at + text.size() + 1);
    };
    configuration->dwServiceType = TypeOf(service_);
    configuration->dwStartType = service_.startType;
    configuration->dwErrorControl = kNormalErrors;
    configuration->dwTagId = 0;
    configuration->lpBinaryPathName = add(service_.program);
    configuration->lpLoadOrderGroup = add(kNothing);
    configuration->lpDependencies = add(kNothing);
    configuration->lpServiceStartName = service_.account ? add(*service_.account) : nullptr;
    configuration->lpDisplayName = add(service_.displayName);
  }

 private:
  const std::wstring kNothing;
  const Lab::Service& service_;
};

}  // namespace

SC_HANDLE WINAPI OpenSCManagerW(LPCWSTR machine, LPCWSTR database, DWORD access) {
  const Lab::Call call("OpenSCManagerW");
  if (call.FailsByPlan()) return nullptr;
  LAB_SUPPORTS(machine == nullptr && database == nullptr && access == SC_MANAGER_ALL_ACCESS);
  if (!Lab::TheMachine().Describe().UserIsAdministrator()) return FailWithNull(ERROR_ACCESS_DENIED);
  return AddHandle(std::make_shared<Lab::ServiceManagerObject>());
}

SC_HANDLE WINAPI OpenServiceW(SC_HANDLE manager, LPCWSTR name, DWORD access) {
  LAB_SUPPORTS(name != nullptr);
  const Lab::Call call("OpenServiceW", name);
  if (call.FailsByPlan()) return nullptr;
  LAB_SUPPORTS((access & ~kSupportedRights) == 0);
  const std::wstring text = name;
  if (Lab::Handles().FindAs<Lab::ServiceManagerObject>(manager) == nullptr) {
    return FailWithNull(ERROR_INVALID_HANDLE);
  }
  if (text.empty() || text.find_first_of(L"\\/") != std::wstring::npos) {
    return FailWithNull(ERROR_INVALID_NAME);
  }
  const Lab::Services& services = Lab::TheMachine().Describe().services;
  const auto found = services.find(text);
  if (found == services.end()) return FailWithNull(ERROR_SERVICE_DOES_NOT_EXIST);
  return AddHandle(std::make_shared<Lab::ServiceObject>(found->first, found->second, access));
}

BOOL WINAPI QueryServiceConfigW(SC_HANDLE service, LPQUERY_SERVICE_CONFIGW configuration,
                                DWORD size, LPDWORD needed) {
  const Lab::Call call("QueryServiceConfigW", NameOf(service));
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(needed != nullptr);
  const auto object = FindService(service);
  if (const DWORD error = CheckHandle(object, SERVICE_QUERY_CONFIG)) return Fail(error);
  const ConfigurationBlock block(object->Described());
  *needed = block.Size();
  if (size < block.Size()) return Fail(ERROR_INSUFFICIENT_BUFFER);
  block.WriteTo(configuration);
  return TRUE;
}

BOOL WINAPI QueryServiceStatusEx(SC_HANDLE service, SC_STATUS_TYPE level, LPBYTE buffer, DWORD size,
                                 LPDWORD needed) {
  const Lab::Call call("QueryServiceStatusEx", NameOf(service));
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(needed != nullptr);
  if (level != SC_STATUS_PROCESS_INFO) return Fail(ERROR_INVALID_LEVEL);
  *needed = 0;
  if (buffer == nullptr || size < sizeof(SERVICE_STATUS_PROCESS)) {
    *needed = sizeof(SERVICE_STATUS_PROCESS);
    return Fail(ERROR_INSUFFICIENT_BUFFER);
  }
  const auto object = FindService(service);
  if (const DWORD error = CheckHandle(object, SERVICE_QUERY_STATUS)) return Fail(error);
  const Lab::ServiceStatus status =
      Lab::TheMachine().ServiceStates().StatusOf(object->Name(), object->Described());
  SERVICE_STATUS_PROCESS told = {};
  told.dwServiceType = TypeOf(object->Described());
  told.dwCurrentState = static_cast<DWORD>(status.state);
  told.dwWin32ExitCode = status.exitCode;
  told.dwCheckPoint = status.checkPoint;
  told.dwWaitHint = status.waitHint;
  std::memcpy(buffer, &told, sizeof told);
  return TRUE;
}

BOOL WINAPI StartServiceW(SC_HANDLE service, DWORD argumentCount, LPCWSTR* arguments) {
  const Lab::Call call("StartServiceW", NameOf(service));
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(argumentCount == 0 && arguments == nullptr);
  const auto object = FindService(service);
  if (const DWORD error = CheckHandle(object, SERVICE_START)) return Fail(error);
  const Lab::Service& described = object->Described();
  Lab::ServiceStates& states = Lab::TheMachine().ServiceStates();
  // Also one that is on its way up or down.
  if (states.StatusOf(object->Name(), described).state != Lab::ServiceState::kStopped) {
    return Fail(ERROR_SERVICE_ALREADY_RUNNING);
  }
  if (described.startType == kDisabled) return Fail(ERROR_SERVICE_DISABLED);
  if (described.startError != ERROR_SUCCESS) return Fail(described.startError);
  return states.Start(object->Name(), described) ? TRUE : Fail(ERROR_SERVICE_ALREADY_RUNNING);
}

BOOL WINAPI CloseServiceHandle(SC_HANDLE object) {
  const Lab::Call call("CloseServiceHandle");
  if (call.FailsByPlan()) return FALSE;
  const bool isOurs = Lab::Handles().FindAs<Lab::ServiceControlObject>(object) != nullptr;
  return isOurs && Lab::Handles().Close(object) ? TRUE : Fail(ERROR_INVALID_HANDLE);
}
