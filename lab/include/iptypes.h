// Records of the network adapters, with the members that the agent reads. The lists lie in the one
// buffer that the caller gave.
#pragma once

#include <ws2def.h>

#define GAA_FLAG_SKIP_ANYCAST 0x0002
#define GAA_FLAG_SKIP_MULTICAST 0x0004
#define GAA_FLAG_INCLUDE_PREFIX 0x0010
#define GAA_FLAG_INCLUDE_GATEWAYS 0x0080

#define IP_ADAPTER_ADDRESS_DNS_ELIGIBLE 0x01
#define IP_ADAPTER_ADDRESS_TRANSIENT 0x02

#define IP_ADAPTER_IPV4_ENABLED 0x0080
#define IP_ADAPTER_IPV6_ENABLED 0x0100

struct IP_ADAPTER_UNICAST_ADDRESS {
  ULONG Length;
  DWORD Flags;
  IP_ADAPTER_UNICAST_ADDRESS* Next;
  SOCKET_ADDRESS Address;
};

struct IP_ADAPTER_ADDRESSES {
  ULONG Length;
  DWORD IfIndex;
  IP_ADAPTER_ADDRESSES* Next;
  IP_ADAPTER_UNICAST_ADDRESS* FirstUnicastAddress;
  ULONG Flags;
};
using PIP_ADAPTER_ADDRESSES = IP_ADAPTER_ADDRESSES*;
