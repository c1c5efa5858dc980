#include "runner/service_script.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "host/windows_api.h"
#include "machine/handles.h"
#include "machine/machine.h"
#include "support/lab_instance.h"
#include "support/log_lines.h"
#include "support/machine_processes.h"

namespace Halvard::Runner {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using testing::HasSubstr;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::LogLine;
using Testing::OwnLog;

/// The product's script as the test wants it.
class ServiceControl : public testing::Test {
 protected:
  ServiceControl() : handlesBefore_(Lab::Handles().OpenTypes().size()) {
    machine_.SetSystemVariable(L"OSTREL_RIMSA_HOME", home_);
    machine_.WriteFile(home_ + L"\\bin\\service-control.bat",
                       "#!/bin/sh\necho \"out $*\"\necho err >&2\nexit 0\n");
  }
  ~ServiceControl() override {
    EXPECT_THAT(Lab::ProcessesOf(machine_), IsEmpty());
    EXPECT_EQ(Lab::Handles().OpenTypes().size(), handlesBefore_);
  }

  void Fail(const char* function, std::uint32_t call, std::uint32_t error) {
    machine_.PlanFault({.function = function, .call = call, .error = error});
  }

  void UseTempFolder(const std::wstring& folder) {
    machine_.MakeFolder(folder);
    for (const wchar_t* name : {L"TEMP", L"TMP"}) machine_.SetVariable(name, folder);
  }

  Lab::Instance machine_;
  const std::wstring home_ = L"C:\\Program Files\\Ostrel \u00e4\u8a66";

 private:
  const std::size_t handlesBefore_;
};

TEST_F(ServiceControl, RunsTheScriptAndKeepsWhatItPrints) {
  UseTempFolder(L"C:\\Temp\u8a66");
  EXPECT_TRUE(ServiceControlStartStopAllServices(true));
  EXPECT_TRUE(ServiceControlStartStopAllServices(false));
  EXPECT_EQ(machine_.ReadFile(L"C:\\Temp\u8a66\\hv-service-control.log"),
            "out --start --all\nerr\nout --stop --all\nerr\n");
  EXPECT_THAT(
      OwnLog(),
      AllOf(
          Contains(InfoLine(L"ServiceControlStartStopAllServices: Starting all services.")),
          Contains(InfoLine(L"ServiceControlStartStopAllServices: Stopping all services.")),
          Contains(InfoLine(
              L"LaunchProcAndMonitorStatus: Launching "
              L"\"\"C:\\Windows\\system32\\cmd.exe\" /S /C \"\"" +
              home_ +
              L"\\bin\\service-control.bat\" --start --all >> C:\\Temp\u8a66\\hv-service-control.log "
              L"2>&1\"\" in \"C:\\Windows\\system32\\\""))));
}

// The file isn't quoted in the command line.
TEST_F(ServiceControl, BlankInTheTempFolderCutsTheFileOfTheLog) {
  UseTempFolder(L"C:\\Temp of \u8a66");
  EXPECT_TRUE(ServiceControlStartStopAllServices(true));
  EXPECT_EQ(machine_.ReadFile(L"C:\\Temp"),
            "out --start --all of \u8a66\\hv-service-control.log\nerr\n");
}

TEST_F(ServiceControl, ExitCodeOfTheScriptDecides) {
  machine_.WriteFile(home_ + L"\\bin\\service-control.bat", "#!/bin/sh\nexit 3\n");
  EXPECT_FALSE(ServiceControlStartStopAllServices(true));
  EXPECT_THAT(OwnLog(),
              Contains(InfoLine(L"MonitorStatusFile: Other process terminated with 3, exiting")));
}

TEST_F(ServiceControl, WithoutTheVariableTheInterpreterFindsNoScript) {
  machine_.RemoveVariable(L"OSTREL_RIMSA_HOME");
  EXPECT_FALSE(ServiceControlStartStopAllServices(true));
  EXPECT_THAT(OwnLog(),
              Contains(InfoLine(L"MonitorStatusFile: Other process terminated with 1, exiting")));
}

TEST_F(ServiceControl, UserVariableIsNotSeen) {
  machine_.RemoveVariable(L"OSTREL_RIMSA_HOME");
  machine_.SetVariable(L"OSTREL_RIMSA_HOME", home_);
  EXPECT_FALSE(ServiceControlStartStopAllServices(true));
}

TEST_F(ServiceControl, NeedsTheInterpretersPath) {
  for (const char* function : {"GetSystemDirectoryW", "PathAppendW"}) {
    Fail(function, 1, 77);
    SetLastError(77);
    EXPECT_FALSE(ServiceControlStartStopAllServices(true));
    EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"ServiceControlStartStopAllServices: Failed to get "
                                             L"full path to cmd.exe. Error: 77")));
    machine_.Remove("/faults");
  }
}

TEST_F(ServiceControl, LongSystemFolderIsAFailure) {
  machine_.SetSystemVariable(L"SystemRoot", L"C:\\" + std::wstring(260, L'x'));
  EXPECT_FALSE(ServiceControlStartStopAllServices(true));
  EXPECT_THAT(OwnLog(),
              Contains(testing::Field(&LogLine::message, HasSubstr(L"full path to cmd.exe"))));
}

TEST_F(ServiceControl, NeedsTheVariableExpanded) {
  Fail("ExpandEnvironmentStringsForUserW", 1, 77);
  EXPECT_FALSE(ServiceControlStartStopAllServices(true));
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"ServiceControlStartStopAllServices: Starting all "
                                             L"services."),
                                    ErrorLine(L"ServiceControlStartStopAllServices: Failed to "
                                              L"expand environment variable "
                                              L"'%OSTREL_RIMSA_HOME%'. Error: 77")));
}

TEST_F(ServiceControl, FolderThatIsTooLongIsToldOf) {
  machine_.SetSystemVariable(L"OSTREL_RIMSA_HOME", L"C:\\" + std::wstring(240, L'x'));
  EXPECT_FALSE(ServiceControlStartStopAllServices(true));
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"ServiceControlStartStopAllServices: Error appending "
                                           L"bin\\service-control.bat for full path.")));
}

TEST(ProductsScript, StartsTheServicesOfEachMachine) {
  for (const auto& [name, services] : {std::pair{"embedded-platform", 7u},
                                       {"management-platform", 2u},
                                       {"infrastructure-platform", 5u}}) {
    Lab::Instance machine(name);
    machine.Set("/clock/speed", 1000);
    const auto running = [] {
      unsigned count = 0;
      for (const auto& [key, service] : Lab::TheMachine().Describe().services) {
        const Lab::ServiceStatus status = Lab::TheMachine().ServiceStates().StatusOf(key, service);
        const bool isProducts = service.program.find(L"Ostrel") != std::wstring::npos;
        if (isProducts && status.state == Lab::ServiceState::kRunning) ++count;
      }
      return count;
    };
    EXPECT_EQ(running(), services) << name;
    EXPECT_TRUE(ServiceControlStartStopAllServices(false)) << name;
    EXPECT_EQ(running(), 0u) << name;
    EXPECT_TRUE(ServiceControlStartStopAllServices(true)) << name;
    EXPECT_EQ(running(), services) << name;
  }
}

}  // namespace
}  // namespace Halvard::Runner
