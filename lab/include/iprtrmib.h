// Rows and tables of the TCP and UDP end points. Addresses and ports are in network order; a port
// stands in the low 16 bits of its member.
#pragma once

#include <minwindef.h>

#define ANY_SIZE 1

#define MIB_TCP_STATE_CLOSED 1
#define MIB_TCP_STATE_LISTEN 2
#define MIB_TCP_STATE_ESTAB 5
#define MIB_TCP_STATE_TIME_WAIT 11

struct MIB_TCPROW {
  DWORD dwState;
  DWORD dwLocalAddr;
  DWORD dwLocalPort;
  DWORD dwRemoteAddr;
  DWORD dwRemotePort;
};
struct MIB_TCPTABLE {
  DWORD dwNumEntries;
  MIB_TCPROW table[ANY_SIZE];
};
using PMIB_TCPTABLE = MIB_TCPTABLE*;

struct MIB_UDPROW {
  DWORD dwLocalAddr;
  DWORD dwLocalPort;
};
struct MIB_UDPTABLE {
  DWORD dwNumEntries;
  MIB_UDPROW table[ANY_SIZE];
};
using PMIB_UDPTABLE = MIB_UDPTABLE*;
