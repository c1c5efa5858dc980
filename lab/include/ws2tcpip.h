// Texts of socket addresses. The functions answer the error code themselves.
#pragma once

#include <winsock2.h>

#include <ws2def.h>

INT WINAPI GetNameInfoW(const sockaddr* address, socklen_t addressLength, WCHAR* host,
                        DWORD hostSize, WCHAR* service, DWORD serviceSize, INT flags);
