#include <signal.h>

#include <algorithm>

#include "process_test.h"

namespace Halvard {
namespace {

using Testing::AgentProcess;
using Testing::AgentRun;
using testing::Contains;
using Testing::ErrorLine;
using testing::HasSubstr;
using Testing::InfoLine;
using testing::Not;
using Testing::RunAgent;
using Testing::WarningLine;

constexpr int kLanguages[] = {1028, 1031, 1033, 1036, 1041, 1042, 2052, 3082};

/// Runs with an argument end at the machine's products, or before: there is nothing to migrate.
class Initialization : public testing::Test {
 protected:
  AgentRun Run(const std::vector<std::wstring>& arguments = {L"-p", L"s3cret"}) {
    AgentRun run = RunAgent(machine_, arguments);
    EXPECT_THAT(run.allOutput, Not(HasSubstr(L"s3cret")));
    return run;
  }

  /// All that is left of the status file as long as the properties have no values.
  const Testing::LogLine noStatus_ =
      ErrorLine(L"CreateHVStatusFile: HV_STATUS_JSON property is not a valid json.");
  Lab::Instance machine_{"windows-server"};
};

TEST_F(Initialization, HelpSpeaksEachOfTheEightLanguages) {
  for (const int language : kLanguages) {
    machine_.Set("/computer/uiLanguage", language);
    const AgentRun run = Run({L"--help"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.console, testing::StartsWith(Message(static_cast<std::uint16_t>(language), 1138,
                                                         {L"6.0.0", L"14510545"})));
    EXPECT_THAT(run.console, HasSubstr(L"-i [ --hv_ip ] arg"));
    EXPECT_THAT(run.console, Not(HasSubstr(L"\uFFFD"))) << language;
  }
}

TEST_F(Initialization, HelpLeavesNoStatusFileAndAsksForNoSingleInstance) {
  machine_.Set("/clock/speed", 1);
  AgentProcess first(machine_, {});
  first.WaitFor(L"Press Enter key to exit.");
  const AgentRun help = Run({L"-h"});
  EXPECT_EQ(help.exitCode, 0);
  EXPECT_THAT(help.console, Not(HasSubstr(English(1046))));
  EXPECT_FALSE(machine_.FileExists(L"%TEMP%\\hv-status.json"));
  first.Type(L"\r");
  EXPECT_EQ(first.Wait().exitCode, kFailureCode);
}

TEST_F(Initialization, UnknownLanguageSpeaksEnglish) {
  machine_.Set("/computer/uiLanguage", 1049);
  const AgentRun run = Run({L"-h"});
  EXPECT_THAT(run.console, HasSubstr(L"Halvard v6.0.0 build 14510545 options"));
  EXPECT_THAT(
      run.log,
      Contains(WarningLine(L"SetHVLocale: UI language id of machine 1049 is not supported.")));
}

struct ErrorCase {
  std::vector<std::wstring> arguments;
  const wchar_t* reason;
};

TEST_F(Initialization, CommandLineErrorsEndTheRun) {
  const ErrorCase cases[] = {
      {{L"--bad_option"}, L"unrecognised option '--bad_option'"},
      {{L"-h", L"--\u6771\u4eac"}, L"unrecognised option '--\u6771\u4eac'"},
      {{L"-o", L"9123"}, L"the option '--admin_password' is required but missing"},
      {{L"-p"}, L"the required argument for option '--admin_password' is missing"},
      {{L"-p", L"s3cret", L"-o", L"9\"1 23"},
       L"the argument ('9\"1 23') for option '--hv_port' is invalid"},
      {{L"\"-p s3cret"}, L"the option '--admin_password' is required but missing"},
      {{L"", L" ", L"\""}, L"the option '--admin_password' is required but missing"},
  };
  for (const int language : {1033, 1041}) {
    machine_.Set("/computer/uiLanguage", language);
    for (const ErrorCase& row : cases) {
      const AgentRun run = Run(row.arguments);
      EXPECT_EQ(run.exitCode, kFailureCode);
      EXPECT_EQ(run.console,
                Message(static_cast<std::uint16_t>(language), 1144, {row.reason}) + L"\n");
      EXPECT_THAT(run.log,
                  Contains(ErrorLine(L"ParseCommandLineOptions: " + English(1144, {row.reason}))));
      EXPECT_EQ(run.log.back(), noStatus_);
    }
  }
  EXPECT_FALSE(machine_.FileExists(L"%TEMP%\\hv-status.json"));
}

TEST_F(Initialization, ArgumentThatIsNoUtf8IsTakenAsItComes) {
  const AgentRun run =
      Run({L"-p", L"s3cret", L"-e", std::wstring(1, static_cast<wchar_t>(0xDC80))});
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_THAT(run.console, HasSubstr(English(1123)));
}

TEST_F(Initialization, SecondInstanceEndsAfterDeletingTheStatusFile) {
  AgentProcess first(machine_, {});
  first.WaitFor(L"Press Enter key to exit.");
  machine_.WriteFile(L"%TEMP%\\hv-status.json", "{}");

  const AgentRun second = Run();

  EXPECT_EQ(second.exitCode, kFailureCode);
  EXPECT_THAT(second.console, HasSubstr(English(1014) + L"\n" + English(1046) + L"\n"));
  EXPECT_THAT(second.log, Contains(ErrorLine(L"HVInit: " + English(1046))));
  EXPECT_EQ(second.log.back(), noStatus_);
  EXPECT_FALSE(machine_.FileExists(L"%TEMP%\\hv-status.json"));

  AgentProcess third(machine_, {});
  third.WaitFor(English(1046) + L"\n" + English(1126) + L"\n");
  third.Type(L"\r");
  EXPECT_EQ(third.Wait().exitCode, kFailureCode);
  first.Type(L"\r");
  EXPECT_EQ(first.Wait().exitCode, kFailureCode);

  // The name has gone with its holder.
  EXPECT_THAT(Run().console, Not(HasSubstr(English(1046))));
}

TEST_F(Initialization, MutexOfAnotherUserIsNoError) {
  machine_.PlanFault({.function = "CreateMutexW", .error = 5});
  EXPECT_THAT(Run().console, HasSubstr(English(1123)));
}

TEST_F(Initialization, MissingRightsEndTheRun) {
  machine_.Set("/user/elevated", false);
  for (const int language : {1033, 1031}) {
    machine_.Set("/computer/uiLanguage", language);
    const AgentRun run = Run();
    EXPECT_EQ(run.exitCode, kFailureCode);
    EXPECT_THAT(run.console,
                HasSubstr(Message(static_cast<std::uint16_t>(language), 1151) + L"\n"));
    EXPECT_THAT(
        run.log,
        Contains(ErrorLine(L"SanityCheckAdminPrivilege: Process does not have admin privilege.")));
    EXPECT_THAT(run.log, Contains(ErrorLine(L"HVInit: " + English(1151))));
    EXPECT_EQ(run.log.back(), noStatus_);
    EXPECT_FALSE(machine_.FileExists(L"%TEMP%\\hv-status.json"));
  }
}

struct FaultCase {
  Lab::Fault fault;
  Testing::LogLine line;
  int message;
};

TEST_F(Initialization, EachFailureHasItsLineAndItsOutcome) {
  constexpr int kNothingToMigrate = 1123;
  const FaultCase cases[] = {
      {{.function = "_setmode", .error = 9},
       WarningLine(L"HVInit: Failed to set mode of stdout to UTF-8"),
       0},
      {{.function = "SetProcessShutdownParameters", .error = 87},
       WarningLine(L"HVInit: Unable to set process shutdown parameters: 87"),
       kNothingToMigrate},
      {{.function = "SetConsoleCtrlHandler", .error = 8},
       WarningLine(L"HVInit: Failed to set the Ctrl handler."),
       kNothingToMigrate},
      {{.function = "GetUserNameExW", .error = 1332},
       WarningLine(
           L"SanityCheckAdminPrivilege: Failed to retrive launching user. Error code: 1332"),
       kNothingToMigrate},
      {{.function = "AllocateAndInitializeSid", .error = 1337},
       ErrorLine(
           L"SanityCheckAdminPrivilege: Failed to allocate Administrator SID. Error code: 1337"),
       1151},
      {{.function = "CheckTokenMembership", .error = 1309},
       ErrorLine(
           L"SanityCheckAdminPrivilege: Failed to check if process has admin privilege. Error code: 1309"),
       1151},
      {{.function = "WSAStartup", .error = 10091},
       ErrorLine(L"WSASetup::WSASetup: Failed to initialize Winsock, Error Code: [10091]"),
       1101},
  };
  for (const FaultCase& row : cases) {
    machine_.Remove("/faults");
    machine_.PlanFault(row.fault);
    const AgentRun run = Run();
    EXPECT_EQ(run.exitCode, kFailureCode) << row.fault.function;
    EXPECT_THAT(run.log, Contains(row.line));
    if (row.message != 0) {
      EXPECT_THAT(run.console, HasSubstr(English(static_cast<std::uint16_t>(row.message)) + L"\n"));
    }
  }
}

TEST_F(Initialization, FirstFailureWithAStatusFileIsThatOfWinsock) {
  machine_.PlanFault({.function = "WSAStartup", .error = 10091});
  const AgentRun run = Run();
  EXPECT_EQ(WithoutLogNotice(run.console), English(1014) + L"\n" + English(1101) + L"\n");
  EXPECT_EQ(StatusOf(machine_), Status("fail", English(1101)));
}

TEST_F(Initialization, LogsAreZippedInTheTempFolderWithoutADesktop) {
  machine_.RemoveFile(std::wstring(Lab::Instance::kProfile) + L"\\Desktop");
  const AgentRun run = Run();
  EXPECT_THAT(run.log, Contains(InfoLine(L"CreateHVStatusFile: Creating log zip in the temp "
                                         L"directory.")));
  EXPECT_THAT(run.console, HasSubstr(L"\\Temp\\Ostrel-HV-logs-"));
}

TEST_F(Initialization, LogsThatCannotBeZippedAreNamed) {
  machine_.PlanFault({.function = "CoCreateInstance", .error = 0x80040154});
  machine_.Set("/computer/uiLanguage", 1031);
  const AgentRun run = Run();
  const std::wstring log =
      std::wstring(Lab::Instance::kProfile) + L"\\AppData\\Local\\Temp\\halvard.log";
  EXPECT_THAT(run.console, testing::EndsWith(L"\n\n" + Message(1031, 1161, {log}) + L"\n"));
  EXPECT_EQ(StatusOf(machine_), Status("fail", English(1123)));
}

TEST_F(Initialization, StepsAreLoggedInTheirOrder) {
  const AgentRun run = Run();
  std::vector<Testing::LogLine> initialization;
  for (const Testing::LogLine& line : run.log) {
    if (line.message.starts_with(L"HVInit: ") || line.message.starts_with(L"SetHVLocale: ") ||
        line.message.starts_with(L"SanityCheck") || line.message.starts_with(L"ParseCommand")) {
      initialization.push_back(line);
    }
  }
  EXPECT_THAT(
      initialization,
      testing::ElementsAre(
          InfoLine(L"HVInit: stdout successfully changed to UTF-8 mode"),
          InfoLine(L"SetHVLocale: UI language id of machine 1033 is supported."),
          InfoLine(L"ParseCommandLineOptions: Successfully parsed passed command line parameters."),
          InfoLine(L"HVInit: Initializing Halvard..."),
          InfoLine(L"HVInit: Ctrl handler successfully set."),
          InfoLine(
              L"SanityCheckAdminPrivilege: Launching user retrieved successfully: 'KVSOURCE\\Administrator'"),
          InfoLine(L"SanityCheckAdminPrivilege: Process has admin privilege."),
          InfoLine(L"HVInit: Automated TUM upgrade disabled.")));
}

TEST_F(Initialization, RunWithArgumentsEndsWithoutWaiting) {
  AgentProcess agent(machine_, {L"-p", L"s3cret"});
  const AgentRun run = agent.Wait();
  EXPECT_EQ(run.exitCode, kFailureCode);
  EXPECT_THAT(run.console, Not(HasSubstr(English(1126))));
}

TEST_F(Initialization, RunWithoutArgumentsWaitsForEnterAfterAFailure) {
  AgentProcess agent(machine_, {});
  agent.WaitFor(English(1126) + L"\n");
  agent.Type(L"noise");
  agent.Type(L"\r");
  EXPECT_EQ(agent.Wait().exitCode, kFailureCode);
}

TEST_F(Initialization, CtrlCDoesNotEndTheWaitForEnter) {
  AgentProcess agent(machine_, {});
  agent.WaitFor(English(1126) + L"\n");
  agent.Signal(SIGINT);
  agent.WaitForLog(InfoLine(L"CtrlHandler: Received ctrl type: 0"));
  agent.Signal(SIGQUIT);
  agent.WaitForLog(InfoLine(L"CtrlHandler: Received ctrl type: 1"));
  agent.Type(L"\r");
  EXPECT_EQ(agent.Wait().exitCode, kFailureCode);
}

TEST_F(Initialization, WithoutATempFolderTheRunGoesOnWithoutALog) {
  machine_.PlanFault({.function = "GetTempPathW", .error = 5});
  const AgentRun run = Run();
  EXPECT_THAT(run.console, HasSubstr(English(1123)));
  EXPECT_THAT(run.log, testing::IsEmpty());
}

TEST_F(Initialization, DebugLinesComeWithTheVariable) {
  EXPECT_THAT(Run().log, Not(Contains(testing::Field(&Testing::LogLine::level, 'D'))));
  machine_.SetVariable(L"KVS_HV_DEBUG", L"1");
  const std::vector<Testing::LogLine> log = Run().log;
  const std::vector<Testing::LogLine> steps{
      Testing::DebugLine(L"GetLocalizedString: String to be formatted is: " + English(1122)),
      Testing::DebugLine(L"GetLocalizedString: Replacing [0] with 6.0"),
      Testing::DebugLine(L"GetLocalizedString: Formatted string is: " + English(1122, {L"6.0"}))};
  EXPECT_FALSE(std::ranges::search(log, steps).empty());
}

}  // namespace
}  // namespace Halvard
