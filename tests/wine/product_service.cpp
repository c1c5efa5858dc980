// A service of the product on machines of Wine: runs until it is told to stop. With the argument
// "states" it is no service but prints the name and the state of each that the machine has.
#include <windows.h>

#include <cstddef>
#include <cstdio>
#include <string_view>
#include <vector>

namespace {

SERVICE_STATUS_HANDLE gService = nullptr;

void Report(DWORD state) {
  SERVICE_STATUS status = {};
  status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  status.dwCurrentState = state;
  status.dwControlsAccepted = SERVICE_ACCEPT_STOP;
  SetServiceStatus(gService, &status);
}

DWORD WINAPI Control(DWORD control, DWORD, void*, void*) {
  if (control == SERVICE_CONTROL_STOP) Report(SERVICE_STOPPED);
  return NO_ERROR;
}

void WINAPI Serve(DWORD, LPWSTR* arguments) {
  gService = RegisterServiceCtrlHandlerExW(arguments[0], Control, nullptr);
  Report(SERVICE_RUNNING);
}

int PrintStates() {
  const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ENUMERATE_SERVICE);
  DWORD size = 0;
  DWORD count = 0;
  EnumServicesStatusExW(manager, SC_ENUM_PROCESS_INFO, SERVICE_WIN32, SERVICE_STATE_ALL, nullptr, 0,
                        &size, &count, nullptr, nullptr);
  std::vector<std::byte> block(size);
  if (!EnumServicesStatusExW(manager, SC_ENUM_PROCESS_INFO, SERVICE_WIN32, SERVICE_STATE_ALL,
                             reinterpret_cast<LPBYTE>(block.data()), size, &size, &count, nullptr,
                             nullptr)) {
    return 1;
  }
  const auto* const services = reinterpret_cast<const ENUM_SERVICE_STATUS_PROCESSW*>(block.data());
  for (DWORD i = 0; i < count; ++i) {
    const DWORD state = services[i].ServiceStatusProcess.dwCurrentState;
    const char* const text = state == SERVICE_RUNNING   ? "running"
                             : state == SERVICE_STOPPED ? "stopped"
                                                        : "between";
    std::printf("%ls %s\n", services[i].lpServiceName, text);
  }
  CloseServiceHandle(manager);
  return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc == 2 && argv[1] == std::wstring_view(L"states")) return PrintStates();
  wchar_t name[] = L"";
  const SERVICE_TABLE_ENTRYW table[] = {{name, Serve}, {nullptr, nullptr}};
  return StartServiceCtrlDispatcherW(table) ? 0 : 1;
}
