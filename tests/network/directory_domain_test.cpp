#include "network/directory_domain.h"

#include "collection_test.h"

namespace Halvard::Network {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;

class DirectoryDomain : public CollectionTest {
 protected:
  void Join(const char* trust = "whole") {
    Json::Value domain;
    domain["name"] = "corp.example";
    domain["netbiosName"] = "CORP";
    domain["trust"] = trust;
    domain["controller"]["name"] = "dc1.corp.example";
    domain["controller"]["address"] = "192.0.2.5";
    machine_.Set("/domain", domain);
  }
  void SetControllerAddresses(std::initializer_list<const char*> addresses) {
    Json::Value list(Json::arrayValue);
    for (const char* address : addresses) list.append(address);
    machine_.Set("/hosts/dc1.corp.example", list);
  }
  static std::vector<Testing::LogLine> Lines() { return LinesOf(L"GetActiveDirectoryConfig"); }
  void ExpectEmpty() const {
    EXPECT_EQ(config_.domainName + config_.dcName + config_.dcAddress + config_.dcIpv4Addresses +
                  config_.dcIpv6Addresses,
              L"");
  }

  ActiveDirectoryConfig config_{L"left", L"from", L"before", L"and", L"more"};
};

TEST_F(DirectoryDomain, MachineOutsideAnyDomainIsNoFailure) {
  gProperties[L"AD_NAME"] = L"untouched";
  EXPECT_TRUE(GetActiveDirectoryConfig(config_));
  ExpectEmpty();
  EXPECT_EQ(gProperties[L"AD_NAME"].Value(), L"untouched");
  EXPECT_THAT(Lines(), ElementsAre(InfoLine(L"GetActiveDirectoryConfig: This machine is not joined "
                                            L"to an AD domain.")));
}

TEST_F(DirectoryDomain, MemberWithoutAReachableControllerLooksTheSame) {
  Join("noController");
  EXPECT_TRUE(GetActiveDirectoryConfig(config_));
  ExpectEmpty();
}

TEST_F(DirectoryDomain, AnyOtherCodeIsAFailure) {
  Join();
  machine_.PlanFault({.function = "DsGetDcNameW", .call = 1, .match = {}, .error = 1722});
  EXPECT_FALSE(GetActiveDirectoryConfig(config_));
  ExpectEmpty();
  EXPECT_THAT(Lines(), ElementsAre(ErrorLine(L"GetActiveDirectoryConfig: Failed to retrieve Active "
                                             L"Directory config. Error: [1722]")));
}

TEST_F(DirectoryDomain, MemberIsToldItsDomainAndController) {
  Join();
  SetControllerAddresses({"2001:db8::5", "192.0.2.5", "192.0.2.6"});
  EXPECT_TRUE(GetActiveDirectoryConfig(config_));
  EXPECT_EQ(config_.domainName, L"corp.example");
  EXPECT_EQ(config_.dcName, L"\\\\dc1.corp.example");
  EXPECT_EQ(config_.dcAddress, L"\\\\192.0.2.5");
  EXPECT_EQ(config_.dcIpv4Addresses, L"192.0.2.5,192.0.2.6");
  EXPECT_EQ(config_.dcIpv6Addresses, L"2001:db8::5");
  EXPECT_EQ(gProperties[L"AD_NAME"].Value(), L"corp.example");
  EXPECT_THAT(
      Lines(),
      ElementsAre(InfoLine(L"GetActiveDirectoryConfig: Machine is joined to [corp.example] AD "
                           L"domain."),
                  InfoLine(L"GetActiveDirectoryConfig: DC name: [\\\\dc1.corp.example], DC "
                           L"address: [\\\\192.0.2.5],DC IPv4 addreses: [192.0.2.5,192.0.2.6], DC "
                           L"IPv6 addresses: [2001:db8::5]")));
}

TEST_F(DirectoryDomain, LoopbackIsNoAddressOfTheController) {
  Join();
  SetControllerAddresses({"127.0.0.1", "::1", "192.0.2.5"});
  EXPECT_TRUE(GetActiveDirectoryConfig(config_));
  EXPECT_EQ(config_.dcIpv4Addresses, L"192.0.2.5");
  EXPECT_EQ(config_.dcIpv6Addresses, L"");
}

TEST_F(DirectoryDomain, ControllerThatDoesNotResolveIsNoFailure) {
  Join();
  EXPECT_TRUE(GetActiveDirectoryConfig(config_));
  EXPECT_EQ(config_.domainName, L"corp.example");
  EXPECT_EQ(config_.dcIpv4Addresses + config_.dcIpv6Addresses, L"");
}

TEST_F(DirectoryDomain, AnswerIsFreedOnce) {
  Join();
  EXPECT_TRUE(GetActiveDirectoryConfig(config_));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("NetApiBufferFree"), 1u);
}

}  // namespace
}  // namespace Halvard::Network
