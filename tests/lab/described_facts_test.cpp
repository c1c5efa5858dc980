// What the Windows functions make of a description that no real system could be brought to.
#include <gtest/gtest.h>

#include <vector>

#include "host/windows_api.h"
#include "support/lab_instance.h"

namespace Lab {
namespace {

constexpr wchar_t kUpgradeCode[] = L"{A0B1C2D3-1111-4A11-8A11-0000000000A1}";

bool IsAdministrator() {
  SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
  PSID sid = nullptr;
  EXPECT_TRUE(AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID,
                                       DOMAIN_ALIAS_RID_ADMINS, 0, 0, 0, 0, 0, 0, &sid));
  BOOL member = FALSE;
  EXPECT_TRUE(CheckTokenMembership(nullptr, sid, &member));
  FreeSid(sid);
  return member != FALSE;
}

std::vector<MIB_TCPROW> TcpRows() {
  ULONG bytes = 0;
  EXPECT_EQ(GetTcpTable(nullptr, &bytes, TRUE), DWORD{ERROR_INSUFFICIENT_BUFFER});
  std::vector<DWORD> buffer;
  DWORD error = ERROR_INSUFFICIENT_BUFFER;
  // A machine that shows the host's connections may have got more of them since it told the size.
  while (error == ERROR_INSUFFICIENT_BUFFER) {
    buffer.resize(bytes / sizeof(DWORD));
    error = GetTcpTable(reinterpret_cast<PMIB_TCPTABLE>(buffer.data()), &bytes, TRUE);
  }
  EXPECT_EQ(error, DWORD{NO_ERROR});
  const auto* table = reinterpret_cast<const MIB_TCPTABLE*>(buffer.data());
  const MIB_TCPROW* first = table->table;
  return {first, first + table->dwNumEntries};
}

TEST(DescribedFacts, UserIsNamedAsDescribed) {
  Instance instance;
  instance.Set("/user/name", "CORP\\\xC3\x89va");
  wchar_t name[32];
  ULONG length = 32;
  ASSERT_TRUE(GetUserNameExW(NameSamCompatible, name, &length));
  EXPECT_STREQ(name, L"CORP\\\u00C9va");
  EXPECT_EQ(length, 8u);
}

TEST(DescribedFacts, AdministratorIsOneOnlyWhenElevated) {
  Instance instance;
  EXPECT_TRUE(IsAdministrator());
  instance.Set("/user/elevated", false);
  EXPECT_FALSE(IsAdministrator());
  instance.Set("/user/elevated", true);
  instance.Set("/user/groups", Json::Value(Json::arrayValue));
  EXPECT_FALSE(IsAdministrator());
}

TEST(DescribedFacts, SessionIsTheDescribedOne) {
  Instance instance;
  instance.Set("/computer/session", 7);
  DWORD session = 0;
  EXPECT_TRUE(ProcessIdToSessionId(GetCurrentProcessId(), &session));
  EXPECT_EQ(session, 7u);
}

TEST(DescribedFacts, LanguageOfTheUserIsThatOfItsThreads) {
  Instance instance;
  instance.Set("/computer/uiLanguage", 3082);
  EXPECT_EQ(GetUserDefaultUILanguage(), 3082);
  EXPECT_EQ(SetThreadUILanguage(1031), 1031);
  EXPECT_EQ(GetUserDefaultUILanguage(), 3082);
}

TEST(DescribedFacts, EmptyVariableExists) {
  Instance instance;
  instance.SetVariable(L"EMPTY", L"");
  wchar_t buffer[2] = {L'?'};
  SetLastError(0);
  EXPECT_EQ(GetEnvironmentVariableW(L"EMPTY", buffer, 0), 1u);
  EXPECT_EQ(GetEnvironmentVariableW(L"EMPTY", nullptr, 0), 1u);
  EXPECT_EQ(GetEnvironmentVariableW(L"EMPTY", buffer, 1), 0u);
  EXPECT_EQ(GetLastError(), 0u);
  EXPECT_STREQ(buffer, L"");
}

TEST(DescribedFacts, EmptySystemVariableExpandsToNothing) {
  Instance instance;
  instance.SetSystemVariable(L"OSTREL_CFG_DIR", L"");
  wchar_t buffer[32] = {L'?'};
  EXPECT_TRUE(ExpandEnvironmentStringsForUserW(nullptr, L"%OSTREL_CFG_DIR%", buffer, 32));
  EXPECT_STREQ(buffer, L"");
}

TEST(DescribedFacts, HostsEnvironmentIsntTheMachines) {
  const Instance instance;
  wchar_t buffer[8];
  EXPECT_EQ(GetEnvironmentVariableW(L"PWD", buffer, 8), 0u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ENVVAR_NOT_FOUND});
}

