// The parsers that no header declares: programs look them up in ntdll.dll.
#include <cstring>

#include "support.h"

namespace {

using ParseIpv4 = LONG(WINAPI*)(PCWSTR text, BOOLEAN strict, PCWSTR* end, in_addr* address);
using ParseIpv6 = LONG(WINAPI*)(PCWSTR text, PCWSTR* end, in6_addr* address);

constexpr LONG kInvalidAddress = static_cast<LONG>(0xC000000D);

template <typename Function>
Function Find(const char* name) {
  const HMODULE module = LoadLibraryW(L"ntdll.dll");
  EXPECT_NE(module, nullptr);
  const auto function =
      reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
  EXPECT_NE(function, nullptr);
  EXPECT_TRUE(FreeLibrary(module));
  return function;
}

struct Row {
  const wchar_t* text;
  LONG status;
  const wchar_t* remainder;  ///< Null: the parser doesn't write where it stopped.
};

TEST(RtlIpv4StringToAddressW, ConsumesWhatIsStrict) {
  const auto parse = Find<ParseIpv4>("RtlIpv4StringToAddressW");
  for (const Row& row :
       {Row{L"127.0.0.1", 0, L""}, Row{L"127.1", kInvalidAddress, L""},
        Row{L"2130706433", kInvalidAddress, L""}, Row{L"0x7f.1", kInvalidAddress, L"7f.1"},
        Row{L"0177.0.0.1", kInvalidAddress, L"177.0.0.1"},
        Row{L"127.0.0.01", kInvalidAddress, L"1"}, Row{L"127.0.0.1 ", 0, L" "},
        Row{L"1.2.3.4:80", 0, L":80"}, Row{L"127.0.0.1x", 0, L"x"},
        Row{L"1.2.3.256", kInvalidAddress, L""}, Row{L"1.2.3.", kInvalidAddress, L""},
        Row{L"1.2.3.4567", kInvalidAddress, L""}, Row{L"1.2.3.4.", kInvalidAddress, L"."},
        Row{L"1.2.3.4.5", kInvalidAddress, L".5"}, Row{L" 1.2.3.4", kInvalidAddress, L" 1.2.3.4"},
        Row{L"", kInvalidAddress, L""}, Row{L"abc", kInvalidAddress, L"abc"}}) {
    PCWSTR end = nullptr;
    in_addr address = {};
    EXPECT_EQ(parse(row.text, TRUE, &end, &address), row.status) << row.text;
    EXPECT_STREQ(end, row.remainder) << row.text;
  }
}

TEST(RtlIpv4StringToAddressW, GivesNetworkOrder) {
  const auto parse = Find<ParseIpv4>("RtlIpv4StringToAddressW");
  PCWSTR end = nullptr;
  in_addr address = {};
  ASSERT_EQ(parse(L"192.0.2.1", TRUE, &end, &address), 0);
  EXPECT_EQ(ntohl(address.s_addr), 0xC0000201u);
}

TEST(RtlIpv6StringToAddressW, ConsumesAsMuchAsItCan) {
  const auto parse = Find<ParseIpv6>("RtlIpv6StringToAddressW");
  for (const Row& row : {Row{L"::1", 0, L""},
                         Row{L"::", 0, L""},
                         Row{L"::1%1", 0, L"%1"},
                         Row{L"::1/64", 0, L"/64"},
                         Row{L"::1 ", 0, L" "},
                         Row{L"::g", 0, L"g"},
                         Row{L"1::2::3", 0, L"::3"},
                         Row{L"1:2:3:4:5:6:7:8:9", 0, L":9"},
                         Row{L"1:2:3:4:5:6:7::", 0, L""},
                         Row{L"::ffff:01.2.3.4", 0, L""},
                         Row{L"[::1]", kInvalidAddress, L"[::1]"},
                         Row{L" ::1", kInvalidAddress, L" ::1"},
                         Row{L"", kInvalidAddress, L""},
                         Row{L":", kInvalidAddress, L":"},
                         Row{L":1::", kInvalidAddress, L":1::"},
                         Row{L"1:2", kInvalidAddress, L""},
                         Row{L"abc", kInvalidAddress, L""},
                         Row{L"::00001", kInvalidAddress, L""},
                         Row{L"127.0.0.1", kInvalidAddress, L""},
                         Row{L"::1.2.3", kInvalidAddress, L""},
                         Row{L"::1.2.3.256", kInvalidAddress, L""},
                         Row{L"12345::", kInvalidAddress, nullptr},
                         Row{L"1:22223333:4::", kInvalidAddress, nullptr},
                         Row{L"1::256.2.3.4", kInvalidAddress, nullptr}}) {
    PCWSTR end = nullptr;
    in6_addr address = {};
    EXPECT_EQ(parse(row.text, &end, &address), row.status) << row.text;
    EXPECT_STREQ(end, row.remainder) << row.text;
  }
}

struct Ipv6Row {
  const wchar_t* text;
  unsigned char bytes[16];
};

TEST(RtlIpv6StringToAddressW, FillsTheGap) {
  const auto parse = Find<ParseIpv6>("RtlIpv6StringToAddressW");
  for (const Ipv6Row& row :
       {Ipv6Row{L"2001:DB8::a:1", {0x20, 1, 0xD, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xA, 0, 1}},
        Ipv6Row{L"1::", {0, 1}},
        Ipv6Row{L"::1.2.3.4", {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4}},
        Ipv6Row{L"1:2:3:4:5:6:7::", {0, 1, 0, 2, 0, 3, 0, 4, 0, 5, 0, 6, 0, 7, 0, 0}}}) {
    PCWSTR end = nullptr;
    in6_addr address = {};
    EXPECT_EQ(parse(row.text, &end, &address), 0) << row.text;
    EXPECT_EQ(std::memcmp(&address, row.bytes, sizeof(row.bytes)), 0) << row.text;
  }
}

TEST(LoadLibraryW, RefusesALibraryThatIsntThere) {
  SetLastError(0);
  EXPECT_EQ(LoadLibraryW(L"no_such_library.dll"), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
}

TEST(GetModuleHandleW, KnowsTheLoadedLibraries) {
  const HMODULE module = GetModuleHandleW(L"ntdll.dll");
  EXPECT_NE(module, nullptr);
  EXPECT_EQ(GetModuleHandleW(L"NTDLL.DLL"), module);
  EXPECT_EQ(LoadLibraryW(L"ntdll.dll"), module);
  EXPECT_TRUE(FreeLibrary(module));
  SetLastError(0);
  EXPECT_EQ(GetModuleHandleW(L"no_such_library.dll"), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
}

TEST(GetProcAddress, RefusesAFunctionThatIsntThere) {
  SetLastError(0);
  EXPECT_EQ(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NoSuchFunction"), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_PROC_NOT_FOUND});
}

}  // namespace
