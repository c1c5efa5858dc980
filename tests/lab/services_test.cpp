// Services of a machine, beyond what the Windows API tells.
#include "machine/services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "host/windows_api.h"
#include "machine/machine.h"
#include "support/lab_instance.h"

namespace Lab {
namespace {

using testing::HasSubstr;

class ServiceOfMachine : public testing::Test {
 protected:
  ServiceOfMachine() { Describe(Json::objectValue); }

  /// Nothing is left of what became of the service before.
  void Describe(const Json::Value& members) {
    Json::Value service = members;
    service["program"] = "C:\\x.exe";
    if (!service.isMember("state")) service["state"] = "stopped";
    machine_.Set("/services/Some", service);
    std::filesystem::remove(machine_.Folder() / "services.json");
    TheMachine().Clock().MoveBySleeps();
  }

  static ServiceStates& States() { return TheMachine().ServiceStates(); }
  static const Service& Described() { return TheMachine().Describe().services.at(L"Some"); }
  static ServiceStatus Status() { return States().StatusOf(L"Some", Described()); }
  static bool Start() { return States().Start(L"Some", Described()); }

  Instance machine_;
};

TEST_F(ServiceOfMachine, IsInItsDescribedState) {
  for (const auto& [name, state] : {std::pair{"stopped", 1u},
                                    {"startPending", 2u},
                                    {"stopPending", 3u},
                                    {"running", 4u},
                                    {"paused", 7u}}) {
    Json::Value members;
    members["state"] = name;
    Describe(members);
    EXPECT_EQ(static_cast<unsigned>(Status().state), state);
    EXPECT_EQ(Status().exitCode, state == 1 ? 1077u : 0u);
    EXPECT_EQ(Start(), state == 1) << name;
  }
}

TEST_F(ServiceOfMachine, TellsOfItsStartStepByStep) {
  Json::Value members;
  Json::Value& steps = members["start"]["steps"];
  steps[0]["milliseconds"] = 100;
  steps[1]["milliseconds"] = 200;
  steps[1]["waitHint"] = 5'000;
  steps[1]["checkPoint"] = 9;
  Describe(members);
  ASSERT_TRUE(Start());
  EXPECT_EQ(Status().state, ServiceState::kStartPending);
  EXPECT_EQ(Status().checkPoint, 1u);
  EXPECT_EQ(Status().waitHint, 0u);
  TheMachine().Clock().Advance(100);
  EXPECT_EQ(Status().checkPoint, 9u);
  EXPECT_EQ(Status().waitHint, 5'000u);
  TheMachine().Clock().Advance(199);
  EXPECT_EQ(Status().state, ServiceState::kStartPending);
  TheMachine().Clock().Advance(1);
  EXPECT_EQ(Status().state, ServiceState::kRunning);
  EXPECT_EQ(Status().checkPoint, 0u);
  EXPECT_FALSE(Start());
}

TEST_F(ServiceOfMachine, HangsInItsLastStep) {
  Json::Value members;
  members["start"]["steps"][0]["milliseconds"] = 100;
  members["start"]["outcome"] = "hangs";
  Describe(members);
  ASSERT_TRUE(Start());
  TheMachine().Clock().Advance(1'000'000);
  EXPECT_EQ(Status().state, ServiceState::kStartPending);
  EXPECT_EQ(Status().checkPoint, 1u);
  EXPECT_FALSE(Start());
}

TEST_F(ServiceOfMachine, StopsWithItsExitCodeAndCanBeStartedAgain) {
  Json::Value members;
  members["start"]["steps"][0]["milliseconds"] = 100;
  members["start"]["outcome"] = "stops";
  members["start"]["exitCode"] = 1067;
  Describe(members);
  ASSERT_TRUE(Start());
  TheMachine().Clock().Advance(100);
  EXPECT_EQ(Status().state, ServiceState::kStopped);
  EXPECT_EQ(Status().exitCode, 1067u);
  EXPECT_TRUE(Start());
}

TEST_F(ServiceOfMachine, IsTheSameForAllOfAnInstance) {
  const Machine other(machine_.Folder());
  ASSERT_TRUE(Start());
  EXPECT_EQ(Status().state, ServiceState::kRunning);
  Machine another(machine_.Folder());
  another.ServiceStates().Stop(L"some", Described());
  EXPECT_EQ(Status().state, ServiceState::kStopped);
  EXPECT_EQ(Status().exitCode, 0u);
}

TEST_F(ServiceOfMachine, StartOfAnEarlierLifeOfTheHostIsOver) {
  Json::Value members;
  members["start"]["steps"][0]["milliseconds"] = 1'000'000'000;
  Describe(members);
  std::ofstream(machine_.Folder() / "services.json")
      << R"({"Some": {"state": "startPending", "startedAt": 18446744073709551615}})";
  EXPECT_EQ(Status().state, ServiceState::kRunning);
}

TEST_F(ServiceOfMachine, SpoiltFileOfStatesIsToldOf) {
  for (const char* text : {"[]", R"({"Some": 1})", R"({"Some": {"state": "gone"}})",
                           R"({"Some": {"state": "stopped", "exitCode": "x"}})",
                           R"({"Some": {"state": "startPending", "startedAt": -1}})", "{"}) {
    std::ofstream(machine_.Folder() / "services.json") << text;
    try {
      (void)Status();
      ADD_FAILURE() << text;
    } catch (const MachineError& error) {
      EXPECT_THAT(error.what(), HasSubstr("services.json: "));
    }
  }
}

TEST_F(ServiceOfMachine, DriverHasNoAccount) {
  Json::Value members;
  members["driver"] = true;
  Describe(members);
  EXPECT_EQ(Described().account, std::nullopt);
}

TEST_F(ServiceOfMachine, IsLocalSystemsUnlessToldOtherwise) {
  EXPECT_EQ(Described().account, L"LocalSystem");
  EXPECT_EQ(Described().displayName, L"Some");
}

TEST_F(ServiceOfMachine, ManagerIsForAdministrators) {
  machine_.Set("/user/elevated", false);
  EXPECT_EQ(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS), nullptr);
  EXPECT_EQ(GetLastError(), 5u);
}

TEST_F(ServiceOfMachine, OtherRightsAreRefusedAloud) {
  const SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  EXPECT_DEATH((void)OpenServiceW(manager, L"Some", 0x20), "OpenServiceW");
  EXPECT_DEATH((void)OpenSCManagerW(nullptr, nullptr, 1), "OpenSCManagerW");
  EXPECT_TRUE(CloseServiceHandle(manager));
}

}  // namespace
}  // namespace Lab
