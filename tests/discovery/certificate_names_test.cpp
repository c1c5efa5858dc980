#include "discovery/certificate_names.h"

#include "core/core_test.h"
#include "discovery/known_names.h"

namespace Halvard::Discovery {
namespace {

using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::Known;
using Testing::OwnLog;

class CertificateNames : public CoreTest {
 protected:
  CertificateNames() { Known() = {}; }
};

struct Match {
  const wchar_t* address;
  const wchar_t* dnsName;
  bool compatible;
};

constexpr Match kMatches[] = {
    {L"host.example.test", L"host.example.test", true},
    {L"HOST.example.TEST", L"host.Example.test", true},
    {L"host.example.test", L"other.example.test", false},
    {L"host.example.test", L"host.example.test.", false},
    {L"host", L"host.example.test", false},
    {L"host.example.test", L"*.example.test", true},
    {L"Host.Example.test", L"*.eXample.test", true},
    {L"a.b.example.test", L"*.example.test", false},
    {L"example.test", L"*.example.test", false},
    {L".example.test", L"*.example.test", true},
    {L"host", L"*.example.test", false},
    {L"host", L"*", true},
    {L"", L"*", true},
    {L"host.example.test", L"*", false},
    {L"hostx.example.test", L"*x.example.test", false},
    {L"host.example.test", L"h*.example.test", false},
    {L"host.example.test", L"host.*.test", false},
    {L"a.b.example.test", L"*.*.example.test", false},
    {L"host", L"**", false},
    // An address fits no name, even one of the same spelling, and no wildcard.
    {L"192.0.2.10", L"192.0.2.10", false},
    {L"192.0.2.10", L"*.0.2.10", false},
    {L"fd00::10", L"fd00::10", false},
    {L"fd00::10", L"*", false},
    // Letters beyond A to Z are themselves.
    {L"\u00c4.example.test", L"\u00e4.example.test", false},
    {L"\u6771\u4eac \U0001F511", L"\u6771\u4eac \U0001F511", true},
};

TEST_F(CertificateNames, AWildcardStandsForOneWholeLabel) {
  for (const Match& row : kMatches) {
    EXPECT_EQ(IsAddrCompatibleWithCertDnsName(row.address, row.dnsName), row.compatible)
        << testing::PrintToString(row.address) << " " << testing::PrintToString(row.dnsName);
  }
}

TEST_F(CertificateNames, EachAnswerIsLogged) {
  (void)IsAddrCompatibleWithCertDnsName(L"a.example.test", L"*.example.test");
  (void)IsAddrCompatibleWithCertDnsName(L"192.0.2.10", L"a.example.test");
  (void)IsAddrCompatibleWithCertDnsName(L"a.b.example.test", L"*.*.example.test");
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          InfoLine(
              L"IsAddrCompatibleWithCertDnsName: Address 'a.example.test' is compatible with DNS name '*.example.test'."),
          InfoLine(
              L"IsAddrCompatibleWithCertDnsName: Address '192.0.2.10' is not compatible with DNS name 'a.example.test'."),
          InfoLine(
              L"IsAddrCompatibleWithCertDnsName: Wildcard DNS name '*.*.example.test' in the certificate seems to be formatted incorrectly."),
          InfoLine(
              L"IsAddrCompatibleWithCertDnsName: Address 'a.b.example.test' is not compatible with DNS name '*.*.example.test'.")));
}

TEST_F(CertificateNames, AddressesAreComparedBySpelling) {
  const NameSet addresses{L"192.0.2.10", L"fd00::10"};
  EXPECT_TRUE(IsAddrCompatibleWithCert(L"192.0.2.10", addresses, {}));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(InfoLine(
          L"IsAddrCompatibleWithCert: Address '192.0.2.10' is compatible with an IP present in the certificate")));
  EXPECT_FALSE(IsAddrCompatibleWithCert(L"fd00:0::10", addresses, {}));
  EXPECT_FALSE(IsAddrCompatibleWithCert(L"FD00::10", addresses, {}));
  EXPECT_FALSE(IsAddrCompatibleWithCert(L"192.0.2.11", addresses, {L"192.0.2.11", L"*"}));
  EXPECT_EQ(OwnLog().size(), 1u);
}

TEST_F(CertificateNames, OneOfTheNamesWillDo) {
  EXPECT_TRUE(IsAddrCompatibleWithCert(L"a.example.test", {},
                                       {L"*.other.test", L"A.example.test", L"z.example.test"}));
  EXPECT_EQ(OwnLog().size(), 2u);
  EXPECT_FALSE(IsAddrCompatibleWithCert(L"a.example.test", {L"192.0.2.10"}, {L"*.other.test"}));
  EXPECT_FALSE(IsAddrCompatibleWithCert(L"a.example.test", {L"192.0.2.10"}, {}));
}

