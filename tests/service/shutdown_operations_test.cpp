// How a migration ends: with the machine, or with the agent alone.
#include "core/server_lifetime.h"
#include "machine/machine.h"
#include "service_test.h"
#include "support/listening_server.h"
#include "support/shutdown_record.h"

namespace Halvard::MigratorSvc {
namespace {

using testing::Contains;
using Testing::ErrorLine;
using Testing::InfoLine;
using Testing::WarningLine;

class MachineEnd : public ServiceTest {
 protected:
  MachineEnd() {
    SpeakMachineLanguage(kGerman);
    gProperties[L"EXPORT_STATUS"] = L"FINISHED";
    gProperties[L"EXPORT_RESULT"] = L"SUCCESS";
    gProperties[L"SSO_USERNAME"] = L"administrator@ostrel.local";
    gProperties[L"SSO_PASSWORD"] = Testing::kAcceptedPassword;
    machine_.PlanFault({.function = "CreateThread", .error = 8});
  }

  CallResult ShutDown() { return Call(&AsyncServiceInterface::ShutdownMachine, GoodRequest("fr")); }

  Json::Value ShutdownRecord() const { return Lab::ShutdownRecord(machine_); }
};

TEST_F(MachineEnd, HasAMessageInTheOperatorsLanguage) {
  const CallResult result = ShutDown();
  EXPECT_EQ(result.text, "{\n   \"error\" : \"\",\n   \"result\" : \"success\"\n}\n");
  EXPECT_EQ(Utf8ToWide(ShutdownRecord()["message"].asString()), Message(kGerman, 1095));
  EXPECT_EQ(result.console, Message(kGerman, 1051) + L"\n");
  // The agent couldn't be ended, which nobody looks at.
  EXPECT_THAT(
      result.log,
      testing::IsSupersetOf(
          {WarningLine(L"CreateChildThreadToShutdownHV: Failed to create thread to "
                       L"initiate halvard shutdown. Error code: 8"),
           InfoLine(FullName(L"ShutdownMachine") + L": Successfully initiated shutdown.")}));
}

TEST_F(MachineEnd, ThatFailsEndsTheAgentAllTheSame) {
  machine_.PlanFault({.function = "InitiateShutdownW", .error = 1115});
  const CallResult result = ShutDown();
  EXPECT_TRUE(result.Failed());
  EXPECT_EQ(result.Error(), "Failed to shutdown the remote Kelvane Server Windows machine.");
  EXPECT_TRUE(ShutdownRecord().isNull());
  EXPECT_THAT(result.log,
              testing::IsSupersetOf(
                  {WarningLine(L"CreateChildThreadToShutdownHV: Failed to create thread to "
                               L"initiate halvard shutdown. Error code: 8"),
                   ErrorLine(FullName(L"ShutdownMachine") +
                             L": Failed to initiate shutdown. Error code: [1115].")}));
}

TEST_F(MachineEnd, IsRefusedBeforeAndDuringAnExport) {
  gProperties[L"EXPORT_STATUS"] = L"NOT_STARTED";
  EXPECT_EQ(Utf8ToWide(ShutDown().Error()), Message(kFrench, 1093));
  gProperties[L"EXPORT_STATUS"] = L"RUNNING";
  EXPECT_EQ(Utf8ToWide(ShutDown().Error()), Message(kFrench, 1094));
  EXPECT_TRUE(ShutdownRecord().isNull());
}

TEST_F(MachineEnd, AfterAFailedExportTakesTheCredentialsAlone) {
  gProperties[L"EXPORT_RESULT"] = L"FAIL";
  Json::Value request = GoodRequest();
  request["sso_password"] = "wrong";
  const CallResult refused = Call(&AsyncServiceInterface::ShutdownMachine, request);
  EXPECT_EQ(Utf8ToWide(refused.Error()), Message(kEnglish, 1098));
  EXPECT_EQ(refused.console, Message(kGerman, 1051) + L"\n");
  EXPECT_FALSE(ShutDown().Failed());
}

class AgentEnd : public ServiceTest {
 protected:
  AgentEnd() { gProperties[L"MIGRATION_TYPE"] = L"tum"; }
};

TEST_F(AgentEnd, ComesASecondAfterTheReply) {
  machine_.Set("/clock/speed", 50);
  const Testing::ListeningServer server;
  const std::uint64_t before = Lab::TheMachine().Clock().Ticks();
  const CallResult result = Call(&AsyncServiceInterface::ShutdownHv, GoodRequest());
  JoinServer();
  EXPECT_GE(Lab::TheMachine().Clock().Ticks() - before, 1'000u);
  EXPECT_EQ(result.text, "{\n   \"error\" : \"\",\n   \"result\" : \"success\"\n}\n");
  EXPECT_EQ(result.console, L"");
  EXPECT_THAT(result.log,
              Contains(InfoLine(FullName(L"ShutdownHv") +
                                L": Successfully created a child thread to shutdown halvard.")));
}

TEST_F(AgentEnd, ThatCannotBeginIsTold) {
  machine_.PlanFault({.function = "CreateThread", .error = 8});
  const CallResult result = Call(&AsyncServiceInterface::ShutdownHv, GoodRequest("fr"));
  EXPECT_TRUE(result.Failed());
  EXPECT_EQ(Utf8ToWide(result.Error()), Message(kFrench, 1171));
  EXPECT_EQ(result.console, L"Failed to shutdown halvard.\n");
  EXPECT_THAT(result.log,
              Contains(ErrorLine(FullName(L"ShutdownHv") + L": Failed to shutdown halvard.")));
}

TEST_F(AgentEnd, WaitsForARunningExportAndNotForAFailedOne) {
  machine_.PlanFault({.function = "CreateThread", .error = 8});
  gProperties[L"EXPORT_STATUS"] = L"RUNNING";
  EXPECT_EQ(Utf8ToWide(Call(&AsyncServiceInterface::ShutdownHv, GoodRequest()).Error()),
            Message(kEnglish, 1170));
  gProperties[L"EXPORT_STATUS"] = L"FINISHED";
  EXPECT_EQ(Utf8ToWide(Call(&AsyncServiceInterface::ShutdownHv, GoodRequest()).Error()),
            Message(kEnglish, 1171));
}

}  // namespace
}  // namespace Halvard::MigratorSvc
