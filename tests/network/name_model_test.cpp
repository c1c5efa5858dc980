// Every combination of what a candidate can meet, against the outcomes as a table.
#include <array>
#include <tuple>

#include "network/name_validation.h"
#include "network_test.h"

namespace Halvard::Network {
namespace {

using Testing::AdapterWith;
using Testing::JsonList;
using Testing::LogLine;
using Testing::NamesTest;
using Testing::OwnLog;
using Testing::TheDomain;

/// The last word of the log on a candidate.
enum class End { kNone, kAllowing, kRefusal, kWrongDomain, kDhcp, kNotWorking, kOnlyLoopback };

struct Outcome {
  bool valid;
  End end;

  friend bool operator==(const Outcome&, const Outcome&) = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
  constexpr const char* kNames[] = {"no end",    "allowing",    "refusal",      "wrong domain",
                                    "from DHCP", "not working", "only loopback"};
  *out << (outcome.valid ? "valid, " : "invalid, ") << kNames[static_cast<int>(outcome.end)];
}

// The directory domain: none; one with a machine whose name is unknown, so that all names go; one
// with a machine of another name; one that can't be told.
enum Domain { kWorkgroup, kDomainOfAny, kDomainOfAnother, kDomainUnknown };
constexpr std::array kDomains = {kWorkgroup, kDomainOfAny, kDomainOfAnother, kDomainUnknown};

// What an address is.
enum Place { kStatic, kDhcp, kElsewhere, kLoopback };

/// A row of the outcomes of an address; the domain has no say.
struct AddressRow {
  Place place;
  bool allowDhcp;
  Outcome outcome;
};
constexpr AddressRow kAddressRows[] = {
    {kStatic, false, {true, End::kNone}},
    {kStatic, true, {true, End::kAllowing}},
    {kDhcp, false, {false, End::kDhcp}},
    {kDhcp, true, {true, End::kAllowing}},
    {kElsewhere, false, {false, End::kNotWorking}},
    {kElsewhere, true, {false, End::kNotWorking}},
    {kLoopback, false, {false, End::kOnlyLoopback}},
    {kLoopback, true, {false, End::kOnlyLoopback}},
};

// What the resolver answers for a name in one family. Only the first address decides.
enum Answer {
  kNobody,
  kOwn,
  kOwnByDhcp,
  kOther,
  kOwnLoopback,
  kOwnThenOther,
  kOtherThenOwn,
  kOwnThenLoopback,
  kLoopbackThenOwn,
  kAnswers
};
// What DNS servers answer for it.
enum Dns { kUnknown, kAddress, kAlias, kOtherAddress, kDnsAnswers };

/// What a family is worth, as a letter of the table below: '.' nothing, 'L' loopback, 'h' known
/// here alone, 'D' known to DNS.
constexpr char kWorth[kAnswers][kDnsAnswers + 1] = {
    //                     unknown, address, alias, other address
    /* nobody */ "....",
    /* own */ "hDDD",
    /* own, by DHCP */ "hDDD",
    /* other */ "....",
    /* loopback */ "LLLL",
    /* own, other */ "hDDD",
    /* other, own */ "....",
    /* own, loopback */ "hDDD",
    /* loopback, own */ "LLLL",
};

/// Whether a name is valid, by the worth of IPv4 (rows) and IPv6 (columns).
constexpr char kWorths[] = ".LhD";
constexpr char kValid[4][5] = {
    /*       .LhD */
    /* . */ "---+",
    /* L */ "---+",
    /* h */ "---+",
    /* D */ "++++",
};

std::size_t WorthIndex(Answer answer, Dns dns) {
  return std::string_view(kWorths).find(kWorth[answer][dns]);
}

/// What the table says of a name.
Outcome ExpectedOfName(Domain domain, Answer v4, Dns dns4, Answer v6, Dns dns6, bool allowDhcp) {
  if (domain == kDomainOfAnother || domain == kDomainUnknown) return {false, End::kWrongDomain};
  const bool valid = kValid[WorthIndex(v4, dns4)][WorthIndex(v6, dns6)] == '+';
  if (!valid) return {false, End::kRefusal};
  return {true, allowDhcp ? End::kAllowing : End::kNone};
}

// The two families of the model, with the addresses that its machine has and hasn't.
struct FamilyAddresses {
  const char* type;
  const char* own;
  const char* byDhcp;
  const char* other;
  const char* loopback;
};
constexpr FamilyAddresses kFamilies[] = {
    {"A", "192.0.2.1", "192.0.2.2", "192.0.2.99", "127.0.0.1"},
    {"AAAA", "2001:db8::1", "2001:db8::2", "2001:db8::99", "::1"},
};

void AddAnswer(const FamilyAddresses& family, Answer answer, Json::Value& list) {
  switch (answer) {
    case kOwn:
      list.append(family.own);
      break;
    case kOwnByDhcp:
      list.append(family.byDhcp);
      break;
    case kOther:
      list.append(family.other);
      break;
    case kOwnLoopback:
      list.append(family.loopback);
      break;
    case kOwnThenOther:
      list.append(family.own);
      list.append(family.other);
      break;
    case kOtherThenOwn:
      list.append(family.other);
      list.append(family.own);
      break;
    case kOwnThenLoopback:
      list.append(family.own);
      list.append(family.loopback);
      break;
    case kLoopbackThenOwn:
      list.append(family.loopback);
      list.append(family.own);
      break;
    default:
      break;
  }
}

Json::Value Record(const char* type, const char* value) {
  Json::Value record;
  record["type"] = type;
  record["value"] = value;
  return record;
}

void AddDns(const FamilyAddresses& family, Dns dns, Json::Value& list) {
  if (dns == kUnknown) return;
  if (dns == kAlias) {
    Json::Value alias = Record("CNAME", "unknown.test");
    alias["questions"] = JsonList({family.type});
    list.append(alias);
  }
  list.append(Record(family.type, dns == kOtherAddress ? family.other : family.own));
}

/// The index says all of a name, so that one machine can know them all.
struct NameCase {
  Answer v4;
  Dns dns4;
  Answer v6;
  Dns dns6;

