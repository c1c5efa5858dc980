// The firewall of a machine, beyond what the Windows API tells.
#include "machine/firewall.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "com/com_object.h"
#include "host/com.h"
#include "host/firewall_api.h"
#include "machine/machine.h"
#include "support/lab_instance.h"

namespace Lab {
namespace {

using Halvard::Host::ComPtr;
using Halvard::Host::UniqueText;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr auto kDenied = static_cast<HRESULT>(0x80070005);
constexpr LONG kPort = 9123;

class FirewallOfMachine : public testing::Test {
 protected:
  FirewallOfMachine() { (void)CoInitialize(nullptr); }
  ~FirewallOfMachine() override { EXPECT_EQ(LiveComObjects(), 0u); }

  static HRESULT ReadProfile(ComPtr<INetFwProfile>& profile) {
    ComPtr<INetFwMgr> manager;
    EXPECT_EQ(CoCreateInstance(__uuidof(NetFwMgr), nullptr, CLSCTX_INPROC_SERVER,
                               __uuidof(INetFwMgr), manager.PutAny()),
              S_OK);
    ComPtr<INetFwPolicy> policy;
    EXPECT_EQ(manager->get_LocalPolicy(policy.Put()), S_OK);
    return policy->get_CurrentProfile(profile.Put());
  }

  static void ListPorts(ComPtr<INetFwOpenPorts>& ports) {
    ComPtr<INetFwProfile> profile;
    ASSERT_EQ(ReadProfile(profile), S_OK);
    ASSERT_EQ(profile->get_GloballyOpenPorts(ports.Put()), S_OK);
  }

  static HRESULT Open(const wchar_t* name) {
    ComPtr<INetFwOpenPorts> ports;
    ListPorts(ports);
    ComPtr<INetFwOpenPort> opening;
    EXPECT_EQ(CoCreateInstance(__uuidof(NetFwOpenPort), nullptr, CLSCTX_INPROC_SERVER,
                               __uuidof(INetFwOpenPort), opening.PutAny()),
              S_OK);
    const UniqueText text(SysAllocString(name));
    EXPECT_EQ(opening->put_Port(kPort), S_OK);
    EXPECT_EQ(opening->put_Name(text.Get()), S_OK);
    return ports->Add(opening.Get());
  }

  static HRESULT Close() {
    ComPtr<INetFwOpenPorts> ports;
    ListPorts(ports);
    return ports->Remove(kPort, NET_FW_IP_PROTOCOL_TCP);
  }

  void DescribeOpening(const char* protocol, bool enabled) {
    Json::Value opening;
    opening["port"] = 9123;
    opening["name"] = "Somebody's \xC3\xB6";
    opening["protocol"] = protocol;
    opening["enabled"] = enabled;
    Json::Value openings;
    openings.append(opening);
    instance_.Set("/firewall/openPorts", openings);
  }

  static std::vector<Opening> Openings() { return TheMachine().FirewallOpenings().All(); }

  Instance instance_;
};

TEST_F(FirewallOfMachine, IsOnAndClosedUnlessToldOtherwise) {
  ComPtr<INetFwProfile> profile;
  ASSERT_EQ(ReadProfile(profile), S_OK);
  VARIANT_BOOL enabled = VARIANT_FALSE;
  EXPECT_EQ(profile->get_FirewallEnabled(&enabled), S_OK);
  EXPECT_EQ(enabled, VARIANT_TRUE);
  EXPECT_THAT(Openings(), IsEmpty());
  instance_.Set("/firewall/on", false);
  EXPECT_EQ(profile->get_FirewallEnabled(&enabled), S_OK);
  EXPECT_EQ(enabled, VARIANT_FALSE);
}

TEST_F(FirewallOfMachine, HasNoProfileWhileItsServiceIsStopped) {
  instance_.Set("/firewall/serviceRuns", false);
  ComPtr<INetFwProfile> profile;
  EXPECT_EQ(ReadProfile(profile), static_cast<HRESULT>(0x800706D9));
  EXPECT_FALSE(profile);
}

TEST_F(FirewallOfMachine, LetsAdministratorsAloneChangeIt) {
  instance_.Set("/user/elevated", false);
  EXPECT_EQ(Open(L"a"), kDenied);
  EXPECT_EQ(Close(), kDenied);
  EXPECT_THAT(Openings(), IsEmpty());
}

TEST_F(FirewallOfMachine, MayBeManagedBySomebodyWhoLetsNobodyAdd) {
  instance_.Set("/firewall/managed", true);
  EXPECT_EQ(Open(L"a"), kDenied);
  EXPECT_THAT(Openings(), IsEmpty());
  EXPECT_EQ(Close(), S_OK);
}

TEST_F(FirewallOfMachine, KeepsOpeningsForTheProgramsToCome) {
  EXPECT_EQ(Open(L"Z\u00fcrich \u6771\u4eac"), S_OK);
  OpenMachine(instance_.Folder());
  EXPECT_THAT(Openings(),
              ElementsAre(Opening{9123, IpProtocol::kTcp, L"Z\u00fcrich \u6771\u4eac", true}));
  EXPECT_EQ(Close(), S_OK);
  OpenMachine(instance_.Folder());
  EXPECT_THAT(Openings(), IsEmpty());
}

TEST_F(FirewallOfMachine, ReplacesAnOpeningOfTheSamePort) {
  DescribeOpening("tcp", false);
  EXPECT_EQ(Open(L"mine"), S_OK);
  EXPECT_THAT(Openings(), ElementsAre(Opening{9123, IpProtocol::kTcp, L"mine", true}));
  EXPECT_EQ(Close(), S_OK);
  EXPECT_THAT(Openings(), IsEmpty());
}

TEST_F(FirewallOfMachine, KeepsTheOtherProtocolApart) {
  DescribeOpening("udp", true);
  const Opening described{9123, IpProtocol::kUdp, L"Somebody's \u00f6", true};
  EXPECT_EQ(Open(L"mine"), S_OK);
  EXPECT_THAT(Openings(), ElementsAre(described, Opening{9123, IpProtocol::kTcp, L"mine", true}));
  EXPECT_EQ(Close(), S_OK);
  EXPECT_THAT(Openings(), ElementsAre(described));
}

TEST_F(FirewallOfMachine, ComplainsOfASpoiltFile) {
  for (const char* text : {"[]", "{}", "{\"openPorts\": [7]}", "{\"openPorts\": [{\"port\": 1}]}",
                           "{\"openPorts\": [{\"port\": \"1\", \"name\": \"a\"}]}"}) {
    std::ofstream(instance_.Folder() / "firewall.json") << text;
    try {
      (void)Openings();
      ADD_FAILURE() << text;
    } catch (const MachineError& error) {
      EXPECT_THAT(error.what(), HasSubstr("firewall.json: /"));
    }
  }
}

}  // namespace
}  // namespace Lab
