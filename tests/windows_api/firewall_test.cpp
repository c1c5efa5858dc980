// The firewall's objects.
#include "host/firewall_api.h"

#include "host/com.h"
#include "support.h"

namespace {

using Halvard::Host::ComPtr;
using Halvard::Host::UniqueText;

constexpr auto kInvalidArgument = static_cast<HRESULT>(0x80070057);
constexpr auto kNotFound = static_cast<HRESULT>(0x80070002);
constexpr LONG kPort = 49'123;

class FirewallObjects : public testing::Test {
 protected:
  FirewallObjects() { com_ = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
  ~FirewallObjects() override {
    profile_.Reset();
    if (SUCCEEDED(com_)) CoUninitialize();
  }

  void ReadProfile() {
    ComPtr<INetFwMgr> manager;
    ASSERT_EQ(CoCreateInstance(__uuidof(NetFwMgr), nullptr, CLSCTX_INPROC_SERVER,
                               __uuidof(INetFwMgr), manager.PutAny()),
              S_OK);
    ComPtr<INetFwPolicy> policy;
    ASSERT_EQ(manager->get_LocalPolicy(policy.Put()), S_OK);
    ASSERT_EQ(policy->get_CurrentProfile(profile_.Put()), S_OK);
    ASSERT_TRUE(profile_);
  }

  static void MakeOpening(ComPtr<INetFwOpenPort>& opening) {
    ASSERT_EQ(CoCreateInstance(__uuidof(NetFwOpenPort), nullptr, CLSCTX_INPROC_SERVER,
                               __uuidof(INetFwOpenPort), opening.PutAny()),
              S_OK);
  }

  static bool IsEnabled(INetFwOpenPort& opening) {
    VARIANT_BOOL enabled = 17;
    EXPECT_EQ(opening.get_Enabled(&enabled), S_OK);
    EXPECT_TRUE(enabled == VARIANT_TRUE || enabled == VARIANT_FALSE);
    return enabled != VARIANT_FALSE;
  }

  static HRESULT Add(INetFwOpenPorts& ports, const wchar_t* name) {
    ComPtr<INetFwOpenPort> opening;
    MakeOpening(opening);
    const UniqueText text(SysAllocString(name));
    EXPECT_EQ(opening->put_Port(kPort), S_OK);
    EXPECT_EQ(opening->put_Protocol(NET_FW_IP_PROTOCOL_TCP), S_OK);
    EXPECT_EQ(opening->put_Name(text.Get()), S_OK);
    return ports.Add(opening.Get());
  }

  HRESULT com_ = S_OK;
  ComPtr<INetFwProfile> profile_;
};

TEST_F(FirewallObjects, TellWhetherTheFirewallIsOn) {
  ReadProfile();
  VARIANT_BOOL enabled = 17;
  EXPECT_EQ(profile_->get_FirewallEnabled(&enabled), S_OK);
  EXPECT_EQ(enabled, WindowsApi::OnWine() ? VARIANT_FALSE : VARIANT_TRUE);
}

TEST_F(FirewallObjects, ListTheOpenPorts) {
  ReadProfile();
  ComPtr<INetFwOpenPorts> ports;
  EXPECT_EQ(profile_->get_GloballyOpenPorts(ports.Put()), S_OK);
  EXPECT_TRUE(ports);
}

TEST_F(FirewallObjects, OpenAPortUnlessToldOtherwise) {
  ComPtr<INetFwOpenPort> opening;
  MakeOpening(opening);
  EXPECT_TRUE(IsEnabled(*opening.Get()));
}

TEST_F(FirewallObjects, AreOfTheirInterfaces) {
  ComPtr<INetFwOpenPort> opening;
  EXPECT_EQ(CoCreateInstance(__uuidof(NetFwOpenPort), nullptr, CLSCTX_INPROC_SERVER,
                             __uuidof(INetFwMgr), opening.PutAny()),
            static_cast<HRESULT>(0x80004002));
  EXPECT_FALSE(opening);
}

TEST_F(FirewallObjects, RefuseWhatIsNoPortAndNoName) {
  SKIP_ON_WINE("INetFwOpenPort takes any port and no name");
  ComPtr<INetFwOpenPort> opening;
  MakeOpening(opening);
  for (const LONG port : {LONG{-1}, LONG{0}, LONG{65'536}}) {
    EXPECT_EQ(opening->put_Port(port), kInvalidArgument);
  }
  EXPECT_EQ(opening->put_Port(1), S_OK);
  EXPECT_EQ(opening->put_Port(65'535), S_OK);
  EXPECT_EQ(opening->put_Protocol(static_cast<NET_FW_IP_PROTOCOL>(3)), kInvalidArgument);
  const UniqueText empty(SysAllocString(L""));
  EXPECT_EQ(opening->put_Name(empty.Get()), kInvalidArgument);
}

TEST_F(FirewallObjects, AddFindAndRemoveAnOpening) {
  SKIP_ON_WINE("INetFwOpenPorts finds every port and removes none");
  ReadProfile();
  ComPtr<INetFwOpenPorts> ports;
  ASSERT_EQ(profile_->get_GloballyOpenPorts(ports.Put()), S_OK);
  ComPtr<INetFwOpenPort> found;
  EXPECT_EQ(ports->Item(kPort, NET_FW_IP_PROTOCOL_TCP, found.Put()), kNotFound);
  EXPECT_FALSE(found);
  EXPECT_EQ(Add(*ports.Get(), L"Conformance tests"), S_OK);
  EXPECT_EQ(ports->Item(kPort, NET_FW_IP_PROTOCOL_UDP, found.Put()), kNotFound);
  EXPECT_EQ(ports->Item(kPort, NET_FW_IP_PROTOCOL_TCP, found.Put()), S_OK);
  ASSERT_TRUE(found);
  EXPECT_TRUE(IsEnabled(*found.Get()));
  EXPECT_EQ(Add(*ports.Get(), L"Conformance tests, once more"), S_OK);
  EXPECT_EQ(ports->Remove(kPort, NET_FW_IP_PROTOCOL_TCP), S_OK);
  EXPECT_EQ(ports->Item(kPort, NET_FW_IP_PROTOCOL_TCP, found.Put()), kNotFound);
}

TEST_F(FirewallObjects, RemoveWhatIsntOpenWithoutAWord) {
  SKIP_ON_WINE("INetFwOpenPorts::Remove isn't implemented");
  ReadProfile();
  ComPtr<INetFwOpenPorts> ports;
  ASSERT_EQ(profile_->get_GloballyOpenPorts(ports.Put()), S_OK);
  EXPECT_EQ(ports->Remove(kPort, NET_FW_IP_PROTOCOL_TCP), S_OK);
  EXPECT_EQ(ports->Remove(0, NET_FW_IP_PROTOCOL_TCP), kInvalidArgument);
  ComPtr<INetFwOpenPort> found;
  EXPECT_EQ(ports->Item(0, NET_FW_IP_PROTOCOL_TCP, found.Put()), kInvalidArgument);
}

}  // namespace
