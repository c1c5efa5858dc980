// Addresses of names and texts, without a network: what needs no resolver beyond the machine.
#include <array>
#include <string>
#include <vector>

#include "address_texts.h"
#include "started_sockets.h"
#include "support.h"

namespace {

using WindowsApi::StartedSockets;

class NameLookup : public ::testing::Test {
 protected:
  /// \return The code; the texts of the addresses are in texts_ then.
  INT Ask(const wchar_t* name, int family, int flags) {
    return WindowsApi::LookUp(name, family, flags, texts_);
  }

  const StartedSockets sockets_;
  std::vector<std::wstring> texts_;
};

using Texts = std::vector<std::wstring>;

TEST_F(NameLookup, ReadsAddressesOfTheFamily) {
  for (const int flags : {0, AI_NUMERICHOST}) {
    EXPECT_EQ(Ask(L"192.0.2.1", AF_INET, flags), 0);
    EXPECT_EQ(texts_, Texts{L"192.0.2.1"});
    EXPECT_EQ(Ask(L"2001:DB8::1", AF_INET6, flags), 0);
    EXPECT_EQ(texts_, Texts{L"2001:db8::1"});
  }
}

TEST_F(NameLookup, ReadsLaxSpellings) {
  for (const wchar_t* text : {L"127.1", L"0x7f.1", L"0177.0.0.1", L"2130706433"}) {
    EXPECT_EQ(Ask(text, AF_INET, AI_NUMERICHOST), 0) << text;
    EXPECT_EQ(texts_, Texts{L"127.0.0.1"}) << text;
  }
}

TEST_F(NameLookup, RefusesNamesWhenOnlyAddressesWillDo) {
  for (const wchar_t* text : {L"localhost", L"kv.example", L"192.0.2.1:80", L" 192.0.2.1",
                              L"192.0.2.1 ", L"192.0.2.256", L"1.2.3.4.5"}) {
    EXPECT_EQ(Ask(text, AF_INET, AI_NUMERICHOST), WSAHOST_NOT_FOUND) << text;
    EXPECT_EQ(texts_, Texts{}) << text;
  }
}

TEST_F(NameLookup, RefusesAddressesOfTheOtherFamily) {
  SKIP_ON_WINE("GetAddrInfoW of Wine answers -9 for an address of the other family");
  EXPECT_EQ(Ask(L"::1", AF_INET, AI_NUMERICHOST), WSAHOST_NOT_FOUND);
  EXPECT_EQ(Ask(L"127.1", AF_INET6, AI_NUMERICHOST), WSAHOST_NOT_FOUND);
  EXPECT_EQ(Ask(L"::ffff:192.0.2.1", AF_INET, AI_NUMERICHOST), WSAHOST_NOT_FOUND);
}

TEST_F(NameLookup, ReadsAScopeAsANumber) {
  SKIP_ON_WINE("GetNameInfoW of Wine writes the scope as an interface's name");
  EXPECT_EQ(Ask(L"fe80::1%3", AF_INET6, AI_NUMERICHOST), 0);
  EXPECT_EQ(texts_, Texts{L"fe80::1%3"});
}

TEST_F(NameLookup, ReadsBracketsWithAndWithoutAPort) {
  SKIP_ON_WINE("GetAddrInfoW of Wine doesn't know a port behind brackets");
  for (const wchar_t* text : {L"[2001:db8::1]", L"[2001:db8::1]:443"}) {
    EXPECT_EQ(Ask(text, AF_INET6, AI_NUMERICHOST), 0) << text;
    EXPECT_EQ(texts_, Texts{L"2001:db8::1"}) << text;
  }
  for (const wchar_t* text : {L"[2001:db8::1", L"2001:db8::1]", L"[2001:db8::1]443"}) {
    EXPECT_EQ(Ask(text, AF_INET6, AI_NUMERICHOST), WSAHOST_NOT_FOUND) << text;
  }
}

TEST_F(NameLookup, GivesOneEntryForAnAddressWithoutHints) {
  SKIP_ON_WINE("GetAddrInfoW of Wine gives one for each kind of socket");
  PADDRINFOW list = nullptr;
  ASSERT_EQ(GetAddrInfoW(L"192.0.2.1", nullptr, nullptr, &list), 0);
  EXPECT_EQ(list->ai_next, nullptr);
  EXPECT_EQ(list->ai_socktype, 0);
  EXPECT_EQ(list->ai_family, AF_INET);
  EXPECT_EQ(list->ai_addrlen, sizeof(sockaddr_in));
  FreeAddrInfoW(list);
}

TEST_F(NameLookup, SetsTheListToNullOnFailure) {
  ADDRINFOW something = {};
  PADDRINFOW list = &something;
  ADDRINFOW hints = {};
  hints.ai_family = AF_INET;
  hints.ai_flags = AI_NUMERICHOST;
  EXPECT_EQ(GetAddrInfoW(L"no.address", nullptr, &hints, &list), WSAHOST_NOT_FOUND);
  EXPECT_EQ(list, nullptr);
  FreeAddrInfoW(nullptr);
}

TEST_F(NameLookup, KnowsLocalhost) {
  EXPECT_EQ(Ask(L"localhost", AF_INET, 0), 0);
  EXPECT_EQ(texts_, Texts{L"127.0.0.1"});
}

TEST(GetAddrInfoW, FailsBeforeSocketsAreStarted) {
  SKIP_ON_WINE("GetAddrInfoW of Wine works without WSAStartup");
  PADDRINFOW list = nullptr;
  EXPECT_EQ(GetAddrInfoW(L"192.0.2.1", nullptr, nullptr, &list), WSANOTINITIALISED);
  EXPECT_EQ(list, nullptr);
}

/// The numeric text of an IPv6 address of eight groups.
std::wstring TextOf(const std::array<unsigned, 8>& groups) {
  sockaddr_in6 address = {};
  address.sin6_family = AF_INET6;
  std::size_t at = 0;
  for (const unsigned group : groups) {
    address.sin6_addr.s6_addr[at++] = static_cast<unsigned char>(group >> 8);
    address.sin6_addr.s6_addr[at++] = static_cast<unsigned char>(group & 0xFF);
  }
  wchar_t text[NI_MAXHOST] = {};
  EXPECT_EQ(GetNameInfoW(reinterpret_cast<const sockaddr*>(&address), sizeof(address), text,
                         NI_MAXHOST, nullptr, 0, NI_NUMERICHOST),
            0);
  return text;
}

struct TextRow {
  std::array<unsigned, 8> groups;
  const wchar_t* text;
};

TEST(NumericText, IsSpeltAsTheSystemDoes) {
  const StartedSockets sockets;
  for (const TextRow& row : {
           TextRow{{0, 0, 0, 0, 0, 0, 0, 0}, L"::"},
           TextRow{{0x2001, 0xDB8, 0, 0, 1, 0, 0, 1}, L"2001:db8::1:0:0:1"},
           TextRow{{0x2001, 0xDB8, 0, 1, 1, 1, 1, 1}, L"2001:db8:0:1:1:1:1:1"},
           TextRow{{1, 0, 0, 0, 0, 0, 0, 0}, L"1::"},
           TextRow{{1, 0, 0, 1, 0, 0, 0, 1}, L"1:0:0:1::1"},
           TextRow{{0xFE80, 0, 0, 0, 0xA00, 0x27FF, 0xFE4E, 0x66A1}, L"fe80::a00:27ff:fe4e:66a1"},
           TextRow{{0, 0, 0, 0, 0, 0, 0x100, 4}, L"::1.0.0.4"},
           TextRow{{0, 0, 0, 0, 0, 0, 0, 4}, L"::4"},
           TextRow{{0, 0, 0, 0, 0, 0xFFFF, 0x100, 4}, L"::ffff:1.0.0.4"},
       }) {
    EXPECT_EQ(TextOf(row.groups), row.text);
  }
}

TEST(NumericText, EndsDottedForTunnels) {
  SKIP_ON_WINE("Wine spells these as the host does");
  const StartedSockets sockets;
  for (const TextRow& row : {
           TextRow{{0, 0, 0, 0, 0, 0xFFFF, 0, 0x4403}, L"::ffff:0:4403"},
           TextRow{{0, 0, 0, 0, 0xFFFF, 0, 0x100, 4}, L"::ffff:0:1.0.0.4"},
           TextRow{{0, 0, 0, 0, 0, 0x5EFE, 0xC000, 0x201}, L"::5efe:192.0.2.1"},
           TextRow{{0xFE80, 0, 0, 0, 0x200, 0x5EFE, 0xC000, 0x201}, L"fe80::200:5efe:192.0.2.1"},
           TextRow{{1, 2, 3, 4, 0, 0x5EFE, 0, 1}, L"1:2:3:4:0:5efe:0.0.0.1"},
       }) {
    EXPECT_EQ(TextOf(row.groups), row.text);
  }
}

class AddressToString : public ::testing::Test {
 protected:
  AddressToString() {
    address_.sin6_family = AF_INET6;
    address_.sin6_addr.s6_addr[0] = 0xFE;
    address_.sin6_addr.s6_addr[1] = 0x80;
    address_.sin6_addr.s6_addr[15] = 1;
  }
  int Render(DWORD length = sizeof(sockaddr_in6)) {
    return WSAAddressToStringW(reinterpret_cast<LPSOCKADDR>(&address_), length, nullptr, text_,
                               &size_);
  }

