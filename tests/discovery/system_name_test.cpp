#include "discovery/system_name.h"

#include "core/core_test.h"
#include "core/startup/process_test.h"
#include "discovery/known_names.h"

namespace Halvard::Discovery {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::Known;
using testing::Not;
using Testing::OwnLog;

constexpr wchar_t kInstallParameter[] = L"C:\\cfg\\install-defaults\\system.hostname";

class SystemName : public CoreTest {
 protected:
  SystemName() {
    Known() = {};
    machine_.SetSystemVariable(L"OSTREL_CFG_DIR", L"C:\\cfg");
    machine_.MakeFolder(L"C:\\cfg\\install-defaults");
    gProperties[L"APP_NET_PNID"] = L"old.example.test";
    gProperties[L"SOURCE_PRODUCT_WITH_VERSION"] = L"Source 6.0";
    gProperties[L"MC_LOCALE"] = L"en";
  }

  static std::wstring Property(const wchar_t* name) { return gProperties[name]; }

  static void UseType(const wchar_t* type, bool platform = false) {
    gProperties[L"MIGRATION_TYPE"] = type;
    gProperties[L"RIMSAWIN_INSTALLED"] = platform ? L"1" : L"";
  }

  /// Checks what a failed choice tells, with \p argument in the messages' place.
  static void ExpectRefusal(std::uint16_t error, std::uint16_t resolution,
                            const std::wstring& argument = {}) {
    const std::wstring errorText = English(error, {argument});
    const std::wstring resolutionText = English(resolution, {argument});
    EXPECT_EQ(Property(L"PNID_ERROR"), errorText + L"\n" + resolutionText);
    EXPECT_THAT(OwnLog(), AllOf(Contains(ErrorLine(L"ParsePreUpgradeOutput: " + errorText)),
                                Contains(InfoLine(L"ParsePreUpgradeOutput: " + resolutionText))));
  }
};

struct Choice {
  const char* row;
  const wchar_t* type;
  SystemNameSources sources;
  std::set<std::wstring> usable;
  const wchar_t* name;
  std::vector<std::wstring> asked;
};

const Choice kChoices[] = {
    {"infrastructure takes its own name",
     L"infrastructure",
     {.kv = {L"kv.test", {}, {L"kv.test"}}, .sso = {L"sso.test", {}, {L"sso.test"}}, .afd = {}},
     {L"kv.test", L"sso.test"},
     L"sso.test",
     {L"sso.test"}},
    {"infrastructure takes what its certificate has",
     L"infrastructure",
     {.kv = {}, .sso = {L"old.test", {L"192.0.2.1"}, {L"sso.test"}}, .afd = {}},
     {L"sso.test", L"192.0.2.1"},
     L"sso.test",
     {L"sso.test"}},
    {"management takes its own name",
     L"management",
     {.kv = {L"kv.test", {}, {L"*.test"}}, .sso = {L"sso.test", {}, {L"sso.test"}}, .afd = {}},
     {L"kv.test", L"sso.test"},
     L"kv.test",
     {L"kv.test"}},
    {"embedded takes the server's name first",
     L"embedded",
     {.kv = {L"b.test", {}, {L"*.test"}}, .sso = {L"a.test", {}, {L"*.test"}}, .afd = {}},
     {L"a.test", L"b.test"},
     L"b.test",
     {L"b.test"}},
    {"embedded takes the other name when the server's can't be kept",
     L"embedded",
     {.kv = {L"b.test", {}, {L"*.test"}}, .sso = {L"a.test", {}, {L"*.test"}}, .afd = {}},
     {L"a.test"},
     L"a.test",
     {L"b.test", L"a.test"}},
    {"embedded takes no name that only one certificate covers",
     L"embedded",
     {.kv = {L"b.test", {}, {L"b.test", L"c.test"}},
      .sso = {L"a.test", {}, {L"a.test", L"C.test"}},
      .afd = {}},
     {L"a.test", L"b.test", L"c.test", L"C.test"},
     L"c.test",
     {L"c.test"}},
    {"embedded takes the server's plain name under the other's wildcard",
     L"embedded",
     {.kv = {L"", {}, {L"b.test", L"c.test"}}, .sso = {L"", {}, {L"*.test"}}, .afd = {}},
     {L"c.test"},
     L"c.test",
     {L"b.test", L"c.test"}},
    {"embedded takes no plain name under the server's wildcard",
     L"embedded",
     {.kv = {L"", {}, {L"*.test"}}, .sso = {L"", {}, {L"a.test"}}, .afd = {}},
     {L"a.test"},
     L"",
     {L"*.test"}},
    {"embedded takes the other spelling where the server's name validates at the second asking",
     L"embedded",
     {.kv = {L"", {}, {L"*.test"}}, .sso = {L"", {}, {L"a.test"}}, .afd = {}},
     {L"*.test"},
     L"a.test",
     {L"*.test"}},
    {"embedded asks twice for two plain names",
     L"embedded",
     {.kv = {L"", {}, {L"A.test"}}, .sso = {L"", {}, {L"a.test"}}, .afd = {}},
     {L"a.test"},
     L"",
     {L"A.test", L"A.test"}},
    {"embedded takes a common address when there is no common name",
     L"embedded",
     {.kv = {L"kv.test", {L"192.0.2.1", L"192.0.2.3", L"192.0.2.4"}, {L"kv.test"}},
      .sso = {L"sso.test", {L"192.0.2.2", L"192.0.2.3", L"192.0.2.4"}, {L"sso.test"}},
      .afd = {}},
     {L"192.0.2.1", L"192.0.2.2", L"192.0.2.4", L"kv.test", L"sso.test"},
     L"192.0.2.4",
     {L"192.0.2.3", L"192.0.2.4"}},
    {"embedded takes an address that both have and one bears",
     L"embedded",
     {.kv = {L"192.0.2.3", {L"192.0.2.3"}, {}},
      .sso = {L"sso.test", {L"192.0.2.3"}, {L"sso.test"}},
      .afd = {}},
     {L"192.0.2.3"},
     L"192.0.2.3",
     {L"192.0.2.3"}},
};

TEST_F(SystemName, FollowsTheTypeOfAnOlderSource) {
  for (const Choice& row : kChoices) {
    SCOPED_TRACE(row.row);
    UseType(row.type);
    Known() = {row.usable, {}, {}};
    const std::wstring expected = row.name;
    EXPECT_EQ(ChooseSystemName(row.sources), !expected.empty());
    EXPECT_EQ(Property(L"APP_NET_PNID"), expected);
    EXPECT_EQ(Known().asked, row.asked);
    EXPECT_EQ(OwnLog().back(),
              InfoLine(L"ParsePreUpgradeOutput: Populated AppNetPnid from PreUpgradeOutput: [" +
                       expected + L"]."));
  }
}

struct Refusal {
  const wchar_t* type;
  std::uint16_t error;
  std::uint16_t resolution;
};

class WithoutAName : public SystemName, public testing::WithParamInterface<Refusal> {};

TEST_P(WithoutAName, TellsWhatToMend) {
  UseType(GetParam().type);
  EXPECT_FALSE(ChooseSystemName({}));
  ExpectRefusal(GetParam().error, GetParam().resolution);
  EXPECT_EQ(Property(L"APP_NET_PNID"), L"");
  EXPECT_EQ(OwnLog().back(),
            InfoLine(L"ParsePreUpgradeOutput: Populated AppNetPnid from PreUpgradeOutput: []."));
}

INSTANTIATE_TEST_SUITE_P(Types, WithoutAName,
                         testing::Values(Refusal{L"infrastructure", 1105, 1106},
                                         Refusal{L"management", 1107, 1108},
                                         Refusal{L"embedded", 1109, 1110}));

TEST_F(SystemName, RefusalSpeaksTheClientsLanguage) {
  UseType(L"management");
  gProperties[L"MC_LOCALE"] = L"de";
  EXPECT_FALSE(ChooseSystemName({}));
  EXPECT_EQ(Property(L"PNID_ERROR"), Message(1031, 1107) + L"\n" + Message(1031, 1108));
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"ParsePreUpgradeOutput: " + English(1107))));
}

