// Socket addresses with their lengths.
#pragma once

#include <netdb.h>
#include <netinet/in.h>

#include <minwindef.h>

struct SOCKET_ADDRESS {
  sockaddr* lpSockaddr;
  INT iSockaddrLength;
};
