// TCP and UDP end points of the machine, and its network adapters. The functions answer the error
// code themselves.
#pragma once

#include <iprtrmib.h>
#include <iptypes.h>

DWORD WINAPI GetTcpTable(PMIB_TCPTABLE table, PULONG bytes, BOOL order);
DWORD WINAPI GetUdpTable(PMIB_UDPTABLE table, PULONG bytes, BOOL order);

ULONG WINAPI GetAdaptersAddresses(ULONG family, ULONG flags, void* reserved,
                                  PIP_ADAPTER_ADDRESSES adapters, PULONG bytes);
