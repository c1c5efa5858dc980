#include <cstddef>
#include <tuple>
#include <vector>

#include "support.h"

namespace {

std::vector<std::byte> TcpTable() {
  ULONG bytes = 0;
  EXPECT_EQ(GetTcpTable(nullptr, &bytes, TRUE), DWORD{ERROR_INSUFFICIENT_BUFFER});
  std::vector<std::byte> table(bytes + 4096);  // Sockets may come up meanwhile.
  bytes = static_cast<ULONG>(table.size());
  EXPECT_EQ(GetTcpTable(reinterpret_cast<PMIB_TCPTABLE>(table.data()), &bytes, TRUE),
            DWORD{NO_ERROR});
  return table;
}

TEST(GetTcpTable, RowsComeSortedByLocalAddressAndPort) {
  const std::vector<std::byte> bytes = TcpTable();
  const auto* table = reinterpret_cast<const MIB_TCPTABLE*>(bytes.data());
  const auto key = [](const MIB_TCPROW& row) {
    return std::make_tuple(ntohl(row.dwLocalAddr), ntohs(static_cast<u_short>(row.dwLocalPort)));
  };
  for (DWORD i = 1; i < table->dwNumEntries; ++i) {
    EXPECT_LE(key(table->table[i - 1]), key(table->table[i])) << i;
  }
}

TEST(GetTcpTable, NoPlaceForASizeIsAnInvalidParameter) {
  EXPECT_EQ(GetTcpTable(nullptr, nullptr, TRUE), DWORD{ERROR_INVALID_PARAMETER});
}

TEST(GetUdpTable, SizeThatWasAskedForSuffices) {
  ULONG bytes = 0;
  EXPECT_EQ(GetUdpTable(nullptr, &bytes, TRUE), DWORD{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_GE(bytes, sizeof(DWORD));
  std::vector<std::byte> table(bytes + 4096);
  bytes = static_cast<ULONG>(table.size());
  EXPECT_EQ(GetUdpTable(reinterpret_cast<PMIB_UDPTABLE>(table.data()), &bytes, TRUE),
            DWORD{NO_ERROR});
}

TEST(GetUdpTable, NoPlaceForASizeIsAnInvalidParameter) {
  EXPECT_EQ(GetUdpTable(nullptr, nullptr, TRUE), DWORD{ERROR_INVALID_PARAMETER});
}

TEST(WSAStartup, EachSuccessWantsOneCleanup) {
  WSADATA data{};
  ASSERT_EQ(WSAStartup(514, &data), 0);
  EXPECT_EQ(data.wVersion, 514);
  ASSERT_EQ(WSAStartup(514, &data), 0);
  EXPECT_EQ(WSACleanup(), 0);
  EXPECT_EQ(WSACleanup(), 0);
}

TEST(WSACleanup, OneTooManyFails) {
  SKIP_ON_WINE("a program that imports wldap32 or netapi32 is found started under Wine");
  EXPECT_EQ(WSACleanup(), SOCKET_ERROR);
  EXPECT_EQ(GetLastError(), DWORD{WSANOTINITIALISED});
}

}  // namespace
