#include "runner/preupgrade_output.h"

#include "core/core_test.h"
#include "core/startup/process_test.h"
#include "discovery/known_names.h"
#include "preupgrade_test.h"

namespace Halvard::Runner {
namespace {

using testing::Contains;
using Testing::ErrorLine;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::Known;
using Testing::OwnLog;

class PreUpgradeOutput : public CoreTest {
 protected:
  PreUpgradeOutput() {
    Known() = {};
    gProperties[L"MIGRATION_TYPE"] = L"embedded";
  }
};

constexpr char kWholeOutput[] = R"([
  {"name": "com.ostrel.keldb", "requirements": {
    "coreRequirement": {"requiredSrcDiskSpace": 2, "exportEstimationTime": 5},
    "extraArguments": {"src.db.type": "embedded"}}},
  {"name": "com.ostrel.kelvd", "requirements": {"extraArguments": {
    "kelvd.sso.host": "sso.test", "kelvd.sso.sts.url": "https://sso.test/sts",
    "appliance.net.pnid": "kv.test", "kelvd.cert.ip": "192.0.2.1,name.test,,fd00::1",
    "kelvd.cert.dns": "kv.test,192.0.2.1,*.test"}}},
  {"name": "com.ostrel.sso", "requirements": {"extraArguments": {
    "appliance.net.pnid": "sso.test", "sso.cert.ipaddresses": "192.0.2.1,192.0.2.2",
    "sso.cert.dnsnames": "kv.test,sso.test"}}},
  {"name": "com.ostrel.ostrelafd", "requirements": {"extraArguments": {
    "appliance.net.pnid": "afd.test", "tevos.cert.ipaddresses": "192.0.2.3,afd",
    "tevos.cert.dnsnames": "afd.test,192.0.2.3"}}},
  {"name": "com.ostrel.other", "requirements": {"extraArguments": {
    "appliance.net.pnid": "other.test", "src.db.type": "other"}}}])";

TEST_F(PreUpgradeOutput, FillsTheProperties) {
  Known().usable = {L"kv.test", L"sso.test", L"192.0.2.1", L"192.0.2.2", L"fd00::1"};
  EXPECT_TRUE(ParsePreUpgradeOutput(Parse(kWholeOutput)));
  EXPECT_EQ(PropertyValue(L"SRC_DB_TYPE"), L"embedded");
  EXPECT_EQ(PropertyValue(L"INFRA_NODE_ADDRESS"), L"sso.test");
  EXPECT_EQ(PropertyValue(L"SSO_STS_URL"), L"https://sso.test/sts");
  EXPECT_EQ(PropertyValue(L"EXPORT_DATA_SIZE"), L"2048");
  EXPECT_EQ(PropertyValue(L"EXPORT_TIME_ESTIMATE"), L"5");
  EXPECT_EQ(PropertyValue(L"APP_NET_PNID"), L"kv.test");
  // Each list keeps what is of its kind alone.
  EXPECT_EQ(PropertyValue(L"CERT_IP_ADDRESSES"), L"192.0.2.1,192.0.2.2,fd00::1");
  EXPECT_EQ(PropertyValue(L"CERT_DNS_NAMES"), L"kv.test,sso.test");
  EXPECT_EQ(PropertyValue(L"PNID_ERROR"), L"");
}

TEST_F(PreUpgradeOutput, TellsWhatItTook) {
  (void)ParsePreUpgradeOutput(Parse(kWholeOutput));
  for (
      const wchar_t* line :
      {L"Database settings: Type='embedded'",
       L"Retrieved infra node address: [sso.test] and sso.sts.url [https://sso.test/sts].",
       L"KV machine/cert parameters. AppNetPnid: [kv.test], CertIPs: [192.0.2.1,name.test,,fd00::1], CertFQDNs: [kv.test,192.0.2.1,*.test].",
       L"SSO machine/cert parameters. AppNetPnid: [sso.test], CertIPs: [192.0.2.1,192.0.2.2], CertFQDNs: [kv.test,sso.test].",
       L"OSTRELAFD cert parameters. AppNetPnid: [afd.test], CertIPs: [192.0.2.3,afd], CertFQDNs: [afd.test,192.0.2.3]."}) {
    EXPECT_THAT(OwnLog(),
                Contains(InfoLine(std::wstring(L"ParsePreUpgradeOutput: ") + line)).Times(1));
  }
}

TEST_F(PreUpgradeOutput, APlatformSourceIsNamedByItsOwnComponent) {
  gProperties[L"RIMSAWIN_INSTALLED"] = L"1";
  EXPECT_TRUE(ParsePreUpgradeOutput(Parse(kWholeOutput)));
  EXPECT_EQ(PropertyValue(L"APP_NET_PNID"), L"afd.test");
  EXPECT_EQ(PropertyValue(L"CERT_IP_ADDRESSES"), L"192.0.2.3");
  EXPECT_EQ(PropertyValue(L"CERT_DNS_NAMES"), L"afd.test");
}

TEST_F(PreUpgradeOutput, NoComponentsLeaveAnOlderSourceWithoutAName) {
  gProperties[L"APP_NET_PNID"] = L"before";
  gProperties[L"CERT_IP_ADDRESSES"] = L"before";
  EXPECT_FALSE(ParsePreUpgradeOutput(Parse("[]")));
  EXPECT_EQ(PropertyValue(L"EXPORT_DISK_REQ_SIZE"), L"0");
  EXPECT_EQ(PropertyValue(L"APP_NET_PNID"), L"");
  EXPECT_EQ(PropertyValue(L"PNID_ERROR"), English(1109) + L"\n" + English(1110));
  // The lists are filled even so.
  EXPECT_EQ(PropertyValue(L"CERT_IP_ADDRESSES"), L"");
}

