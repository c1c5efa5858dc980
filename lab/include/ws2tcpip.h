// Addresses of names, and texts of addresses. The functions answer the error code themselves, but
// for InetPtonW.
#pragma once

#include <winsock2.h>

#include <ws2def.h>

INT WINAPI GetAddrInfoW(PCWSTR name, PCWSTR service, const ADDRINFOW* hints, PADDRINFOW* list);
void WINAPI FreeAddrInfoW(PADDRINFOW list);

INT WINAPI GetNameInfoW(const sockaddr* address, socklen_t addressLength, WCHAR* host,
                        DWORD hostSize, WCHAR* service, DWORD serviceSize, INT flags);

/// \return 1 when \p text is an address; 0, or -1 for arguments that can't be, with a last error.
INT WINAPI InetPtonW(INT family, PCWSTR text, PVOID address);
