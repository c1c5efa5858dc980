#include "core/startup/operator_console.h"

#include "core/text.h"
#include "core_test.h"
#include "scripted_checks.h"
#include "support/console_capture.h"

namespace Halvard {
namespace {

using testing::AllOf;
using Testing::CheckCalls;
using Testing::ConsoleCapture;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using Testing::ErrorLine;
using testing::HasSubstr;
using Testing::InfoLine;
using Testing::kAcceptedPassword;
using testing::Not;
using Testing::OwnLog;
using testing::StartsWith;
using Testing::TerminalInput;

constexpr wchar_t kGivenUp[] =
    L"Password validation failed multiple times, so shutting down Halvard.";
constexpr wchar_t kSsoInvalid[] =
    L"The entered Ostrel Single Sign-On Administrator credentials are not valid. Please check that Ostrel Single Sign-On services are up and running, and that the entered credentials are valid.";
constexpr wchar_t kKvInvalid[] =
    L"The entered Ostrel Kelvane Server Administrator credentials are not valid. Please check that Ostrel Kelvane Server services are up and running, and that the entered credentials are valid.";
constexpr wchar_t kCheckKelvane[] =
    L"Check that Ostrel Kelvane Server services are up and running, and that the entered credentials are valid.";
constexpr wchar_t kCheckSso[] =
    L"Check that Ostrel Single Sign-On services are up and running, and that the entered credentials are valid.";

class OperatorConsole : public CoreTest {
 protected:
  OperatorConsole() {
    CheckCalls().clear();
    gProperties[L"MIGRATION_TYPE"] = L"embedded";
    gProperties[L"KV_HTTPS_PORT"] = L"443";
    input_.ssoUser = L"Administrator@ostrel.local";
    tumInfo_.kvServer = L"kv.example";
    tumInfo_.kvPort = 8443;
    tumInfo_.kvUserName = L"updater@ostrel.local";
    tumInfo_.kvThumbprint = L"AA:BB";
  }

  bool Collect(const std::wstring& typed) {
    TerminalInput terminal;
    const ConsoleCapture console;
    terminal.Type(WideToUtf8(typed));
    const bool collected = CollectRequiredUserInput(input_, tumInfo_);
    console_ = console.Text();
    return collected;
  }

  bool Validate() {
    const ConsoleCapture console;
    const bool valid = ValidateCommandLineInput(input_, tumInfo_);
    console_ = console.Text();
    return valid;
  }

  static std::wstring Stars(std::size_t count) { return std::wstring(count, L'*') + L"\n"; }
  static std::wstring Right() { return std::wstring(kAcceptedPassword) + L"\r"; }
  static std::wstring InitError() { return gProperties[L"HV_INIT_ERROR"]; }

