// Records of the network adapters, with the members that the agent reads. The lists lie in the one
// buffer that the caller gave.
#pragma once

#include <ws2def.h>

#include <ipifcons.h>
#include <nldef.h>

#define GAA_FLAG_SKIP_ANYCAST 0x0002
#define GAA_FLAG_SKIP_MULTICAST 0x0004
#define GAA_FLAG_SKIP_DNS_SERVER 0x0008
#define GAA_FLAG_INCLUDE_PREFIX 0x0010
#define GAA_FLAG_INCLUDE_GATEWAYS 0x0080

#define IP_ADAPTER_ADDRESS_DNS_ELIGIBLE 0x01
#define IP_ADAPTER_ADDRESS_TRANSIENT 0x02

#define IP_ADAPTER_DHCP_ENABLED 0x0004
#define IP_ADAPTER_IPV4_ENABLED 0x0080
#define IP_ADAPTER_IPV6_ENABLED 0x0100

#define MAX_ADAPTER_ADDRESS_LENGTH 8
#define MAX_DHCPV6_DUID_LENGTH 130
#define MAX_DNS_SUFFIX_STRING_LENGTH 256

struct IP_ADAPTER_UNICAST_ADDRESS {
  ULONG Length;
  DWORD Flags;
  IP_ADAPTER_UNICAST_ADDRESS* Next;
  SOCKET_ADDRESS Address;
  IP_PREFIX_ORIGIN PrefixOrigin;
  IP_SUFFIX_ORIGIN SuffixOrigin;
  UCHAR OnLinkPrefixLength;
};

struct IP_ADAPTER_DNS_SERVER_ADDRESS {
  ULONG Length;
  DWORD Reserved;
  IP_ADAPTER_DNS_SERVER_ADDRESS* Next;
  SOCKET_ADDRESS Address;
};

struct IP_ADAPTER_GATEWAY_ADDRESS {
  ULONG Length;
  DWORD Reserved;
  IP_ADAPTER_GATEWAY_ADDRESS* Next;
  SOCKET_ADDRESS Address;
};

struct IP_ADAPTER_DNS_SUFFIX {
  IP_ADAPTER_DNS_SUFFIX* Next;
  WCHAR String[MAX_DNS_SUFFIX_STRING_LENGTH];
};

struct IP_ADAPTER_ADDRESSES {
  ULONG Length;
  DWORD IfIndex;
  IP_ADAPTER_ADDRESSES* Next;
  IP_ADAPTER_UNICAST_ADDRESS* FirstUnicastAddress;
  IP_ADAPTER_DNS_SERVER_ADDRESS* FirstDnsServerAddress;
  PWCHAR DnsSuffix;
  BYTE PhysicalAddress[MAX_ADAPTER_ADDRESS_LENGTH];
  ULONG PhysicalAddressLength;
  ULONG Flags;
  DWORD IfType;
  IP_ADAPTER_GATEWAY_ADDRESS* FirstGatewayAddress;
  SOCKET_ADDRESS Dhcpv4Server;
  SOCKET_ADDRESS Dhcpv6Server;
  BYTE Dhcpv6ClientDuid[MAX_DHCPV6_DUID_LENGTH];
  ULONG Dhcpv6ClientDuidLength;
  ULONG Dhcpv6Iaid;
  IP_ADAPTER_DNS_SUFFIX* FirstDnsSuffix;
};
using PIP_ADAPTER_ADDRESSES = IP_ADAPTER_ADDRESSES*;
