// Memory that the functions of the network's management hand out.
#pragma once

#include <minwindef.h>

using NET_API_STATUS = DWORD;

NET_API_STATUS WINAPI NetApiBufferFree(LPVOID buffer);