  UserInput input_;
  TumInfo tumInfo_;
  std::wstring console_;
};

TEST_F(OperatorConsole, RightPasswordIsTakenAtTheFirstTry) {
  EXPECT_TRUE(Collect(Right()));
  EXPECT_EQ(input_.ssoPassword, kAcceptedPassword);
  EXPECT_EQ(console_, L"Enter Administrator@ostrel.local password: " +
                          Stars(std::wstring(kAcceptedPassword).size()));
  EXPECT_THAT(
      CheckCalls(),
      ElementsAre("ValidateKvAdminCredentials(localhost, 443, , , Administrator@ostrel.local)"));
}

TEST_F(OperatorConsole, ThirdPasswordMayBeRight) {
  EXPECT_TRUE(Collect(L"a\rb\r" + Right()));
  EXPECT_EQ(CheckCalls().size(), 3u);
}

TEST_F(OperatorConsole, ThreeWrongPasswordsEndTheRunAfterTheThirdOnesMessage) {
  EXPECT_FALSE(Collect(L"one\rtwo\rthree\r"));
  const std::wstring prompt = L"Enter Administrator@ostrel.local password: ";
  const std::wstring advice = std::wstring(kCheckKelvane) + L"\n";
  EXPECT_EQ(console_, prompt + Stars(3) + advice + prompt + Stars(3) + advice + prompt + Stars(5) +
                          advice + kGivenUp + L"\n");
  EXPECT_THAT(OwnLog(),
              Contains(ErrorLine(std::wstring(L"CollectRequiredUserInput: ") + kGivenUp)));
  EXPECT_EQ(InitError(), kGivenUp);
}

TEST_F(OperatorConsole, InfrastructureAsksTheDirectory) {
  gProperties[L"MIGRATION_TYPE"] = L"infrastructure";
  gProperties[L"SSO_VERSION"] = L"5.5";
  EXPECT_TRUE(Collect(L"wrong\r" + Right()));
  EXPECT_THAT(console_, HasSubstr(std::wstring(kCheckSso) + L"\n"));
  EXPECT_THAT(CheckCalls(), Each("ValidateLocalSSOCredentials(Administrator@ostrel.local, 5.5)"));
  gProperties[L"SSO_VERSION"] = L"5.8";
  EXPECT_TRUE(Collect(Right()));
  EXPECT_EQ(CheckCalls().back(), "ValidateLocalSSOCredentials(Administrator@ostrel.local, later)");
}

TEST_F(OperatorConsole, UpdateManagerAsksItsKelvaneServer) {
  gProperties[L"MIGRATION_TYPE"] = L"tum";
  EXPECT_TRUE(Collect(L"wrong\r" + Right()));
  EXPECT_THAT(
      console_,
      HasSubstr(
          L"Check that Ostrel Kelvane Server at 'kv.example' is up and running, and that the entered credentials are valid.\n"));
  EXPECT_THAT(
      CheckCalls(),
      Each(
          "ValidateKvAdminCredentials(kv.example, 8443, /sdkTunnel, AA:BB, updater@ostrel.local)"));
}

TEST_F(OperatorConsole, LocalSystemServiceBringsNoSecondPrompt) {
  gProperties[L"KELVD_SA_USER"] = L"left over";
  gProperties[L"KELVD_SA_PASSWORD"] = L"left over";
  EXPECT_TRUE(Collect(Right()));
  EXPECT_THAT(console_, Not(HasSubstr(L"service account")));
  EXPECT_TRUE(gProperties[L"KELVD_SA_USER"].empty());
  EXPECT_TRUE(gProperties[L"KELVD_SA_PASSWORD"].empty());
}

TEST_F(OperatorConsole, ServiceAccountsPasswordIsAskedForToo) {
  input_.kvSaUser = L"CORP\\kelvd";
  EXPECT_TRUE(Collect(Right() + L"no\r" + Right()));
  EXPECT_THAT(
      console_,
      HasSubstr(
          L"Your Kelvane Server service is configured to run under the 'CORP\\kelvd' service account.\n"
          L"Enter 'CORP\\kelvd' service account password: **\n"
          L"Check that 'CORP\\kelvd' account has Log on as a service right, is part of the Local Administrator group, and that the entered credentials are valid.\n"
          L"Enter 'CORP\\kelvd' service account password: ***"));
  EXPECT_EQ(input_.kvSaPassword, kAcceptedPassword);
  EXPECT_TRUE(gProperties[L"KELVD_SA_PASSWORD"] == kAcceptedPassword);
}

TEST_F(OperatorConsole, ThreeWrongServiceAccountPasswordsEndTheRun) {
  input_.kvSaUser = L"CORP\\kelvd";
  EXPECT_FALSE(Collect(Right() + L"a\rb\rc\r"));
  EXPECT_THAT(
      console_,
      EndsWith(
          L"entered credentials are valid.\nKelvane Server service account password validation failed '3' times."));
  EXPECT_THAT(
      OwnLog(),
      Contains(InfoLine(
          L"CollectRequiredUserInput: KELVD service account password validation failed multiple times.")));
  EXPECT_THAT(OwnLog(),
              Contains(ErrorLine(std::wstring(L"CollectRequiredUserInput: ") + kGivenUp)));
  EXPECT_EQ(InitError(), kGivenUp);
  EXPECT_TRUE(gProperties[L"KELVD_SA_PASSWORD"].empty());
}

TEST_F(OperatorConsole, RightArgumentsPassWithoutAWord) {
  input_.ssoPassword = kAcceptedPassword;
  input_.exportDir = L"D:\\export";
  EXPECT_TRUE(Validate());
  EXPECT_EQ(console_, L"");
  EXPECT_TRUE(gProperties[L"EXPORT_DIR"] == L"D:\\export");
}

TEST_F(OperatorConsole, WithoutAnExportFolderTheDefaultStays) {
  gProperties[L"EXPORT_DIR"] = L"C:\\default\\";
  input_.ssoPassword = kAcceptedPassword;
  EXPECT_TRUE(Validate());
  EXPECT_TRUE(gProperties[L"EXPORT_DIR"] == L"C:\\default\\");
}

TEST_F(OperatorConsole, WrongArgumentForAKelvaneServerIsRefusedAtOnce) {
  input_.ssoPassword = L"wrong";
  EXPECT_FALSE(Validate());
  EXPECT_EQ(
      console_,
      std::wstring(L"Error: The entered Kelvane Server credentials are not valid.\nResolution: ") +
          kCheckKelvane + L"\n");
  EXPECT_EQ(InitError(), kKvInvalid);
  EXPECT_EQ(CheckCalls().size(), 1u);
}

TEST_F(OperatorConsole, WrongArgumentForTheDirectoryIsRefusedAtOnce) {
  gProperties[L"MIGRATION_TYPE"] = L"infrastructure";
  input_.ssoPassword = L"wrong";
  EXPECT_FALSE(Validate());
  EXPECT_EQ(
      console_,
      std::wstring(
          L"Error: The entered Ostrel Single Sign-On credentials are not valid.\nResolution: ") +
          kCheckSso + L"\n");
  EXPECT_EQ(InitError(), kSsoInvalid);
}

TEST_F(OperatorConsole, WrongArgumentForAnUpdateManagerLeavesThePlaceUnfilled) {
  gProperties[L"MIGRATION_TYPE"] = L"tum";
  input_.ssoPassword = L"wrong";
  EXPECT_FALSE(Validate());
  EXPECT_EQ(
      console_,
      L"Error: The entered Kelvane Server credentials are not valid.\nResolution: Check that Ostrel Kelvane Server at '[0]' is up and running, and that the entered credentials are valid.\n");
  EXPECT_EQ(InitError(), kKvInvalid);
  // Unlike at the console, the derived name is the one that is checked.
  EXPECT_THAT(
      CheckCalls(),
      ElementsAre(
          "ValidateKvAdminCredentials(kv.example, 8443, /sdkTunnel, AA:BB, Administrator@ostrel.local)"));
}

TEST_F(OperatorConsole, ServiceAccountsPasswordHasToBeGiven) {
  input_.ssoPassword = kAcceptedPassword;
  input_.kvSaUser = L"CORP\\kelvd";
  EXPECT_FALSE(Validate());
  const std::wstring text =
      L"Kelvane Server service is running under the 'CORP\\kelvd' service account. Pass this service account password through the command line.";
  EXPECT_EQ(console_, text + L"\n");
  EXPECT_EQ(InitError(), text);
}

TEST_F(OperatorConsole, WrongServiceAccountPasswordIsRefusedAtOnce) {
  input_.ssoPassword = kAcceptedPassword;
  input_.kvSaUser = L"CORP\\kelvd";
  input_.kvSaPassword = L"wrong";
  EXPECT_FALSE(Validate());
  const std::wstring text =
      L"The credentials passed for 'CORP\\kelvd' service account user is not valid.";
  EXPECT_EQ(console_, text + L"\n");
  EXPECT_EQ(InitError(), text);
}

TEST_F(OperatorConsole, RightServiceAccountPasswordIsTakenOver) {
  input_.ssoPassword = kAcceptedPassword;
  input_.kvSaUser = L"CORP\\kelvd";
  input_.kvSaPassword = kAcceptedPassword;
  EXPECT_TRUE(Validate());
  EXPECT_TRUE(gProperties[L"KELVD_SA_PASSWORD"] == kAcceptedPassword);
}

TEST_F(OperatorConsole, ErrorsAreStoredInEnglishWhateverTheMachineSpeaks) {
  SpeakMachineLanguage(1041);
  input_.ssoPassword = kAcceptedPassword;
  input_.kvSaUser = L"kelvd";
  EXPECT_FALSE(Validate());
  EXPECT_THAT(InitError(), StartsWith(L"Kelvane Server service is running under"));
  EXPECT_THAT(console_, AllOf(HasSubstr(L"kelvd"), Not(HasSubstr(L"service is running"))));
}

}  // namespace
}  // namespace Halvard
