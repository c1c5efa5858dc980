// The machine's domain and its controller. The function answers the error code itself.
#pragma once

#include <guiddef.h>
#include <minwindef.h>

#define DS_RETURN_DNS_NAME 0x40000000

/// The members that the agent reads.
struct DOMAIN_CONTROLLER_INFOW {
  LPWSTR DomainControllerName;
  LPWSTR DomainControllerAddress;
  LPWSTR DomainName;
};
using PDOMAIN_CONTROLLER_INFOW = DOMAIN_CONTROLLER_INFOW*;

DWORD WINAPI DsGetDcNameW(LPCWSTR computer, LPCWSTR domain, GUID* domainGuid, LPCWSTR site,
                          ULONG flags, PDOMAIN_CONTROLLER_INFOW* controller);