TEST_F(SystemName, AnEarlierRefusalStays) {
  UseType(L"management");
  gProperties[L"PNID_ERROR"] = L"earlier";
  Known().usable = {L"kv.test"};
  EXPECT_TRUE(ChooseSystemName({.kv = {L"kv.test", {}, {L"kv.test"}}, .sso = {}, .afd = {}}));
  EXPECT_EQ(Property(L"PNID_ERROR"), L"earlier");
}

TEST_F(SystemName, AnUpdateManagerHasNone) {
  UseType(L"tum");
  EXPECT_TRUE(ChooseSystemName({.kv = {L"kv.test", {}, {L"kv.test"}}, .sso = {}, .afd = {}}));
  EXPECT_EQ(Property(L"APP_NET_PNID"), L"old.example.test");
  EXPECT_THAT(Known().asked, IsEmpty());
}

class PlatformSource : public SystemName, public testing::WithParamInterface<const wchar_t*> {
 protected:
  PlatformSource() { UseType(GetParam(), true); }
};

TEST_P(PlatformSource, KeepsItsNameUnchecked) {
  EXPECT_TRUE(ChooseSystemName({.kv = {L"kv.test", {}, {L"kv.test"}},
                                .sso = {L"sso.test", {}, {L"sso.test"}},
                                .afd = {L"afd.test", {}, {}}}));
  EXPECT_EQ(Property(L"APP_NET_PNID"), L"afd.test");
  EXPECT_THAT(Known().asked, IsEmpty());
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(L"ParsePreUpgradeOutput: Setting AppNetPnid to [afd.test]")));
}

