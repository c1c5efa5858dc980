// The Windows side of the conformance tests.
#include <array>

#include "host/unique_resource.h"
#include "started_process.h"
#include "support.h"

namespace {

using Halvard::Host::UniqueServiceHandle;

/// \return The code as the installer's part of the registry writes it: without signs, the first
///         three groups turned round whole, the others in pairs.
std::wstring PackCode(const std::wstring& code) {
  constexpr std::array<std::size_t, 32> kOrder = {8,  7,  6,  5,  4,  3,  2,  1,  13, 12, 11,
                                                  10, 18, 17, 16, 15, 21, 20, 23, 22, 26, 25,
                                                  28, 27, 30, 29, 32, 31, 34, 33, 36, 35};
  std::wstring packed;
  for (const std::size_t at : kOrder) packed += code[at];
  return packed;
}

void SetText(const std::wstring& key, const wchar_t* name, const std::wstring& text) {
  const LSTATUS result =
      RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, REG_SZ, text.c_str(),
                      static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  ASSERT_EQ(result, ERROR_SUCCESS);
}

void DeleteServiceNamed(SC_HANDLE manager, const std::wstring& name) {
  const UniqueServiceHandle service(OpenServiceW(manager, name.c_str(), DELETE));
  if (service) DeleteService(service.Get());
}

}  // namespace

bool WindowsApi::OnWine() {
  return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

void WindowsApi::InstallProduct(const std::wstring& productCode, const std::wstring& upgradeCode,
                                const std::wstring& version) {
  const std::wstring installer = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\";
  const std::wstring product = PackCode(productCode);
  SetText(installer + L"UpgradeCodes\\" + PackCode(upgradeCode), product.c_str(), L"");
  SetText(installer + L"UserData\\S-1-5-18\\Products\\" + product + L"\\InstallProperties",
          L"DisplayVersion", version);
  SetText(installer + L"UserData\\S-1-5-18\\Products\\" + product + L"\\InstallProperties",
          L"WindowsInstaller", L"1");
  SetText(L"SOFTWARE\\Classes\\Installer\\Products\\" + product, L"ProductName", L"Conformance");
}

WindowsApi::RegisteredService::RegisteredService(Kind kind) {
  const UniqueServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
  // A run that was ended by force leaves it behind.
  DeleteServiceNamed(manager.Get(), name);
  const DWORD start = kind == kDisabled ? SERVICE_DISABLED : SERVICE_DEMAND_START;
  const UniqueServiceHandle service(
      CreateServiceW(manager.Get(), name.c_str(), displayName.c_str(), SERVICE_ALL_ACCESS,
                     SERVICE_WIN32_OWN_PROCESS, start, SERVICE_ERROR_NORMAL, program.c_str(),
                     nullptr, nullptr, nullptr, L".\\conformance", nullptr));
  EXPECT_TRUE(service);
}

WindowsApi::RegisteredService::~RegisteredService() {
  const UniqueServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS));
  DeleteServiceNamed(manager.Get(), name);
}

bool WindowsApi::KnowConformanceNames() {
  return GetEnvironmentVariableW(L"CONFORMANCE_NAMES", nullptr, 0) != 0;
}

const char WindowsApi::kEchoTwoArguments[] = "@echo %1 %2\r\n";
const char WindowsApi::kExitWithSeven[] = "@exit /b 7\r\n";

std::wstring WindowsApi::ChildProgram() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  const std::wstring own = path;
  return own.substr(0, own.rfind(L'\\') + 1) + L"conformance child\\conformance_child.exe";
}

bool WindowsApi::ProcessRuns(unsigned long processId) {
  const Halvard::Host::UniqueHandle process(OpenProcess(SYNCHRONIZE, FALSE, processId));
  return process && WaitForSingleObject(process.Get(), 0) == WAIT_TIMEOUT;
}

bool WindowsApi::RunsAfterAMoment(unsigned long processId) {
  const Halvard::Host::UniqueHandle process(OpenProcess(SYNCHRONIZE, FALSE, processId));
  return process && WaitForSingleObject(process.Get(), 10'000) == WAIT_TIMEOUT;
}

void WindowsApi::EndProcess(unsigned long processId) {
  const Halvard::Host::UniqueHandle process(OpenProcess(PROCESS_TERMINATE, FALSE, processId));
  TerminateProcess(process.Get(), 1);
}
