#include "network/dns_query.h"

#include <algorithm>

#include "machine/machine.h"
#include "winerror.h"

namespace Lab {
namespace {

// How long the system tries to get an answer.
constexpr std::uint64_t kPatience = 12'000;

std::uint32_t NameProblem(const std::wstring& name) {
  constexpr std::size_t kLongestLabel = 63, kLongestName = 253;
  if (name.find(L' ') != std::wstring::npos) return DNS_ERROR_INVALID_NAME_CHAR;
  if (name.empty() || name.size() > kLongestName) return ERROR_INVALID_NAME;
  std::size_t begin = 0;
  while (begin <= name.size()) {
    const std::size_t end = std::min(name.find(L'.', begin), name.size());
    if (end == begin || end - begin > kLongestLabel) return ERROR_INVALID_NAME;
    begin = end + 1;
  }
  return ERROR_SUCCESS;
}

bool Answers(const DnsName::Record& record, std::uint16_t type) {
  return record.questions.empty() || std::find(record.questions.begin(), record.questions.end(),
                                               type) != record.questions.end();
}

/// \return The name that the records name as the alias' target; empty when they have none.
std::wstring TargetIn(const DnsName& name) {
  for (const DnsName::Record& entry : name.records) {
    if (entry.record.type == kDnsTypeAlias && !entry.record.target.empty()) {
      return entry.record.target;
    }
  }
  return {};
}

bool IsUseful(const DnsRecord& record) {
  return record.section == 1 && record.type != kDnsTypeAlias;
}

/// What the described servers answer.
DnsReply QueryNames(const NameService::Names& names, std::wstring name, std::uint16_t type) {
  constexpr int kLongestChain = 16;
  std::vector<DnsRecord> records;
  for (int links = 0; links < kLongestChain && !name.empty(); ++links) {
    const auto known = names.find(name);
    if (known == names.end()) {
      // A chain of aliases that leads nowhere is an answer all the same.
      if (links == 0) return {DNS_ERROR_RCODE_NAME_ERROR, {}};
      break;
    }
    if (known->second.failure) return {*known->second.failure, {}};
    for (const DnsName::Record& entry : known->second.records) {
      if (Answers(entry, type)) records.push_back(entry.record);
    }
    name = TargetIn(known->second);
  }
  return DnsReply::Of(std::move(records));
}

}  // namespace

DnsReply DnsReply::Of(std::vector<DnsRecord> records) {
  const bool useful = std::any_of(records.begin(), records.end(), IsUseful);
  return {useful ? 0u : std::uint32_t{DNS_INFO_NO_RECORDS}, std::move(records)};
}

DnsReply QueryDns(const std::wstring& name, std::uint16_t type) {
  std::wstring bare = name;
  if (bare.ends_with(L'.')) bare.pop_back();
  if (const std::uint32_t problem = NameProblem(bare); problem != ERROR_SUCCESS) {
    return {problem, {}};
  }
  const NameService& service = TheMachine().Describe().nameService;
  if (!service.hasDns) return {DNS_ERROR_NO_DNS_SERVERS, {}};
  if (service.hostResolver) return QueryHostDns(bare, type);
  DnsReply reply = service.server ? QueryDnsServer(*service.server, bare, type)
                                  : QueryNames(service.names, bare, type);
  if (reply.status == ERROR_TIMEOUT && !service.server) TheMachine().Clock().Sleep(kPatience);
  return reply;
}

}  // namespace Lab
