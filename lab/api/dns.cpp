// Queries of DNS servers past the resolver.
#include <cstddef>
#include <cstring>
#include <cwchar>
#include <new>
#include <string>

#include "machine/call.h"
#include "network/dns_query.h"
#include "windns.h"
#include "winerror.h"

namespace {

constexpr DWORD kUnicode = 1;  // DNS_CHARSET, in the records' flags.

PWSTR Copy(const std::wstring& text) {
  auto* const copy = new WCHAR[text.size() + 1];
  std::wmemcpy(copy, text.c_str(), text.size() + 1);
  return copy;
}

/// The system gives each record just the room that its data takes, and so does the lab.
PDNS_RECORD MakeRecord(const Lab::DnsRecord& from) {
  const bool isAlias = from.type == DNS_TYPE_CNAME;
  const std::size_t bytes = isAlias ? sizeof(DNS_PTR_DATAW) : from.data.size();
  void* const memory = ::operator new(offsetof(DNS_RECORDW, Data) + bytes);
  std::memset(memory, 0, offsetof(DNS_RECORDW, Data) + bytes);
  auto* const record = static_cast<PDNS_RECORD>(memory);
  record->pName = Copy(from.name);
  record->wType = from.type;
  record->wDataLength = static_cast<WORD>(bytes);
  record->Flags.S.Section = from.section & 3;
  record->Flags.S.CharSet = kUnicode;
  record->dwTtl = from.lifetime;
  if (isAlias) {
    record->Data.CNAME.pNameHost = Copy(from.target);
  } else if (bytes > 0) {
    std::memcpy(static_cast<std::byte*>(memory) + offsetof(DNS_RECORDW, Data), from.data.data(),
                bytes);
  }
  return record;
}

}  // namespace

DNS_STATUS WINAPI DnsQuery_W(PCWSTR name, WORD type, DWORD options, PVOID servers,
                             PDNS_RECORD* records, PVOID* reserved) {
  const Lab::Call call("DnsQuery_W", name != nullptr ? name : L"");
  constexpr DWORD kOptions = DNS_QUERY_WIRE_ONLY | DNS_QUERY_TREAT_AS_FQDN;
  LAB_SUPPORTS(name != nullptr && records != nullptr);
  LAB_SUPPORTS((type == DNS_TYPE_A || type == DNS_TYPE_AAAA) && options == kOptions);
  LAB_SUPPORTS(servers == nullptr && reserved == nullptr);
  *records = nullptr;
  if (call.PlannedError()) return static_cast<DNS_STATUS>(*call.PlannedError());
  const Lab::DnsReply reply = Lab::QueryDns(name, type);
  // An answer without what was asked for fails, and comes all the same.
  PDNS_RECORD* end = records;
  for (const Lab::DnsRecord& record : reply.records) {
    *end = MakeRecord(record);
    end = &(*end)->pNext;
  }
  return static_cast<DNS_STATUS>(reply.status);
}

void WINAPI DnsFree(PVOID data, DNS_FREE_TYPE type) {
  const Lab::Call call("DnsFree");
  LAB_SUPPORTS(type == DnsFreeRecordList);
  auto* record = static_cast<PDNS_RECORD>(data);
  while (record != nullptr) {
    const PDNS_RECORD next = record->pNext;
    if (record->wType == DNS_TYPE_CNAME) delete[] record->Data.CNAME.pNameHost;
    delete[] record->pName;
    ::operator delete(record);
    record = next;
  }
}
