#include "core/startup/command_line.h"

#include "core_test.h"
#include "support/console_capture.h"

namespace Halvard {
namespace {

using Testing::ConsoleCapture;
using testing::Contains;
using Testing::ErrorLine;
using testing::HasSubstr;
using Testing::InfoLine;
using testing::IsEmpty;
using testing::Not;
using Testing::OwnLog;

class CommandLine : public CoreTest {
 protected:
  StartResult Parse(std::vector<std::wstring> arguments) {
    arguments.insert(arguments.begin(), L"Ostrel-Halvard.exe");
    std::vector<wchar_t*> pointers;
    for (std::wstring& argument : arguments) pointers.push_back(argument.data());
    const ConsoleCapture console;
    const StartResult result =
        ParseCommandLineOptions(static_cast<int>(pointers.size()), pointers.data(), input_);
    console_ = console.Text();
    return result;
  }

  void SetDomain(std::string_view domain) {
    machine_.SetSystemVariable(L"OSTREL_CFG_DIR", L"C:\\cfg");
    machine_.WriteFile(L"C:\\cfg\\install-defaults\\ostreldir.domain-name", domain);
  }

  UserInput input_;
  std::wstring console_;
};

constexpr wchar_t kHelp[] =
    LR"(Halvard v6.0.0 build 14510545 options:
  -h [ --help ]               Display supported command line options.
  -p [ --admin_password ] arg Administrator@corp.example user password.
  -a [ --kv_sa_password ] arg (Optional) Kelvane Server service account user 
                              password. This option is only required if the 
                              Kelvane Server service is running under a non 
                              LocalSystem account.
  -e [ --export_dir ] arg     (Optional) Directory to export source 
                              configuration and data.
  -o [ --hv_port ] arg        (Optional) Port on which Halvard should listen.
  -i [ --hv_ip ] arg          (Optional) IP of the network adapter that will be
                              migrated when Kelvane Server system name resolves
                              to multiple IP addresses in multiple network 
                              adapters.

)";

TEST_F(CommandLine, WithoutArgumentsTheOperatorWillBeAsked) {
  EXPECT_EQ(Parse({}), 2);
  EXPECT_THAT(console_, IsEmpty());
  EXPECT_THAT(
      OwnLog(),
      Contains(InfoLine(
          L"ParseCommandLineOptions: HV launched without passing command line parameters.")));
}

TEST_F(CommandLine, HelpShowsCaptionOptionsAndDomain) {
  SetDomain("corp.example\n");
  for (const wchar_t* option : {L"-h", L"--help", L"--hel"}) {
    EXPECT_EQ(Parse({option}), 0);
    EXPECT_EQ(console_, kHelp);
  }
}

TEST_F(CommandLine, HelpNamesTheDefaultDomainWithoutAnInstallParameter) {
  SetDomain("");
  EXPECT_EQ(Parse({L"-h"}), 0);
  EXPECT_THAT(console_, HasSubstr(L"Administrator@ostrel.local user password."));
}

TEST_F(CommandLine, HelpWinsOverAMissingPassword) {
  EXPECT_EQ(Parse({L"-o", L"80", L"--help"}), 0);
  EXPECT_EQ(input_.hvPort, 0u);
}

TEST_F(CommandLine, HelpKeepsCharactersWholeWhereItWrapsLines) {
  for (const int language : {1028, 1031, 1033, 1036, 1041, 1042, 2052, 3082}) {
    SpeakMachineLanguage(language);
    EXPECT_EQ(Parse({L"-h"}), 0);
    EXPECT_THAT(console_, Not(HasSubstr(L"\uFFFD"))) << language;
    for (const wchar_t* option :
         {L"-h [ --help ]", L"-p [ --admin_password ] arg", L"-a [ --kv_sa_password ] arg",
          L"-e [ --export_dir ] arg", L"-o [ --hv_port ] arg", L"-i [ --hv_ip ] arg"}) {
      EXPECT_THAT(console_, HasSubstr(option)) << language;
    }
  }
}

TEST_F(CommandLine, PasswordAloneSelectsCommandLineMode) {
  EXPECT_EQ(Parse({L"-p", L"secret"}), 2);
  EXPECT_EQ(input_.ssoPassword, L"secret");
  EXPECT_FALSE(input_.hvPortGiven);
  EXPECT_THAT(
      OwnLog(),
      Contains(InfoLine(
          L"ParseCommandLineOptions: Successfully parsed passed command line parameters.")));
}

TEST_F(CommandLine, EachOptionReachesItsField) {
  EXPECT_EQ(Parse({L"--admin_password", L"p\u00e4ss \u6771\U0001F511", L"-a", L"",
                   L"--export_dir=C:\\\u6771\u4eac\\x y", L"-o9123", L"-i", L"192.0.2.10"}),
            2);
  EXPECT_EQ(input_.ssoPassword, L"p\u00e4ss \u6771\U0001F511");
  EXPECT_EQ(input_.kvSaPassword, L"");
  EXPECT_EQ(input_.exportDir, L"C:\\\u6771\u4eac\\x y");
  EXPECT_EQ(input_.hvPort, 9123u);
  EXPECT_TRUE(input_.hvPortGiven);
  EXPECT_EQ(input_.hvIp, L"192.0.2.10");
  EXPECT_EQ(input_.ssoUser, L"");
}

TEST_F(CommandLine, PortBeyondTheLegalRangePassesHere) {
  EXPECT_EQ(Parse({L"-p", L"x", L"-o", L"70000"}), 2);
  EXPECT_EQ(input_.hvPort, 70000u);
}

struct ErrorCase {
  std::vector<std::wstring> arguments;
  const wchar_t* reason;
};

TEST_F(CommandLine, ErrorsAreShownAndLogged) {
  const ErrorCase cases[] = {
      {{L"--bad_option"}, L"unrecognised option '--bad_option'"},
      {{L"-h", L"--bad_option"}, L"unrecognised option '--bad_option'"},
      {{L"-x"}, L"unrecognised option '-x'"},
      {{L"--\u00f6\u6771"}, L"unrecognised option '--\u00f6\u6771'"},
      {{L"-o", L"9123"}, L"the option '--admin_password' is required but missing"},
      {{L"stray"}, L"the option '--admin_password' is required but missing"},
      {{L""}, L"the option '--admin_password' is required but missing"},
      {{L"-p"}, L"the required argument for option '--admin_password' is missing"},
      {{L"-p", L"x", L"-o"}, L"the required argument for option '--hv_port' is missing"},
      {{L"-p", L"x", L"-o", L"abc"}, L"the argument ('abc') for option '--hv_port' is invalid"},
      {{L"-p", L"x", L"-o", L"9123 "}, L"the argument ('9123 ') for option '--hv_port' is invalid"},
      {{L"-p", L"x", L"-o", L"4294967296"},
       L"the argument ('4294967296') for option '--hv_port' is invalid"},
      {{L"-p", L"x", L"-p", L"y"}, L"option '--admin_password' cannot be specified more than once"},
      {{L"-p", L"x", L"--h"},
       L"option '--h' is ambiguous and matches '--help', '--hv_ip', and '--hv_port'"},
  };
  for (const ErrorCase& row : cases) {
    EXPECT_EQ(Parse(row.arguments), 1);
    const std::wstring text =
        std::wstring(L"Failed to parse command line options passed: ") + row.reason;
    EXPECT_EQ(console_, text + L"\n");
    EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"ParseCommandLineOptions: " + text)));
    EXPECT_TRUE(gProperties[L"HV_INIT_ERROR"].empty());
  }
}

TEST_F(CommandLine, ErrorSpeaksTheMachinesLanguageAndTheLogEnglish) {
  SpeakMachineLanguage(1031);
  EXPECT_EQ(Parse({L"-x"}), 1);
  EXPECT_THAT(console_, HasSubstr(L"unrecognised option '-x'"));
  EXPECT_THAT(console_, Not(HasSubstr(L"Failed to parse")));
  EXPECT_THAT(
      OwnLog(),
      Contains(ErrorLine(
          L"ParseCommandLineOptions: Failed to parse command line options passed: unrecognised option '-x'")));
}

}  // namespace
}  // namespace Halvard
