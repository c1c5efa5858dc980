#include "network/time_servers.h"

#include "collection_test.h"
#include "core/text.h"
#include "standins/chronyd/chronyd.h"
#include "support/datagram_server.h"

namespace Halvard::Network {
namespace {

using Lab::DatagramServer;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using Testing::ErrorLine;
using ::testing::HasSubstr;
using Testing::InfoLine;
using ::testing::IsEmpty;
using ::testing::Not;
using Testing::WarningLine;

/// A machine in whose network alpha and beta tell the time, and dead and gone don't.
class TimeServers : public CollectionTest {
 protected:
  TimeServers() {
    AddServer("alpha", "192.0.2.5", alive_.Address());
    AddServer("beta", "192.0.2.6", alive_.Address());
    const std::string closed = Lab::ClosedDatagramPort();
    AddServer("dead", "192.0.2.7", closed);
    AddServer("gone", "192.0.2.8", closed);
  }

  void AddServer(const std::string& name, const std::string& address, const std::string& real) {
    Json::Value addresses(Json::arrayValue);
    addresses.append(address);
    machine_.Set("/hosts/" + name, addresses);
    machine_.Set("/addressMap/" + address + ":123", real);
  }
  void Configure(const wchar_t* type, const wchar_t* servers) {
    machine_.SetRegistryString(kTimeServiceKey, L"Type", type);
    machine_.SetRegistryString(kTimeServiceKey, L"NtpServer", servers);
  }
  bool Ask() { return GetNTPServer(servers_, type_, reply_); }
  std::wstring Error() const { return Utf8ToWide(reply_["error"].asString()); }
  std::size_t Questions() const { return alive_.Requests().size(); }
  static std::vector<Testing::LogLine> Lines() { return LinesOf(L"GetNTPServer"); }