TEST(DescribedFacts, FirstOfSeveralProductsComesFirst) {
  Instance instance;
  instance.AddProduct(kUpgradeCode, L"5.5.1");
  instance.AddProduct(kUpgradeCode, L"5.5.2");
  wchar_t first[39], second[39], version[8];
  ASSERT_EQ(MsiEnumRelatedProductsW(kUpgradeCode, 0, 0, first), 0u);
  ASSERT_EQ(MsiEnumRelatedProductsW(kUpgradeCode, 0, 1, second), 0u);
  DWORD length = 8;
  ASSERT_EQ(MsiGetProductInfoW(first, L"VersionString", version, &length), 0u);
  EXPECT_STREQ(version, L"5.5.1");
  length = 8;
  ASSERT_EQ(MsiGetProductInfoW(second, L"VersionString", version, &length), 0u);
  EXPECT_STREQ(version, L"5.5.2");
  instance.RemoveProducts(kUpgradeCode);
  EXPECT_EQ(MsiEnumRelatedProductsW(kUpgradeCode, 0, 0, first), DWORD{ERROR_NO_MORE_ITEMS});
}

TEST(DescribedFacts, EmptyPropertyStillWantsABuffer) {
  Instance instance;
  instance.AddProduct(kUpgradeCode, L"");
  wchar_t code[39], value[2] = {};
  ASSERT_EQ(MsiEnumRelatedProductsW(kUpgradeCode, 0, 0, code), 0u);
  DWORD length = 0;
  EXPECT_EQ(MsiGetProductInfoW(code, L"VersionString", value, &length), DWORD{ERROR_MORE_DATA});
  EXPECT_EQ(length, 0u);
}

TEST(DescribedFacts, PortsInUseComeSortedInNetworkOrder) {
  Instance instance;
  Json::Value ports;
  ports["10.0.0.1:9123"] = "established";
  ports["127.0.0.1:80"] = "listening";
  ports["10.0.0.1:443"] = "timeWait";
  instance.Set("/ports/tcp", ports);
  const std::vector<MIB_TCPROW> rows = TcpRows();
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(ntohs(static_cast<WORD>(rows[0].dwLocalPort)), 443);
  EXPECT_EQ(rows[0].dwState, DWORD{MIB_TCP_STATE_TIME_WAIT});
  EXPECT_EQ(ntohs(static_cast<WORD>(rows[1].dwLocalPort)), 9123);
  EXPECT_EQ(rows[1].dwState, DWORD{MIB_TCP_STATE_ESTAB});
  EXPECT_EQ(ntohl(rows[2].dwLocalAddr), 0x7F000001u);
  EXPECT_EQ(rows[2].dwState, DWORD{MIB_TCP_STATE_LISTEN});
}

TEST(DescribedFacts, HostsListenersAreThereWhenTold) {
  Instance instance;
  instance.Remove("/ports");
  // The host's own function: the lab's takes the enumeration.
  const int listener = socket(AF_INET, int{SOCK_STREAM}, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(listen(listener, 1), 0);
  socklen_t size = sizeof address;
  getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
  const auto listed = [&] {
    for (const MIB_TCPROW& row : TcpRows()) {
      if (row.dwLocalPort == address.sin_port && row.dwState == MIB_TCP_STATE_LISTEN) return true;
    }
    return false;
  };
  EXPECT_FALSE(listed());
  instance.Set("/ports/host", true);
  EXPECT_TRUE(listed());
  close(listener);
}

TEST(DescribedFacts, UnsizedValueLeavesTheBuffer) {
  Instance instance;
  instance.SetRegistryValue(L"HKEY_LOCAL_MACHINE\\A", L"v", {REG_SZ, {}, {}});
  wchar_t buffer[4] = {L'?'};
  DWORD bytes = sizeof buffer;
  EXPECT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, L"A", L"v", RRF_RT_REG_SZ | RRF_NOEXPAND, nullptr,
                         buffer, &bytes),
            ERROR_SUCCESS);
  EXPECT_EQ(bytes, 0u);
  EXPECT_EQ(buffer[0], L'?');
}

