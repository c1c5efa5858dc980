#include "core/startup/agent_registration.h"

#include "core/server_lifetime.h"
#include "core_test.h"
#include "pion/http/server.h"
#include "pion/scheduler.h"
#include "process_test.h"
#include "scripted_checks.h"
#include "support/console_capture.h"

namespace Halvard {
namespace {

using Testing::CheckCalls;
using testing::ElementsAre;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::OwnLog;

/// A run that has come as far as its server.
class AgentRegistration : public CoreTest {
 protected:
  AgentRegistration() : session_(2) {
    CheckCalls().clear();
    session_.migrationType = L"tum";
    session_.tumInfo = {L"kv.example", 8443, L"admin", L"CC:DD", L"tum.example", L""};
    session_.input.ssoUser = L"J\u00F6rg";
    session_.input.ssoPassword = Testing::kAcceptedPassword;
    gProperties[L"HV_PORT"] = L"9123";
    gProperties[L"HV_THUMBPRINT"] = L"AA:BB";
    SetServer(std::make_unique<pion::http::server>(
        scheduler_, boost::asio::ip::tcp::endpoint(boost::asio::ip::address_v4::loopback(), 0)));
  }
  ~AgentRegistration() override { DestroyServer(); }

  pion::single_service_scheduler scheduler_;
  Session session_;
};

TEST_F(AgentRegistration, UpdateManagerRegistersThroughTheTunnel) {
  EXPECT_TRUE(RegisterAgent(session_));
  EXPECT_THAT(CheckCalls(), ElementsAre("RegisterUpdateHVExtension(kv.example, 8443, /sdkTunnel, "
                                        "CC:DD, J\xC3\xB6rg, tum.example, 9123, AA:BB)"));
  EXPECT_TRUE(ServerExists());
  EXPECT_THAT(OwnLog(), IsEmpty());
}

TEST_F(AgentRegistration, FailedRegistrationEndsTheServer) {
  machine_.SetVariable(Testing::kExtensionFailureVariable, L"register");
  const std::wstring text = English(1167, {L"kv.example"});
  {
    const Testing::ConsoleCapture console;
    EXPECT_FALSE(RegisterAgent(session_));
    EXPECT_EQ(console.Text(), text + L"\n");
  }
  EXPECT_FALSE(ServerExists());
  EXPECT_EQ(gProperties[L"HV_INIT_ERROR"].Value(), text);
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"wmain: " + text)));
}

TEST_F(AgentRegistration, UpdateManagerUnregisters) {
  UnregisterAgent(session_);
  EXPECT_THAT(CheckCalls(), ElementsAre("UnregisterHVExtension(kv.example, 8443, /sdkTunnel, "
                                        "CC:DD, J\xC3\xB6rg, tum.example)"));
  EXPECT_THAT(OwnLog(), IsEmpty());
}

TEST_F(AgentRegistration, FailedRemovalIsToldAndNoMore) {
  machine_.SetVariable(Testing::kExtensionFailureVariable, L"unregister");
  const std::wstring text = English(1168, {L"kv.example"});
  {
    const Testing::ConsoleCapture console;
    UnregisterAgent(session_);
    EXPECT_EQ(console.Text(), text + L"\n");
  }
  EXPECT_EQ(gProperties[L"HV_INIT_ERROR"].Value(), L"");
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"wmain: " + text)));
}

TEST_F(AgentRegistration, OtherMigrationsNeedNone) {
  for (const wchar_t* type : {L"embedded", L"management", L"infrastructure"}) {
    session_.migrationType = type;
    EXPECT_TRUE(RegisterAgent(session_));
    UnregisterAgent(session_);
  }
  EXPECT_THAT(CheckCalls(), IsEmpty());
}

}  // namespace
}  // namespace Halvard