TEST_F(PreUpgradeOutput, AbsentComponentsKeepWhatIsKnownAndAbsentMembersDoNot) {
  for (const wchar_t* name : {L"SRC_DB_TYPE", L"INFRA_NODE_ADDRESS", L"SSO_STS_URL"}) {
    gProperties[name] = L"before";
  }
  (void)ParsePreUpgradeOutput(OneComponent("com.ostrel.sso", "{}"));
  EXPECT_EQ(PropertyValue(L"SRC_DB_TYPE"), L"before");
  EXPECT_EQ(PropertyValue(L"INFRA_NODE_ADDRESS"), L"before");
  (void)ParsePreUpgradeOutput(OneComponent("com.ostrel.keldb", "{}"));
  EXPECT_EQ(PropertyValue(L"SRC_DB_TYPE"), L"");
  EXPECT_EQ(PropertyValue(L"SSO_STS_URL"), L"before");
  (void)ParsePreUpgradeOutput(OneComponent("com.ostrel.kelvd", "null"));
  EXPECT_EQ(PropertyValue(L"INFRA_NODE_ADDRESS"), L"");
  EXPECT_EQ(PropertyValue(L"SSO_STS_URL"), L"");
}

TEST_F(PreUpgradeOutput, SimpleValuesBecomeText) {
  (void)ParsePreUpgradeOutput(
      OneComponent("com.ostrel.kelvd",
                   R"({"extraArguments": {"kelvd.sso.host": 5, "kelvd.sso.sts.url": true}})"));
  EXPECT_EQ(PropertyValue(L"INFRA_NODE_ADDRESS"), L"5");
  EXPECT_EQ(PropertyValue(L"SSO_STS_URL"), L"true");
}

TEST_F(PreUpgradeOutput, TextBeyondAsciiStaysWhole) {
  (void)ParsePreUpgradeOutput(
      OneComponent("com.ostrel.keldb",
                   R"({"extraArguments": {"src.db.type": "\u00e4 \u6771\u4eac \ud83d\udd11"}})"));
  EXPECT_EQ(PropertyValue(L"SRC_DB_TYPE"), L"\u00e4 \u6771\u4eac \U0001F511");
}

TEST_F(PreUpgradeOutput, TheLastOfTwoEqualComponentsCounts) {
  (void)ParsePreUpgradeOutput(Parse(R"([
    {"name": "com.ostrel.keldb", "requirements": {"extraArguments": {"src.db.type": "a"}}},
    {"name": "com.ostrel.keldb", "requirements": {"extraArguments": {"src.db.type": "b"}}}])"));
  EXPECT_EQ(PropertyValue(L"SRC_DB_TYPE"), L"b");
}

TEST_F(PreUpgradeOutput, AnythingButAnArrayIsRefused) {
  gProperties[L"APP_NET_PNID"] = L"before";
  for (const char* text : {"null", "{}", R"({"name": "com.ostrel.sso"})", "5", "\"text\""}) {
    EXPECT_FALSE(ParsePreUpgradeOutput(Parse(std::string("[") + text + "]")[0])) << text;
  }
  EXPECT_THAT(
      OwnLog(),
      Contains(
          ErrorLine(
              L"ParsePreUpgradeOutput: UpgradeRunner PreUpgrade output is not formatted correctly."))
          .Times(5));
  EXPECT_EQ(OwnLog().size(), 5u);
  EXPECT_EQ(PropertyValue(L"APP_NET_PNID"), L"before");
}

TEST_F(PreUpgradeOutput, WhatCannotBeConvertedThrows) {
  for (
      const char* text :
      {"[5]", R"([{"name": []}])", R"([{"name": "x", "requirements": {"extraArguments": []}},
        {"name": "com.ostrel.sso", "requirements": {"extraArguments": "text"}}])",
       R"([{"name": "com.ostrel.keldb", "requirements": {"extraArguments": []}}])",
       R"([{"name": "com.ostrel.keldb", "requirements": {"extraArguments": {"src.db.type": []}}}])",
       R"([{"name": "com.ostrel.kelvd", "requirements": {"extraArguments": {"kelvd.sso.host": {}}}}])",
       R"([{"name": "com.ostrel.kelvd", "requirements": {"extraArguments": {"kelvd.cert.ip": ["192.0.2.1"]}}}])",
       R"([{"name": "com.ostrel.sso", "requirements": {"extraArguments": {"sso.cert.dnsnames": ["a"]}}}])",
       R"([{"name": "com.ostrel.ostrelafd", "requirements": {"extraArguments": {"appliance.net.pnid": ["a"]}}}])"}) {
    EXPECT_THROW((void)ParsePreUpgradeOutput(Parse(text)), Json::Exception) << text;
  }
  EXPECT_THAT(Known().asked, IsEmpty());
}

TEST_F(PreUpgradeOutput, MembersOfComponentsThatDoNotCountMayBeAnything) {
  Known().usable = {L"192.0.2.1"};
  EXPECT_FALSE(ParsePreUpgradeOutput(
      Parse(R"([{"name": "x", "requirements": {"extraArguments": ["a", 5]}, "more": [[]]}])")));
}

}  // namespace
}  // namespace Halvard::Runner