  std::string Name() const {
    return "n" + std::to_string(v4) + std::to_string(dns4) + std::to_string(v6) +
           std::to_string(dns6) + ".test";
  }
};

std::vector<NameCase> AllNames() {
  std::vector<NameCase> all;
  for (int v4 = 0; v4 < kAnswers; ++v4) {
    for (int dns4 = 0; dns4 < kDnsAnswers; ++dns4) {
      for (int v6 = 0; v6 < kAnswers; ++v6) {
        for (int dns6 = 0; dns6 < kDnsAnswers; ++dns6) {
          all.push_back({static_cast<Answer>(v4), static_cast<Dns>(dns4), static_cast<Answer>(v6),
                         static_cast<Dns>(dns6)});
        }
      }
    }
  }
  return all;
}

End EndOf(const std::wstring& line) {
  const auto holds = [&](const wchar_t* text) { return line.find(text) != std::wstring::npos; };
  if (holds(L"Allowing DHCP IP addresses.")) return End::kAllowing;
  if (holds(L"is not a DNS name, IPv4 or IPv6 address")) return End::kRefusal;
  if (holds(L"Failed to validate system name with Fqdn.")) return End::kWrongDomain;
  if (holds(L"is assigned using DHCP")) return End::kDhcp;
  if (holds(L"did not work for IPv4 or IPv6")) return End::kNotWorking;
  return holds(L"was only usable for loopback") ? End::kOnlyLoopback : End::kNone;
}

/// The last lines of all checks in the log, in their order.
std::vector<End> EndsInLog() {
  std::vector<End> ends;
  std::wstring last;
  for (const LogLine& line : OwnLog()) {
    if (line.message.starts_with(L"ValidateFqdn: Asked to verify:")) {
      if (!last.empty()) ends.push_back(EndOf(last));
    }
    last = line.message;
  }
  ends.push_back(EndOf(last));
  return ends;
}

class NameModelTest : public NamesTest {
 protected:
  NameModelTest() {
    Json::Value dhcp = AdapterWith({kFamilies[0].byDhcp, kFamilies[1].byDhcp});
    dhcp["dhcp"] = true;
    machine_.Set("/adapters", JsonList({AdapterWith({kFamilies[0].own, kFamilies[1].own}), dhcp}));
    // The log needn't tell of the file's version in each case.
    machine_.Remove("/fileVersions");
  }

