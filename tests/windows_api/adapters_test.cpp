#include <vector>

#include "started_sockets.h"
#include "support.h"

namespace {

using WindowsApi::StartedSockets;

constexpr ULONG kFlags = GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_INCLUDE_PREFIX |
                         GAA_FLAG_INCLUDE_GATEWAYS;

ULONG Ask(std::vector<std::byte>& buffer, ULONG& size) {
  auto* const list =
      buffer.empty() ? nullptr : reinterpret_cast<PIP_ADAPTER_ADDRESSES>(buffer.data());
  return GetAdaptersAddresses(AF_UNSPEC, kFlags, nullptr, list, &size);
}

/// The list of the machine that the tests run on.
std::vector<std::byte> FetchAdapters() {
  std::vector<std::byte> buffer;
  ULONG size = 0;
  EXPECT_EQ(Ask(buffer, size), static_cast<ULONG>(ERROR_BUFFER_OVERFLOW));
  buffer.resize(size);
  EXPECT_EQ(Ask(buffer, size), static_cast<ULONG>(ERROR_SUCCESS));
  return buffer;
}

TEST(GetAdaptersAddresses, TellsTheSizeWithoutABuffer) {
  std::vector<std::byte> none;
  ULONG size = 0;
  EXPECT_EQ(Ask(none, size), static_cast<ULONG>(ERROR_BUFFER_OVERFLOW));
  EXPECT_GT(size, 0u);
}

TEST(GetAdaptersAddresses, LeavesATooSmallBufferAlone) {
  std::vector<std::byte> none;
  ULONG needed = 0;
  Ask(none, needed);
  std::vector<std::byte> small(needed - 1, std::byte{0xAB});
  ULONG size = static_cast<ULONG>(small.size());
  EXPECT_EQ(Ask(small, size), static_cast<ULONG>(ERROR_BUFFER_OVERFLOW));
  EXPECT_EQ(size, needed);
  EXPECT_EQ(small, std::vector<std::byte>(needed - 1, std::byte{0xAB}));
}

TEST(GetAdaptersAddresses, KeepsTheSizeOfALargerBuffer) {
  std::vector<std::byte> none;
  ULONG needed = 0;
  Ask(none, needed);
  std::vector<std::byte> large(needed + 4096);
  ULONG size = static_cast<ULONG>(large.size());
  EXPECT_EQ(Ask(large, size), static_cast<ULONG>(ERROR_SUCCESS));
  EXPECT_EQ(size, static_cast<ULONG>(large.size()));
}

TEST(GetAdaptersAddresses, RefusesToAnswerWithoutASize) {
  EXPECT_EQ(GetAdaptersAddresses(AF_UNSPEC, kFlags, nullptr, nullptr, nullptr),
            static_cast<ULONG>(ERROR_INVALID_PARAMETER));
}

TEST(GetAdaptersAddresses, EachAddressHasATextAndAKnownLength) {
  const StartedSockets sockets;
  const std::vector<std::byte> buffer = FetchAdapters();
  int addresses = 0;
  const auto* adapter = reinterpret_cast<const IP_ADAPTER_ADDRESSES*>(buffer.data());
  for (; adapter != nullptr; adapter = adapter->Next) {
    for (const auto* entry = adapter->FirstUnicastAddress; entry != nullptr; entry = entry->Next) {
      const int family = entry->Address.lpSockaddr->sa_family;
      const auto length = static_cast<std::size_t>(entry->Address.iSockaddrLength);
      EXPECT_EQ(length, family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6));
      wchar_t host[NI_MAXHOST] = {};
      EXPECT_EQ(GetNameInfoW(entry->Address.lpSockaddr, entry->Address.iSockaddrLength, host,
                             NI_MAXHOST, nullptr, 0, NI_NUMERICHOST),
                0);
      EXPECT_STRNE(host, L"");
      ++addresses;
    }
  }
  EXPECT_GT(addresses, 0);
}

/// The numeric text of an IPv6 address of eight groups, and the code.
std::wstring TextOfGroups(std::initializer_list<unsigned> groups, INT& code,
                          DWORD size = NI_MAXHOST) {
  sockaddr_in6 address = {};
  address.sin6_family = AF_INET6;
  std::size_t at = 0;
  for (const unsigned group : groups) {
    address.sin6_addr.s6_addr[at++] = static_cast<unsigned char>(group >> 8);
    address.sin6_addr.s6_addr[at++] = static_cast<unsigned char>(group & 0xFF);
  }
  wchar_t host[NI_MAXHOST] = {};
  code = GetNameInfoW(reinterpret_cast<const sockaddr*>(&address), sizeof(address), host, size,
                      nullptr, 0, NI_NUMERICHOST);
  return host;
}

TEST(GetNameInfoW, FailsBeforeSocketsAreStarted) {
  SKIP_ON_WINE("GetNameInfoW of Wine works without WSAStartup");
  INT code = 0;
  (void)TextOfGroups({0x2001, 0xdb8, 0, 0, 0, 0, 0, 1}, code);
  EXPECT_EQ(code, WSANOTINITIALISED);
}

TEST(GetNameInfoW, ShortensTheFirstLongestRunOfZeros) {
  const StartedSockets sockets;
  INT code = -1;
  EXPECT_EQ(TextOfGroups({0x2001, 0xDB8, 0, 0, 1, 0, 0, 1}, code), L"2001:db8::1:0:0:1");
  EXPECT_EQ(code, 0);
  EXPECT_EQ(TextOfGroups({0x2001, 0xdb8, 0, 1, 1, 1, 1, 1}, code), L"2001:db8:0:1:1:1:1:1");
  EXPECT_EQ(TextOfGroups({0, 0, 0, 0, 0, 0, 0, 1}, code), L"::1");
}

TEST(GetNameInfoW, FailsForARoomThatIsTooSmall) {
  const StartedSockets sockets;
  INT code = 0;
  (void)TextOfGroups({0x2001, 0xdb8, 0, 0, 0, 0, 0, 1}, code, 5);
  EXPECT_NE(code, 0);
}

TEST(GetNameInfoW, RefusesAnUnknownFamily) {
  const StartedSockets sockets;
  sockaddr_in6 address = {};
  address.sin6_family = 99;
  wchar_t host[NI_MAXHOST] = {};
  EXPECT_EQ(GetNameInfoW(reinterpret_cast<const sockaddr*>(&address), sizeof(address), host,
                         NI_MAXHOST, nullptr, 0, NI_NUMERICHOST),
            WSAEAFNOSUPPORT);
}

}  // namespace
