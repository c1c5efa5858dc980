// TCP and UDP end points of the machine. The functions answer the error code themselves.
#pragma once

#include <iprtrmib.h>

DWORD WINAPI GetTcpTable(PMIB_TCPTABLE table, PULONG bytes, BOOL order);
DWORD WINAPI GetUdpTable(PMIB_UDPTABLE table, PULONG bytes, BOOL order);
