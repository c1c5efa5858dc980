// Socket addresses with their lengths, and lists of addresses.
#pragma once

#include <netdb.h>
#include <netinet/in.h>

#include <minwindef.h>

struct SOCKET_ADDRESS {
  sockaddr* lpSockaddr;
  INT iSockaddrLength;
};

struct addrinfoW {
  int ai_flags;
  int ai_family;
  int ai_socktype;
  int ai_protocol;
  SIZE_T ai_addrlen;
  PWSTR ai_canonname;
  sockaddr* ai_addr;
  addrinfoW* ai_next;
};
using ADDRINFOW = addrinfoW;
using PADDRINFOW = addrinfoW*;
