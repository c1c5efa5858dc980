// Sockets. A socket is a descriptor of the host, so what the host's own headers declare (ntohs and
// its kin) serves as it stands. Functions that the host has too are overloads: which one is meant
// is told by the type of the socket, and by that of SOCK_STREAM where there isn't one yet.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <minwindef.h>
#include <winerror.h>

#define WSADESCRIPTION_LEN 256
#define WSASYS_STATUS_LEN 128
#define SOCKET_ERROR (-1)
#define WSAEACCES 10013
#define WSAEFAULT 10014
#define WSAEINVAL 10022
#define WSAEMFILE 10024
#define WSAENOTSOCK 10038
#define WSAEMSGSIZE 10040
#define WSAEAFNOSUPPORT 10047
#define WSAEADDRNOTAVAIL 10049
#define WSAENETUNREACH 10051
#define WSAECONNRESET 10054
#define WSAEISCONN 10056
#define WSAETIMEDOUT 10060
#define WSAECONNREFUSED 10061
#define WSAEHOSTUNREACH 10065
#define WSANOTINITIALISED 10093
#define WSAHOST_NOT_FOUND 11001
#define WSATRY_AGAIN 11002
#define WSANO_RECOVERY 11003
#define WSANO_DATA 11004

/// A type of its own: no descriptor of the host is one by chance.
enum SOCKET : UINT {};
#define INVALID_SOCKET static_cast<SOCKET>(~UINT{0})

struct WSADATA {
  WORD wVersion;
  WORD wHighVersion;
  unsigned short iMaxSockets;
  unsigned short iMaxUdpDg;
  char* lpVendorInfo;
  char szDescription[WSADESCRIPTION_LEN + 1];
  char szSystemStatus[WSASYS_STATUS_LEN + 1];
};
using LPWSADATA = WSADATA*;

int WINAPI WSAStartup(WORD version, LPWSADATA data);
int WINAPI WSACleanup();

SOCKET WINAPI socket(int family, __socket_type type, int protocol);
int WINAPI closesocket(SOCKET s);
int WINAPI connect(SOCKET s, const sockaddr* to, int length);
int WINAPI sendto(SOCKET s, const char* bytes, int length, int flags, const sockaddr* to,
                  int toLength);
int WINAPI setsockopt(SOCKET s, int level, int option, const char* value, int length);
int WINAPI recvfrom(SOCKET s, char* buffer, int length, int flags, sockaddr* from, int* fromLength);

/// The last error of the thread; sockets have none of their own.
int WINAPI WSAGetLastError();

using LPSOCKADDR = sockaddr*;
struct WSAPROTOCOL_INFOW;
using LPWSAPROTOCOL_INFOW = WSAPROTOCOL_INFOW*;

INT WINAPI WSAAddressToStringW(LPSOCKADDR address, DWORD addressLength,
                               LPWSAPROTOCOL_INFOW protocol, LPWSTR text, LPDWORD length);