TEST_F(CertificateNames, SetsAreIntersectedInOrder) {
  EXPECT_THAT(IntersectSets({L"b", L"a", L"C"}, {L"C", L"b", L"d"}), ElementsAre(L"C", L"b"));
  EXPECT_THAT(IntersectSets({L"a"}, {}), IsEmpty());
}

TEST_F(CertificateNames, MembersOfTheOtherKindAreRemoved) {
  const NameSet all{L"192.0.2.10", L"fd00::10", L"*.example.test", L"host", L"192.0.2", L" ::1"};
  NameSet addresses = all;
  KeepByAddressKind(addresses, AddressKind::kIpLiteral);
  EXPECT_THAT(addresses, ElementsAre(L"192.0.2.10", L"fd00::10"));
  NameSet names = all;
  KeepByAddressKind(names, AddressKind::kName);
  EXPECT_THAT(names, ElementsAre(L" ::1", L"*.example.test", L"192.0.2", L"host"));
}

/// The last line that the selection itself has logged.
Testing::LogLine Verdict() { return OwnLog().back(); }

class SelectName : public CertificateNames {
 protected:
  const NameSet addresses_{L"192.0.2.10", L"192.0.2.9"};
  const NameSet names_{L"*.example.test", L"a.example.test", L"b.example.test"};
};

TEST_F(SelectName, KeepsThePassedNameIfItWillDo) {
  Known().usable = {L"z.example.test", L"a.example.test"};
  EXPECT_EQ(SelectAppNetPnid(L"z.example.test", addresses_, names_), L"z.example.test");
  EXPECT_EQ(Verdict(),
            InfoLine(L"SelectAppNetPnid: Selecting the passed AppNetPnid: z.example.test"));
  EXPECT_THAT(Known().asked, ElementsAre(L"z.example.test"));
}

TEST_F(SelectName, AnIncompatibleNameIsNotEvenValidated) {
  Known().usable = {L"host.other.test", L"b.example.test"};
  EXPECT_EQ(SelectAppNetPnid(L"host.other.test", addresses_, names_), L"b.example.test");
  EXPECT_EQ(
      Verdict(),
      InfoLine(
          L"SelectAppNetPnid: Selected a DNS name from the certificate as the new AppNetPnid: b.example.test"));
  EXPECT_THAT(Known().asked, ElementsAre(L"a.example.test", L"b.example.test"));
}

TEST_F(SelectName, NamesComeBeforeAddressesAndWildcardsNever) {
  Known().usable = {L"*.example.test", L"192.0.2.10", L"192.0.2.9"};
  EXPECT_EQ(SelectAppNetPnid(L"", addresses_, names_), L"192.0.2.10");
  EXPECT_EQ(
      Verdict(),
      InfoLine(
          L"SelectAppNetPnid: Selected an IP from the certificate as the new AppNetPnid: 192.0.2.10"));
  EXPECT_THAT(Known().asked, ElementsAre(L"a.example.test", L"b.example.test", L"192.0.2.10"));
}

TEST_F(SelectName, OrderIsThatOfTheCodeUnits) {
  Known().usable = {L"a.test", L"B.test", L"\u00e4.test"};
  EXPECT_EQ(SelectAppNetPnid(L"", {}, {L"\u00e4.test", L"a.test", L"B.test"}), L"B.test");
}

TEST_F(SelectName, NothingIsChosenFromAnEmptyCertificate) {
  Known().usable = {L"a.example.test"};
  EXPECT_EQ(SelectAppNetPnid(L"a.example.test", {}, {}), L"");
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(ErrorLine(L"SelectAppNetPnid: No IPs or FQDNs present in the certificate.")));
  EXPECT_THAT(Known().asked, IsEmpty());
}

TEST_F(SelectName, NothingIsChosenWhenNothingValidates) {
  Known().dynamic = {L"192.0.2.10"};
  EXPECT_EQ(SelectAppNetPnid(L"192.0.2.10", addresses_, names_), L"");
  EXPECT_EQ(
      Verdict(),
      ErrorLine(
          L"SelectAppNetPnid: No IPs or FQDNs present in the certificate are valid for this system."));
  EXPECT_THAT(Known().asked, ElementsAre(L"192.0.2.10", L"a.example.test", L"b.example.test",
                                         L"192.0.2.10", L"192.0.2.9"));
}

}  // namespace
}  // namespace Halvard::Discovery