TEST(DescribedFacts, TextWithoutTerminatorGetsOneAndRoomForItIsCounted) {
  Instance instance;
  instance.SetRegistryValue(L"HKEY_LOCAL_MACHINE\\A", L"v", {REG_SZ, L"443", {}});
  wchar_t buffer[4] = {};
  DWORD bytes = 3 * sizeof(wchar_t);
  const auto get = [&] {
    return RegGetValueW(HKEY_LOCAL_MACHINE, L"A", L"v", RRF_RT_REG_SZ | RRF_NOEXPAND, nullptr,
                        buffer, &bytes);
  };
  EXPECT_EQ(get(), ERROR_MORE_DATA);
  EXPECT_EQ(bytes, sizeof buffer);
  EXPECT_EQ(get(), ERROR_SUCCESS);
  EXPECT_STREQ(buffer, L"443");
}

TEST(DescribedFacts, EveryFamilyOfErrorsIsPlannedItsOwnWay) {
  Instance instance;
  for (const char* function :
       {"RegGetValueW", "RegOpenKeyExW", "RegSetKeyValueW", "RegCloseKey", "MsiGetProductInfoW",
        "MsiEnumRelatedProductsW", "GetTcpTable", "GetUdpTable", "WSAStartup"}) {
    instance.PlanFault({.function = function, .error = 77});
  }
  for (const char* function :
       {"GetUserNameExW", "AllocateAndInitializeSid", "CheckTokenMembership", "WSACleanup",
        "GetEnvironmentVariableW", "ExpandEnvironmentStringsForUserW", "ProcessIdToSessionId",
        "SetProcessShutdownParameters", "FileTimeToSystemTime", "LoadStringW",
        "SetThreadUILanguage"}) {
    instance.PlanFault({.function = function, .error = 78});
  }
  // The answer is the code.
  wchar_t buffer[40];
  DWORD size = sizeof buffer;
  ULONG bytes = 0;
  HKEY key = nullptr;
  WSADATA data{};
  EXPECT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, L"A", L"v", RRF_RT_REG_SZ | RRF_NOEXPAND, nullptr,
                         buffer, &size),
            77);
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"A", 0, KEY_SET_VALUE, &key), 77);
  EXPECT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, L"A", L"v", REG_SZ, L"", sizeof(wchar_t)), 77);
  EXPECT_EQ(RegCloseKey(nullptr), 77);
  EXPECT_EQ(MsiEnumRelatedProductsW(kUpgradeCode, 0, 0, buffer), 77u);
  EXPECT_EQ(MsiGetProductInfoW(kUpgradeCode, L"VersionString", buffer, &size), 77u);
  EXPECT_EQ(GetTcpTable(nullptr, &bytes, TRUE), 77u);
  EXPECT_EQ(GetUdpTable(nullptr, &bytes, TRUE), 77u);
  EXPECT_EQ(WSAStartup(514, &data), 77);

  // The answer is a failure and the code is the last error.
  const auto fails = [](bool failed) {
    const DWORD error = GetLastError();
    SetLastError(0);
    return failed && error == 78;
  };
  SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
  PSID sid = nullptr;
  BOOL member = FALSE;
  const FILETIME time{};
  SYSTEMTIME systemTime{};
  bytes = 40;
  EXPECT_TRUE(fails(!GetUserNameExW(NameSamCompatible, buffer, &bytes)));
  EXPECT_TRUE(fails(!AllocateAndInitializeSid(&authority, 0, 0, 0, 0, 0, 0, 0, 0, 0, &sid)));
  EXPECT_TRUE(fails(!CheckTokenMembership(nullptr, sid, &member)));
  EXPECT_TRUE(fails(WSACleanup() == SOCKET_ERROR));
  EXPECT_TRUE(fails(GetEnvironmentVariableW(L"TEMP", buffer, 40) == 0));
  EXPECT_TRUE(fails(!ExpandEnvironmentStringsForUserW(nullptr, L"x", buffer, 40)));
  EXPECT_TRUE(fails(!ProcessIdToSessionId(GetCurrentProcessId(), &size)));
  EXPECT_TRUE(fails(!SetProcessShutdownParameters(256, 0)));
  EXPECT_TRUE(fails(!FileTimeToSystemTime(&time, &systemTime)));
  EXPECT_TRUE(fails(LoadStringW(nullptr, 1, buffer, 40) == 0));
  EXPECT_TRUE(fails(SetThreadUILanguage(1033) == 0));
}

}  // namespace
}  // namespace Lab