  const StartedSockets sockets_;
  sockaddr_in6 address_ = {};
  wchar_t text_[64] = {};
  DWORD size_ = 64;
};

TEST_F(AddressToString, CountsTheTerminator) {
  EXPECT_EQ(Render(), 0);
  EXPECT_STREQ(text_, L"fe80::1");
  EXPECT_EQ(size_, 8u);
}

TEST_F(AddressToString, ShowsScopeAndPort) {
  address_.sin6_scope_id = 3;
  EXPECT_EQ(Render(), 0);
  EXPECT_STREQ(text_, L"fe80::1%3");
  address_.sin6_port = htons(123);
  size_ = 64;
  EXPECT_EQ(Render(), 0);
  EXPECT_STREQ(text_, L"[fe80::1%3]:123");
}

TEST_F(AddressToString, ShowsIpv4) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(0xC0000214);
  EXPECT_EQ(WSAAddressToStringW(reinterpret_cast<LPSOCKADDR>(&address), sizeof(address), nullptr,
                                text_, &size_),
            0);
  EXPECT_STREQ(text_, L"192.0.2.20");
  address.sin_port = htons(123);
  size_ = 64;
  EXPECT_EQ(WSAAddressToStringW(reinterpret_cast<LPSOCKADDR>(&address), sizeof(address), nullptr,
                                text_, &size_),
            0);
  EXPECT_STREQ(text_, L"192.0.2.20:123");
}

