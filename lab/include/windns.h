// Queries of DNS servers. Of the records' data there is what the agent reads; a record of another
// type has its bytes there as they came.
#pragma once

#include <minwindef.h>

#define DNS_TYPE_A 0x0001
#define DNS_TYPE_CNAME 0x0005
#define DNS_TYPE_AAAA 0x001c

#define DNS_QUERY_WIRE_ONLY 0x00000100
#define DNS_QUERY_TREAT_AS_FQDN 0x00001000

using DNS_STATUS = LONG;

enum DNS_SECTION {
  DnsSectionQuestion,
  DnsSectionAnswer,
  DnsSectionAuthority,
  DnsSectionAddtional,
};

enum DNS_FREE_TYPE {
  DnsFreeFlat,
  DnsFreeRecordList,
  DnsFreeParsedMessageFields,
};

struct DNS_RECORD_FLAGS {
  DWORD Section : 2;
  DWORD Delete : 1;
  DWORD CharSet : 2;
  DWORD Unused : 3;
  DWORD Reserved : 24;
};

struct DNS_A_DATA {
  DWORD IpAddress;  ///< In network order.
};

struct DNS_PTR_DATAW {
  PWSTR pNameHost;
};

struct IP6_ADDRESS {
  BYTE IP6Byte[16];
};

struct DNS_AAAA_DATA {
  IP6_ADDRESS Ip6Address;
};

struct DNS_RECORDW {
  DNS_RECORDW* pNext;
  PWSTR pName;
  WORD wType;
  WORD wDataLength;
  union {
    DWORD DW;
    DNS_RECORD_FLAGS S;
  } Flags;
  DWORD dwTtl;
  DWORD dwReserved;
  union {
    DNS_A_DATA A;
    DNS_PTR_DATAW CNAME;
    DNS_AAAA_DATA AAAA;
  } Data;
};
using PDNS_RECORD = DNS_RECORDW*;

/// \return The status: 0, or the code of the failure.
DNS_STATUS WINAPI DnsQuery_W(PCWSTR name, WORD type, DWORD options, PVOID servers,
                             PDNS_RECORD* records, PVOID* reserved);
void WINAPI DnsFree(PVOID data, DNS_FREE_TYPE type);
