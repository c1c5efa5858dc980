#include <arpa/inet.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "iphlpapi.h"
#include "machine/call.h"
#include "machine/machine.h"
#include "machine/text.h"
#include "winerror.h"

namespace {

/// \return The address in network order.
DWORD Address(const std::wstring& text) {
  in_addr address{};
  inet_pton(AF_INET, Lab::ToUtf8(text).c_str(), &address);
  return address.s_addr;
}

std::vector<MIB_TCPROW> DescribedTcp(const Lab::Description& machine) {
  std::vector<MIB_TCPROW> rows;
  for (const Lab::EndPoint& entry : machine.tcp) {
    rows.push_back({entry.state, Address(entry.address), htons(entry.port), 0, 0});
  }
  return rows;
}

std::vector<MIB_UDPROW> DescribedUdp(const Lab::Description& machine) {
  std::vector<MIB_UDPROW> rows;
  for (const Lab::EndPoint& entry : machine.udp) {
    rows.push_back({Address(entry.address), htons(entry.port)});
  }
  return rows;
}

/// One line of /proc/net/tcp or udp. Its addresses are in network order as they stand, its ports
/// in that of the host.
struct KernelRow {
  unsigned localAddress, localPort, remoteAddress, remotePort, state;
};

std::vector<KernelRow> KernelRows(const char* file) {
  std::vector<KernelRow> rows;
  std::ifstream in(file);
  std::string line;
  std::getline(in, line);
  while (std::getline(in, line)) {
    KernelRow row{};
    if (std::sscanf(line.c_str(), " %*u: %x:%x %x:%x %x", &row.localAddress, &row.localPort,
                    &row.remoteAddress, &row.remotePort, &row.state) == 5) {
      rows.push_back(row);
    }
  }
  return rows;
}

DWORD TcpState(unsigned kernelState) {
  constexpr unsigned kListen = 10, kEstablished = 1, kTimeWait = 6;
  switch (kernelState) {
    case kListen:
      return MIB_TCP_STATE_LISTEN;
    case kEstablished:
      return MIB_TCP_STATE_ESTAB;
    case kTimeWait:
      return MIB_TCP_STATE_TIME_WAIT;
    default:
      return MIB_TCP_STATE_CLOSED;
  }
}

DWORD NetworkPort(unsigned port) { return htons(static_cast<std::uint16_t>(port)); }

bool IsBefore(const MIB_TCPROW& a, const MIB_TCPROW& b) {
  const auto key = [](const MIB_TCPROW& row) {
    return std::make_tuple(ntohl(row.dwLocalAddr), ntohs(static_cast<WORD>(row.dwLocalPort)),
                           ntohl(row.dwRemoteAddr), ntohs(static_cast<WORD>(row.dwRemotePort)));
  };
  return key(a) < key(b);
}

bool IsBefore(const MIB_UDPROW& a, const MIB_UDPROW& b) {
  const auto key = [](const MIB_UDPROW& row) {
    return std::make_pair(ntohl(row.dwLocalAddr), ntohs(static_cast<WORD>(row.dwLocalPort)));
  };
  return key(a) < key(b);
}

/// Hands the rows out as a table if there's room for it, and the size that it takes otherwise.
template <typename Row>
DWORD HandOutRows(std::vector<Row> rows, void* table, PULONG bytes, BOOL order) {
  if (bytes == nullptr) return ERROR_INVALID_PARAMETER;
  if (order != FALSE) {
    std::sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return IsBefore(a, b); });
  }
  // The declared table has one row already, and so has the size of an empty one.
  const std::size_t needed = sizeof(DWORD) + std::max<std::size_t>(rows.size(), 1) * sizeof(Row);
  const ULONG room = *bytes;
  if (table == nullptr || room < needed) {
    *bytes = static_cast<ULONG>(needed);
    return ERROR_INSUFFICIENT_BUFFER;
  }
  const auto count = static_cast<DWORD>(rows.size());
  std::memcpy(table, &count, sizeof count);
  if (count != 0) {
    std::memcpy(static_cast<BYTE*>(table) + sizeof count, rows.data(), rows.size() * sizeof(Row));
  }
  return NO_ERROR;
}

}  // namespace

DWORD WINAPI GetTcpTable(PMIB_TCPTABLE table, PULONG bytes, BOOL order) {
  const Lab::Call call("GetTcpTable");
  if (const auto error = call.PlannedError()) return *error;
  const Lab::Description& machine = Lab::TheMachine().Describe();
  std::vector<MIB_TCPROW> rows = DescribedTcp(machine);
  if (machine.hostEndPoints) {
    for (const KernelRow& row : KernelRows("/proc/net/tcp")) {
      rows.push_back({TcpState(row.state), row.localAddress, NetworkPort(row.localPort),
                      row.remoteAddress, NetworkPort(row.remotePort)});
    }
  }
  return HandOutRows(std::move(rows), table, bytes, order);
}

DWORD WINAPI GetUdpTable(PMIB_UDPTABLE table, PULONG bytes, BOOL order) {
  const Lab::Call call("GetUdpTable");
  if (const auto error = call.PlannedError()) return *error;
  const Lab::Description& machine = Lab::TheMachine().Describe();
  std::vector<MIB_UDPROW> rows = DescribedUdp(machine);
  if (machine.hostEndPoints) {
    for (const KernelRow& row : KernelRows("/proc/net/udp")) {
      rows.push_back({row.localAddress, NetworkPort(row.localPort)});
    }
  }
  return HandOutRows(std::move(rows), table, bytes, order);
}