  const DatagramServer alive_{"x"};
  std::wstring servers_ = L"left from before";
  std::wstring type_ = L"left from before";
  Json::Value reply_ = Json::Value(Json::objectValue);
};

TEST_F(TimeServers, FlagsAreCutFromTheNames) {
  Configure(L"NTP", L"alpha,0x9 beta,0x1");
  EXPECT_TRUE(Ask());
  EXPECT_EQ(servers_, L"alpha,beta");
  EXPECT_EQ(type_, L"NTP");
  EXPECT_TRUE(reply_.empty());
  EXPECT_EQ(Questions(), 2u);
  EXPECT_THAT(Lines(),
              ElementsAre(InfoLine(L"GetNTPServer: NTP type: [NTP]"),
                          InfoLine(L"GetNTPServer: NTP Server: [alpha,0x9 beta,0x1]"),
                          InfoLine(L"GetNTPServer: Validated NTP servers list is [alpha,beta]")));
  EXPECT_TRUE(gProperties[L"HV_WARNING_MESSAGES"].empty());
}

struct Separators {
  const char* name;
  const wchar_t* value;
  const wchar_t* servers;
};
class OddSeparators : public TimeServers, public ::testing::WithParamInterface<Separators> {};
TEST_P(OddSeparators, LeaveTheNames) {
  Configure(L"AllSync", GetParam().value);
  EXPECT_TRUE(Ask());
  EXPECT_EQ(servers_, GetParam().servers);
}
INSTANTIATE_TEST_SUITE_P(
    Of, OddSeparators,
    ::testing::Values(Separators{"ManyBlanks", L"   alpha   beta  ", L"alpha,beta"},
                      Separators{"SecondComma", L"alpha,0x9,0x1 beta,", L"alpha,beta"},
                      Separators{"Twice", L"alpha alpha", L"alpha,alpha"},
                      Separators{"OnlyBlanks", L"   ", L""}, Separators{"Nothing", L"", L""},
                      // A tab is part of a name, which then isn't known; so is a semicolon.
                      Separators{"Tab", L"alpha\tbeta alpha", L"alpha"},
                      Separators{"Semicolon", L"alpha;beta beta", L"beta"},
                      // Without a name there's the machine itself, which doesn't tell the time.
                      Separators{"NameOfAnAddress", L"192.0.2.5,0x8", L"192.0.2.5"}),
    [](const auto& row) { return row.param.name; });

TEST_F(TimeServers, NameOfAThousandCharactersIsDeadAndNoMore) {
  const std::wstring name(1'000, L'a');
  Configure(L"NTP", (name + L",0x9 alpha").c_str());
  EXPECT_TRUE(Ask());
  EXPECT_EQ(servers_, L"alpha");
  EXPECT_THAT(Lines(),
              Contains(WarningLine(L"GetNTPServer: NTP server validation failed for " + name)));
}

TEST_F(TimeServers, DomainHierarchyCarriesNoServerOver) {
  Configure(L"nt5ds", L"alpha");
  EXPECT_TRUE(Ask());
  EXPECT_EQ(servers_, L"");
  EXPECT_EQ(type_, L"nt5ds");
  EXPECT_EQ(Questions(), 0u);
  EXPECT_THAT(
      Lines(),
      ElementsAre(InfoLine(L"GetNTPServer: NTP type: [nt5ds]"),
                  InfoLine(L"GetNTPServer: Ignoring NTP server value as NTP type is NT5DS")));
}

TEST_F(TimeServers, WithoutATypeTheServersAreStillAsked) {
  machine_.SetRegistryString(kTimeServiceKey, L"NtpServer", L"alpha");
  EXPECT_TRUE(Ask());
  EXPECT_EQ(servers_, L"alpha");
  EXPECT_EQ(type_, L"");
  EXPECT_THAT(Lines(), Contains(WarningLine(L"GetNTPServer: Failed to get NTP type information.")));
}

TEST_F(TimeServers, WithoutAValueThereIsNothingToAsk) {
  machine_.SetRegistryString(kTimeServiceKey, L"Type", L"NTP");
  EXPECT_TRUE(Ask());
  EXPECT_EQ(servers_, L"");
  EXPECT_EQ(type_, L"NTP");
  EXPECT_THAT(Lines(), ElementsAre(InfoLine(L"GetNTPServer: NTP type: [NTP]"),
                                   ErrorLine(L"GetNTPServer: Failed to get the NTP Server "
                                             L"information.")));
}

TEST_F(TimeServers, AllDeadIsAnErrorForTypeNtp) {
  Configure(L"ntp", L"dead,0x9 gone");
  EXPECT_FALSE(Ask());
  EXPECT_EQ(servers_, L"dead,0x9 gone");
  const std::wstring text =
      L"Error: Windows Machine is configured to use the NTP server(s) dead,gone which is/are not "
      L"responding to NTP requests.\nResolution: Refer "
      L"https://kb.ostrel.example/time-servers to reconfigure the machine to use valid NTP "
      L"servers.";
  EXPECT_EQ(Error(), text);
  EXPECT_THAT(Lines(),
              ElementsAre(InfoLine(L"GetNTPServer: NTP type: [ntp]"),
                          InfoLine(L"GetNTPServer: NTP Server: [dead,0x9 gone]"),
                          WarningLine(L"GetNTPServer: NTP server validation failed for dead"),
                          WarningLine(L"GetNTPServer: NTP server validation failed for gone"),
                          ErrorLine(L"GetNTPServer: " + text)));
  EXPECT_TRUE(gProperties[L"HV_WARNING_MESSAGES"].empty());
}

TEST_F(TimeServers, ErrorIsInTheLanguageOfTheClient) {
  gProperties[L"MC_LOCALE"] = L"de";
  Configure(L"NTP", L"dead");
  EXPECT_FALSE(Ask());
  EXPECT_THAT(Error(), AllOf(HasSubstr(L"dead"), Not(HasSubstr(L"not responding"))));
  EXPECT_THAT(Lines(), Contains(::testing::Field(&Testing::LogLine::message,
                                                 HasSubstr(L"dead which is/are not responding"))));
}

TEST_F(TimeServers, AllDeadIsAWarningForAnyOtherType) {
  Configure(L"AllSync", L"dead");
  EXPECT_TRUE(Ask());
  EXPECT_EQ(servers_, L"");
  EXPECT_TRUE(reply_.empty());
  const std::wstring text =
      L"Warning: Following NTP server(s) on the source Windows machine are not responding and "
      L"will not be migrated:\ndead";
  EXPECT_EQ(gProperties[L"HV_WARNING_MESSAGES"].Value(), text + L"\n");
  EXPECT_THAT(Lines(), Contains(WarningLine(L"GetNTPServer: " + text)));
  EXPECT_THAT(Lines(), Contains(InfoLine(L"GetNTPServer: Validated NTP servers list is []")));
}

TEST_F(TimeServers, DeadOnesAreDroppedWithAWarning) {
  gProperties[L"HV_WARNING_MESSAGES"] = L"Earlier.\n";
  Configure(L"NTP", L"dead alpha gone beta");
  EXPECT_TRUE(Ask());
  EXPECT_EQ(servers_, L"alpha,beta");
  EXPECT_EQ(gProperties[L"HV_WARNING_MESSAGES"].Value(),
            L"Earlier.\nWarning: Following NTP server(s) on the source Windows machine are not "
            L"responding and will not be migrated:\ndead,gone\n");
}

TEST_F(TimeServers, WarningIsInTheLanguageOfTheClient) {
  gProperties[L"MC_LOCALE"] = L"fr";
  Configure(L"NTP", L"dead alpha");
  EXPECT_TRUE(Ask());
  const std::wstring warning = gProperties[L"HV_WARNING_MESSAGES"];
  EXPECT_THAT(warning, AllOf(HasSubstr(L"dead"), Not(HasSubstr(L"not responding"))));
}

TEST_F(TimeServers, RealServerAndASilentOne) {
  if (!Lab::Chronyd::Installed()) GTEST_SKIP() << "the host has no chronyd";
  const Lab::Chronyd real;
  const DatagramServer silent(std::nullopt);
  AddServer("real", "192.0.2.9", real.Address());
  AddServer("silent", "192.0.2.11", silent.Address());
  // Thirty seconds of the machine pass in a moment.
  machine_.Set("/clock/speed", 1'000);
  Configure(L"NTP", L"silent,0x8 real,0x8");
  EXPECT_TRUE(Ask());
  EXPECT_EQ(servers_, L"real");
  EXPECT_THAT(gProperties[L"HV_WARNING_MESSAGES"].Value(), HasSubstr(L":\nsilent\n"));
}

}  // namespace
}  // namespace Halvard::Network