  void DescribeNames(const std::vector<NameCase>& names) {
    Json::Value hosts(Json::objectValue);
    Json::Value dns(Json::objectValue);
    for (const NameCase& name : names) {
      Json::Value addresses(Json::arrayValue);
      AddAnswer(kFamilies[0], name.v4, addresses);
      AddAnswer(kFamilies[1], name.v6, addresses);
      // In a name that has no address the resolver goes on to DNS, which has to be silent then.
      if (!addresses.empty()) hosts[name.Name()] = addresses;
      Json::Value records(Json::arrayValue);
      if (name.v4 != kNobody) AddDns(kFamilies[0], name.dns4, records);
      if (name.v6 != kNobody) AddDns(kFamilies[1], name.dns6, records);
      dns[name.Name()] = records;
    }
    machine_.Set("/hosts", hosts);
    machine_.Set("/dns/names", dns);
  }

  void Enter(Domain domain) {
    machine_.Set("/faults", Json::Value(Json::arrayValue));
    TheDomain() = {};
    if (domain == kDomainUnknown) TheDomain().answers = false;
    if (domain == kDomainOfAny || domain == kDomainOfAnother) {
      TheDomain().config.domainName = L"corp.example";
    }
    if (domain == kDomainOfAny) Refuse("GetComputerNameExW", 5);
  }
};

TEST_F(NameModelTest, EveryAddressEndsAsTheTableSays) {
  const LogScope log;
  std::vector<std::tuple<std::string, Outcome, bool>> checked;
  for (const Domain domain : kDomains) {
    Enter(domain);
    for (const AddressRow& row : kAddressRows) {
      for (const FamilyAddresses& family : kFamilies) {
        const char* const addresses[] = {family.own, family.byDhcp, family.other, family.loopback};
        const std::string text = addresses[row.place];
        checked.emplace_back(text, row.outcome,
                             ValidateFqdn({text.begin(), text.end()}, row.allowDhcp));
      }
    }
  }
  const std::vector<End> ends = EndsInLog();
  ASSERT_EQ(ends.size(), checked.size());
  for (std::size_t i = 0; i < ends.size(); ++i) {
    const auto& [text, expected, valid] = checked[i];
    EXPECT_EQ((Outcome{valid, ends[i]}), expected) << text << ", case " << i;
  }
}

class NamesInDomain : public NameModelTest, public ::testing::WithParamInterface<Domain> {};

TEST_P(NamesInDomain, EveryNameEndsAsTheTableSays) {
  const std::vector<NameCase> names = AllNames();
  DescribeNames(names);
  Enter(GetParam());
  const LogScope log;
  std::vector<bool> valid;
  for (const NameCase& name : names) {
    const std::string text = name.Name();
    for (const bool allowDhcp : {false, true}) {
      valid.push_back(ValidateFqdn({text.begin(), text.end()}, allowDhcp));
    }
  }
  const std::vector<End> ends = EndsInLog();
  ASSERT_EQ(ends.size(), 2 * names.size());
  for (std::size_t i = 0; i < ends.size(); ++i) {
    const NameCase& name = names[i / 2];
    const Outcome expected =
        ExpectedOfName(GetParam(), name.v4, name.dns4, name.v6, name.dns6, i % 2 == 1);
    ASSERT_EQ((Outcome{valid[i], ends[i]}), expected) << name.Name() << ", allowed: " << i % 2;
  }
}

std::string DomainName(const ::testing::TestParamInfo<Domain>& info) {
  constexpr const char* kNames[] = {"Workgroup", "DomainOfAny", "DomainOfAnother", "DomainUnknown"};
  return kNames[info.param];
}

INSTANTIATE_TEST_SUITE_P(Domains, NamesInDomain, ::testing::ValuesIn(kDomains), DomainName);

}  // namespace
}  // namespace Halvard::Network
