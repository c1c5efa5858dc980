// Sockets. A socket is a descriptor of the host, so what the host's own headers declare (ntohs and
// its kin) serves as it stands.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>

#include <minwindef.h>
#include <winerror.h>

#define WSADESCRIPTION_LEN 256
#define WSASYS_STATUS_LEN 128
#define SOCKET_ERROR (-1)
#define WSAEFAULT 10014
#define WSAEAFNOSUPPORT 10047
#define WSANOTINITIALISED 10093

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
