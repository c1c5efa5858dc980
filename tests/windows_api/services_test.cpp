// The service manager: services that are asked for what they are and started.
#include <cstddef>
#include <cwchar>
#include <cwctype>
#include <memory>
#include <string>

#include "host/unique_resource.h"
#include "scratch_folder.h"
#include "support.h"

namespace {

using Halvard::Host::UniqueServiceHandle;
using WindowsApi::kSpoiled;
using WindowsApi::LastError;
using WindowsApi::RegisteredService;
using WindowsApi::SpoilLastError;

constexpr DWORD kStatusBytes = 36;

class Service : public testing::Test {
 protected:
  UniqueServiceHandle Open(const wchar_t* name, DWORD access) {
    return UniqueServiceHandle(OpenServiceW(manager_.Get(), name, access));
  }
  UniqueServiceHandle Open(const RegisteredService& service, DWORD access) {
    return Open(service.name.c_str(), access);
  }

  const UniqueServiceHandle manager_{OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS)};
};

using ServiceManager = Service;

TEST_F(ServiceManager, HasAHandleThatIsClosedOnce) {
  ASSERT_TRUE(manager_);
  const SC_HANDLE another = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  SpoilLastError();
  EXPECT_NE(CloseServiceHandle(another), 0);
  EXPECT_EQ(CloseServiceHandle(nullptr), 0);
  EXPECT_EQ(LastError(), 6u);
}

TEST_F(ServiceManager, HasNoHandleOfTheSystem) {
  EXPECT_EQ(CloseHandle(manager_.Get()), 0);
  EXPECT_EQ(LastError(), 6u);
}

using ServiceName = Service;

TEST_F(ServiceName, IsAKeyNameInAnyCase) {
  const RegisteredService service;
  std::wstring name = service.name;
  for (wchar_t& letter : name) letter = static_cast<wchar_t>(std::towupper(letter));
  EXPECT_TRUE(Open(name.c_str(), SERVICE_QUERY_CONFIG));
}

TEST_F(ServiceName, IsNoDisplayName) {
  const RegisteredService service;
  EXPECT_FALSE(Open(service.displayName.c_str(), SERVICE_QUERY_CONFIG));
  EXPECT_EQ(LastError(), 1060u);
}

TEST_F(ServiceName, OfNobodyIsNotFound) {
  EXPECT_FALSE(Open(L"nobody of this name", SERVICE_QUERY_CONFIG));
  EXPECT_EQ(LastError(), 1060u);
}

TEST_F(ServiceName, HasNoSlashesAndIsNotEmpty) {
  for (const wchar_t* name : {L"", L"a/b", L"a\\b"}) {
    SpoilLastError();
    EXPECT_FALSE(Open(name, SERVICE_QUERY_CONFIG));
    EXPECT_EQ(LastError(), 123u);
  }
}

class ServiceConfiguration : public Service {
 protected:
  /// \return The bytes that the configuration takes.
  static DWORD Size(SC_HANDLE service) {
    DWORD needed = 0;
    EXPECT_EQ(QueryServiceConfigW(service, nullptr, 0, &needed), 0);
    EXPECT_EQ(LastError(), 122u);
    return needed;
  }
};

TEST_F(ServiceConfiguration, TextsLieInTheBlock) {
  const RegisteredService service;
  const UniqueServiceHandle handle = Open(service, SERVICE_QUERY_CONFIG);
  DWORD size = Size(handle.Get());
  ASSERT_GT(size, sizeof(QUERY_SERVICE_CONFIGW));
  const std::unique_ptr<std::byte[]> block(new std::byte[size]);
  auto* const configuration = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(block.get());
  ASSERT_NE(QueryServiceConfigW(handle.Get(), configuration, size, &size), 0);
  EXPECT_STREQ(configuration->lpBinaryPathName, service.program.c_str());
  EXPECT_STREQ(configuration->lpDisplayName, service.displayName.c_str());
  EXPECT_STREQ(configuration->lpServiceStartName, L".\\conformance");
  EXPECT_STREQ(configuration->lpDependencies, L"");
  EXPECT_EQ(configuration->dwServiceType, 0x10u);
  EXPECT_EQ(configuration->dwStartType, 3u);
  for (const wchar_t* text : {configuration->lpBinaryPathName, configuration->lpDisplayName,
                              configuration->lpServiceStartName}) {
    const auto* const at = reinterpret_cast<const std::byte*>(text);
    EXPECT_TRUE(at > block.get() && at < block.get() + size);
  }
}

TEST_F(ServiceConfiguration, OneByteLessIsTooFew) {
  const RegisteredService service;
  const UniqueServiceHandle handle = Open(service, SERVICE_QUERY_CONFIG);
  DWORD size = Size(handle.Get());
  const std::unique_ptr<std::byte[]> block(new std::byte[size]);
  EXPECT_EQ(QueryServiceConfigW(handle.Get(), reinterpret_cast<QUERY_SERVICE_CONFIGW*>(block.get()),
                                size - 1, &size),
            0);
  EXPECT_EQ(LastError(), 122u);
}

TEST_F(ServiceConfiguration, NeedsItsRight) {
  const RegisteredService service;
  const UniqueServiceHandle handle = Open(service, SERVICE_QUERY_STATUS);
  DWORD needed = 0;
  EXPECT_EQ(QueryServiceConfigW(handle.Get(), nullptr, 0, &needed), 0);
  EXPECT_EQ(LastError(), 5u);
}