TEST_F(AddressToString, TellsTheSizeThatItNeeds) {
  size_ = 7;
  EXPECT_EQ(Render(), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEFAULT);
  EXPECT_EQ(size_, 8u);
}

TEST_F(AddressToString, RefusesAnUnknownFamily) {
  address_.sin6_family = 99;
  EXPECT_EQ(Render(), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEINVAL);
}

TEST_F(AddressToString, RefusesAnAddressThatIsCut) {
  SKIP_ON_WINE("WSAAddressToStringW of Wine leaves the last error alone");
  EXPECT_EQ(Render(16), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEFAULT);
}

TEST(InetPtonW, IsStrict) {
  in6_addr bytes = {};
  for (const wchar_t* text : {L"192.0.2.1", L"0.0.0.0", L"255.255.255.255"}) {
    EXPECT_EQ(InetPtonW(AF_INET, text, &bytes), 1) << text;
  }
  for (const wchar_t* text :
       {L"2001:DB8::1", L"::", L"1:2:3:4:5:6:7:8", L"::ffff:192.0.2.1", L"1:2:3:4:5:6:7::"}) {
    EXPECT_EQ(InetPtonW(AF_INET6, text, &bytes), 1) << text;
  }
  for (const wchar_t* text : {L"127.1", L"0x7f.0.0.1", L"127.0.0.01", L"1.2.3.4 ", L" 1.2.3.4",
                              L"1.2.3.256", L"1.2.3.4.", L"", L"::1"}) {
    SetLastError(0);
    EXPECT_EQ(InetPtonW(AF_INET, text, &bytes), 0) << text;
    EXPECT_EQ(GetLastError(), DWORD{WSAEINVAL}) << text;
  }
  for (const wchar_t* text : {L"[::1]", L"::1%1", L"::1/64", L"::1 ", L"1::2::3", L"12345::",
                              L"1:2:3:4:5:6:7:8:9", L"1:2:3", L"", L"127.0.0.1"}) {
    SetLastError(0);
    EXPECT_EQ(InetPtonW(AF_INET6, text, &bytes), 0) << text;
    EXPECT_EQ(GetLastError(), DWORD{WSAEINVAL}) << text;
  }
}

TEST(InetPtonW, RefusesNull) {
  in_addr bytes = {};
  EXPECT_EQ(InetPtonW(AF_INET, nullptr, &bytes), -1);
  EXPECT_EQ(GetLastError(), DWORD{WSAEFAULT});
}

}  // namespace