TEST_P(PlatformSource, TakesTheInstallParameterWithoutOne) {
  machine_.WriteFile(kInstallParameter, "host.test\n");
  EXPECT_TRUE(ChooseSystemName({}));
  EXPECT_EQ(Property(L"APP_NET_PNID"), L"host.test");
  EXPECT_THAT(
      OwnLog(),
      AllOf(Contains(InfoLine(
                L"ParsePreUpgradeOutput: Read AppNetPnid from install parameter: [host.test].")),
            Contains(InfoLine(L"ParsePreUpgradeOutput: Setting AppNetPnid to [host.test]"))));
}

TEST_P(PlatformSource, FailsWithoutAnyName) {
  EXPECT_FALSE(ChooseSystemName({.kv = {L"kv.test", {}, {L"kv.test"}}, .sso = {}, .afd = {}}));
  ExpectRefusal(1113, 1114, L"Source 6.0");
  // What an earlier choice has left stays.
  EXPECT_EQ(Property(L"APP_NET_PNID"), L"old.example.test");
  EXPECT_THAT(
      OwnLog(),
      Contains(InfoLine(L"ParsePreUpgradeOutput: Read AppNetPnid from install parameter: [].")));
}

TEST_P(PlatformSource, CertificateTakesAllButWildcards) {
  FillCertificateLists(
      {.kv = {L"", {L"192.0.2.1"}, {L"kv.test"}},
       .sso = {L"", {L"192.0.2.2"}, {L"sso.test"}},
       .afd = {L"", {L"192.0.2.4", L"192.0.2.3"}, {L"*.test", L"b.test", L"B.test"}}});
  EXPECT_EQ(Property(L"CERT_IP_ADDRESSES"), L"192.0.2.3,192.0.2.4");
  EXPECT_EQ(Property(L"CERT_DNS_NAMES"), L"B.test,b.test");
  EXPECT_THAT(Known().asked, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Types, PlatformSource,
                         testing::Values(L"infrastructure", L"management", L"embedded"));

struct Lists {
  const wchar_t* type;
  const wchar_t* addresses;
  const wchar_t* names;
  std::vector<std::wstring> asked;
};

TEST_F(SystemName, CertificateTakesWhatTheTypesComponentsCanKeep) {
  const SystemNameSources sources{
      .kv = {L"", {L"192.0.2.1", L"192.0.2.9"}, {L"*.test", L"common.test", L"kv.test"}},
      .sso = {L"", {L"192.0.2.2"}, {L"common.test", L"gone.test", L"sso.test"}},
      .afd = {L"", {L"192.0.2.4"}, {L"afd.test"}}};
  const std::vector<std::wstring> askedOfSso = {L"192.0.2.2 (dhcp)", L"common.test (dhcp)",
                                                L"gone.test (dhcp)", L"sso.test (dhcp)"};
  const std::vector<std::wstring> askedOfKv = {L"192.0.2.1 (dhcp)", L"192.0.2.9 (dhcp)",
                                               L"common.test (dhcp)", L"kv.test (dhcp)"};
  std::vector<std::wstring> askedOfBoth = askedOfSso;
  askedOfBoth.insert(askedOfBoth.end(), askedOfKv.begin(), askedOfKv.end());
  const Lists rows[] = {
      {L"infrastructure", L"192.0.2.2", L"common.test,sso.test", askedOfSso},
      {L"management", L"192.0.2.1", L"common.test,kv.test", askedOfKv},
      {L"embedded", L"192.0.2.1,192.0.2.2", L"common.test,kv.test,sso.test", askedOfBoth},
      {L"tum", L"", L"", {}},
  };
  for (const Lists& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.type));
    UseType(row.type);
    // An address from DHCP is refused as a system name and good enough here.
    Known() = {
        {L"192.0.2.1", L"*.test", L"common.test", L"kv.test", L"sso.test"}, {L"192.0.2.2"}, {}};
    FillCertificateLists(sources);
    EXPECT_EQ(Property(L"CERT_IP_ADDRESSES"), row.addresses);
    EXPECT_EQ(Property(L"CERT_DNS_NAMES"), row.names);
    EXPECT_EQ(Known().asked, row.asked);
    EXPECT_EQ(OwnLog().back(),
              InfoLine(L"ParsePreUpgradeOutput: Certificate values retrieved IP Addresses: [" +
                       std::wstring(row.addresses) + L"] DNS Names: [" + row.names + L"]."));
  }
}

}  // namespace
}  // namespace Halvard::Discovery
