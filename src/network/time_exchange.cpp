#include "network/time_exchange.h"

#include <array>
#include <optional>

#include "core/logging.h"
#include "host/unique_resource.h"
#include "host/windows_api.h"
#include "network/name_resolution.h"

namespace Halvard::Network {
namespace {

constexpr std::uint16_t kTimePort = 123;
constexpr DWORD kReceiveTimeoutMilliseconds = 30'000;

using TimePacket = std::array<char, 48>;

/// Of a request only the first byte says something: no leap second, version 3, from a client.
constexpr TimePacket kRequest = {0b00'011'011};

/// Where a server is asked.
struct TimeServer {
  union {
    sockaddr any;
    sockaddr_in v4;
    sockaddr_in6 v6;
  };
  int length = 0;
};

/// \param address  Text of an address; of a name that couldn't be resolved it may be anything.
std::optional<TimeServer> FindServer(const std::wstring& address) {
  LogScope log;
  TimeServer server{.v6 = {}};
  if (InetPtonW(AF_INET, address.c_str(), &server.v4.sin_addr) == 1) {
    log.Info(L"ValidateNTPServer: NTP Server resolved to %s IPv4 address", address.c_str());
    server.v4.sin_family = AF_INET;
    server.v4.sin_port = htons(kTimePort);
    server.length = sizeof(server.v4);
    return server;
  }
  server.v6 = {};
  if (InetPtonW(AF_INET6, address.c_str(), &server.v6.sin6_addr) == 1) {
    log.Info(L"ValidateNTPServer: NTP Server resolved to %s IPv6 address", address.c_str());
    server.v6.sin6_family = AF_INET6;
    server.v6.sin6_port = htons(kTimePort);
    server.length = sizeof(server.v6);
    return server;
  }
  log.Error(
      L"ValidateNTPServer: NTP server hostname could not be resolved to IPv4 or IPv6 address.");
  return std::nullopt;
}

bool SendRequest(SOCKET socket, const TimeServer& server) {
  LogScope log;
  if (sendto(socket, kRequest.data(), static_cast<int>(kRequest.size()), 0, &server.any,
             server.length) != SOCKET_ERROR) {
    return true;
  }
  const int error = WSAGetLastError();
  log.Error(L"ValidateNTPServer: Sending message to NTP server failed with error code : %d", error);
  return false;
}

bool LimitReceiving(SOCKET socket) {
  const DWORD timeout = kReceiveTimeoutMilliseconds;
  if (setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&timeout),
                 sizeof(timeout)) != SOCKET_ERROR) {
    return true;
  }
  LogScope log;
  log.Error(L"ValidateNTPServer: Failed to set timeout for ntp server connection");
  return false;
}

/// Any datagram will do. One that is longer than a plain reply is cut, which counts as an error of
/// its own there, but not here.
bool ReceiveReply(SOCKET socket, TimePacket& reply) {
  if (recvfrom(socket, reply.data(), static_cast<int>(reply.size()), 0, nullptr, nullptr) !=
      SOCKET_ERROR) {
    return true;
  }
  const int error = WSAGetLastError();
  if (error == WSAEMSGSIZE) return true;
  LogScope log;
  log.Error(L"ValidateNTPServer: Failed to receive time from NTP server with error code : %d",
            error);
  return false;
}

void LogReply(const TimeServer& server, const TimePacket& reply) {
  LogScope log;
  if (server.any.sa_family == AF_INET) {
    log.Info(L"ValidateNTPServer: Successfully received data from the ntpserver.");
    return;
  }
  std::wstring text;
  for (const char byte : reply) {
    if (byte == '\0') break;
    text.push_back(static_cast<unsigned char>(byte));
  }
  log.Info(L"ValidateNTPServer: Successfully received data from the ntpserver: %s", text.c_str());
}

bool Exchange(SOCKET socket, const TimeServer& server) {
  TimePacket reply{};
  // The time-out begins with the receive, so it is set when there is something to wait for.
  if (!SendRequest(socket, server) || !LimitReceiving(socket) || !ReceiveReply(socket, reply)) {
    return false;
  }
  LogReply(server, reply);
  return true;
}

void Close(Host::UniqueSocket& socket) {
  LogScope log;
  if (!socket) {
    log.Info(L"ValidateNTPServer: Socket is invalid.");
  } else if (closesocket(socket.Detach()) == SOCKET_ERROR) {
    const int error = WSAGetLastError();
    log.Error(L"ValidateNTPServer: Closing socket failed with error: %d", error);
  }
}

}  // namespace

bool ValidateNTPServer(const std::wstring& server) {
  LogScope log;
  log.Info(L"ValidateNTPServer: Validating ntp server: %s", server.c_str());
  const std::optional<TimeServer> found = FindServer(GetIPAddressFromHostName(server));
  Host::UniqueSocket timeSocket;
  bool answered = false;
  if (found) {
    timeSocket.Reset(socket(found->any.sa_family, SOCK_DGRAM, IPPROTO_UDP));
    answered = Exchange(timeSocket.Get(), *found);
  }
  Close(timeSocket);
  return answered;
}

}  // namespace Halvard::Network