using ServiceState = Service;

TEST_F(ServiceState, OfAStoppedServiceTellsItWasNeverStarted) {
  const RegisteredService service;
  const UniqueServiceHandle handle = Open(service, SERVICE_QUERY_STATUS);
  SERVICE_STATUS_PROCESS status = {};
  DWORD needed = 77;
  ASSERT_NE(QueryServiceStatusEx(handle.Get(), SC_STATUS_PROCESS_INFO,
                                 reinterpret_cast<LPBYTE>(&status), sizeof status, &needed),
            0);
  EXPECT_EQ(needed, 0u);
  EXPECT_EQ(status.dwServiceType, 0x10u);
  EXPECT_EQ(status.dwCurrentState, DWORD{SERVICE_STOPPED});
  EXPECT_EQ(status.dwWin32ExitCode, 1077u);
  EXPECT_EQ(status.dwCheckPoint, 0u);
  EXPECT_EQ(status.dwWaitHint, 0u);
}

TEST_F(ServiceState, NeedsRoomAndTellsTheSize) {
  const RegisteredService service;
  const UniqueServiceHandle handle = Open(service, SERVICE_QUERY_STATUS);
  BYTE buffer[kStatusBytes] = {};
  for (const auto& [place, size] :
       {std::pair{buffer, kStatusBytes - 1}, {static_cast<BYTE*>(nullptr), DWORD{0}}}) {
    DWORD needed = 0;
    EXPECT_EQ(QueryServiceStatusEx(handle.Get(), SC_STATUS_PROCESS_INFO, place, size, &needed), 0);
    EXPECT_EQ(LastError(), 122u);
    EXPECT_EQ(needed, kStatusBytes);
  }
}

TEST_F(ServiceState, HasOneLevelOfDetail) {
  const RegisteredService service;
  const UniqueServiceHandle handle = Open(service, SERVICE_QUERY_STATUS);
  BYTE buffer[kStatusBytes] = {};
  DWORD needed = 0;
  EXPECT_EQ(QueryServiceStatusEx(handle.Get(), static_cast<SC_STATUS_TYPE>(1), buffer, kStatusBytes,
                                 &needed),
            0);
  EXPECT_EQ(LastError(), 124u);
}

TEST_F(ServiceState, NeedsItsRight) {
  const RegisteredService service;
  const UniqueServiceHandle handle = Open(service, SERVICE_QUERY_CONFIG);
  BYTE buffer[kStatusBytes] = {};
  DWORD needed = 0;
  EXPECT_EQ(
      QueryServiceStatusEx(handle.Get(), SC_STATUS_PROCESS_INFO, buffer, kStatusBytes, &needed), 0);
  EXPECT_EQ(LastError(), 5u);
}

using ServiceStart = Service;

TEST_F(ServiceStart, WithoutItsProgramFails) {
  const RegisteredService service;
  const UniqueServiceHandle handle = Open(service, SERVICE_START);
  EXPECT_EQ(StartServiceW(handle.Get(), 0, nullptr), 0);
  EXPECT_EQ(LastError(), 2u);
}

TEST_F(ServiceStart, OfADisabledServiceFails) {
  const RegisteredService service(RegisteredService::kDisabled);
  const UniqueServiceHandle handle = Open(service, SERVICE_START);
  EXPECT_EQ(StartServiceW(handle.Get(), 0, nullptr), 0);
  EXPECT_EQ(LastError(), 1058u);
}

TEST_F(ServiceStart, NeedsItsRight) {
  const RegisteredService service;
  const UniqueServiceHandle handle = Open(service, SERVICE_QUERY_STATUS);
  EXPECT_EQ(StartServiceW(handle.Get(), 0, nullptr), 0);
  EXPECT_EQ(LastError(), 5u);
}

TEST_F(ServiceStart, OfARunningServiceFails) {
  const UniqueServiceHandle handle = Open(L"EventLog", SERVICE_START | SERVICE_QUERY_STATUS);
  ASSERT_TRUE(handle);
  SERVICE_STATUS_PROCESS status = {};
  DWORD needed = 0;
  ASSERT_NE(QueryServiceStatusEx(handle.Get(), SC_STATUS_PROCESS_INFO,
                                 reinterpret_cast<LPBYTE>(&status), sizeof status, &needed),
            0);
  if (status.dwCurrentState != SERVICE_RUNNING) {
    SKIP_ON_WINE("Wine starts its own services late, or not at all");
  }
  EXPECT_EQ(status.dwCurrentState, DWORD{SERVICE_RUNNING});
  EXPECT_EQ(StartServiceW(handle.Get(), 0, nullptr), 0);
  EXPECT_EQ(LastError(), 1056u);
}

TEST(GetSystemDirectoryW, TellsLengthOrSize) {
  wchar_t folder[MAX_PATH] = {};
  const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
  ASSERT_EQ(length, std::wcslen(folder));
  EXPECT_EQ(std::wstring(folder).substr(1, 2), L":\\");
  EXPECT_NE(folder[length - 1], L'\\');
  wchar_t untouched[MAX_PATH] = L"?";
  SpoilLastError();
  EXPECT_EQ(GetSystemDirectoryW(untouched, length), length + 1);
  EXPECT_STREQ(untouched, L"?");
  EXPECT_EQ(GetSystemDirectoryW(folder, length + 1), length);
  EXPECT_EQ(LastError(), kSpoiled);
}

}  // namespace
