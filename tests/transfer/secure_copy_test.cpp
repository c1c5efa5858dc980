#include "transfer/secure_copy.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "core/text.h"
#include "secure_copy_fixture.h"
#include "ssh_calls.h"

namespace Halvard::Transfer {
namespace {

using ::testing::Contains;
using Testing::DebugLine;
using ::testing::ElementsAre;
using Testing::ErrorLine;
using ::testing::HasSubstr;
using Testing::InfoLine;
using ::testing::IsEmpty;
using Testing::LogLine;
using ::testing::Not;
using Testing::OwnLog;
using Testing::SshCalls;
using Testing::WarningLine;

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

class SecureCopy : public SecureCopyTest {
 protected:
  LogLine CopyingLine(const std::wstring& server) const {
    return InfoLine(L"ScpFile: Copying local " + std::wstring(kLocalFile) + L" file to host " +
                    server + L" at location " + Utf8ToWide(RemotePath()) + L".");
  }
  static LogLine MatchLine(const std::string& thumbprint) {
    return InfoLine(
        L"ScpFile: The fingerprint of the remote host '192.0.2.20' matched the expected "
        L"fingerprint '" +
        Utf8ToWide(thumbprint) + L"'.");
  }
  static LogLine MismatchLine(const std::string& thumbprint) {
    return ErrorLine(
        L"ScpFile: The fingerprint of the remote host '192.0.2.20' did not match the expected "
        L"fingerprint '" +
        Utf8ToWide(thumbprint) + L"'.");
  }
};

TEST_F(SecureCopy, FileArrivesAndEachStepIsLogged) {
  StartServer();
  SetContent(20'000);
  const std::string thumbprint = server_->Thumbprint("ed25519");

  EXPECT_TRUE(Copy(thumbprint));

  EXPECT_EQ(Arrived(), content_);
  EXPECT_THAT(OwnLog(),
              ElementsAre(CopyingLine(L"192.0.2.20"),
                          InfoLine(L"ScpFile: Create socket using AF_INET address family."),
                          MatchLine(thumbprint),
                          InfoLine(L"ScpFile: Successfully authenticated against remote host."),
                          InfoLine(L"ScpFile: Local file size retrieved: 20000 bytes."),
                          InfoLine(L"ScpFile: Total bytes copied: 20000 bytes"),
                          InfoLine(L"ScpFile: Successfully SCPed file to remote host.")));
}

TEST_F(SecureCopy, ServerMakesTheFileWithMode0644) {
  StartServer();
  ASSERT_TRUE(Copy());
  struct stat facts = {};
  ASSERT_EQ(stat(server_->HostPath(RemotePath()).c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 07777u, 0644u);
}

TEST_F(SecureCopy, LibraryIsCalledInOrderAndPutAwayAtTheEnd) {
  StartServer();
  const SshCalls calls;
  ASSERT_TRUE(Copy());
  EXPECT_THAT(
      calls.Functions(),
      ElementsAre("libssh2_init", "libssh2_session_init_ex", "libssh2_session_handshake",
                  "libssh2_hostkey_hash", "libssh2_userauth_password_ex", "libssh2_scp_send64",
                  "libssh2_channel_write_ex", "libssh2_channel_send_eof",
                  "libssh2_channel_wait_eof", "libssh2_channel_wait_closed", "libssh2_channel_free",
                  "libssh2_session_disconnect_ex", "libssh2_session_free", "libssh2_exit"));
}

TEST_F(SecureCopy, ServerIsToldThatTheApplicationEndsTheSession) {
  StartServer();
  const SshCalls calls;
  ASSERT_TRUE(Copy());
  EXPECT_EQ(calls.Goodbye(), "11 Disconnect!!! ");
}

TEST_F(SecureCopy, BlockThatIsTakenInPartsArrivesWhole) {
  StartServer();
  SetContent(20'000);
  SshCalls calls;
  calls.TakeAtMost(1'000);
  EXPECT_TRUE(Copy());
  EXPECT_EQ(Arrived(), content_);
}

class SecureCopySizes : public SecureCopy, public ::testing::WithParamInterface<std::size_t> {};
TEST_P(SecureCopySizes, ArriveWhole) {
  StartServer();
  SetContent(GetParam());
  EXPECT_TRUE(Copy());
  EXPECT_TRUE(std::filesystem::exists(server_->HostPath(RemotePath())));
  EXPECT_EQ(Arrived(), content_);
}
INSTANTIATE_TEST_SUITE_P(Blocks, SecureCopySizes,
                         ::testing::Values(0, 1, 8191, 8192, 8193, 16384, 3'000'001));

TEST_F(SecureCopy, EmptyFileIsNeitherReadNorWritten) {
  StartServer();
  SetContent(0);
  const SshCalls calls;
  const std::uint32_t reads = Lab::TheMachine().Faults().Calls("ReadFile");
  EXPECT_TRUE(Copy());
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("ReadFile"), reads);
  EXPECT_THAT(calls.Functions(), Not(Contains("libssh2_channel_write_ex")));
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"ScpFile: Total bytes copied: 0 bytes")));
}

TEST_F(SecureCopy, LongerFileOfBeforeIsReplaced) {
  StartServer();
  SetContent(30'000);
  ASSERT_TRUE(Copy());
  SetContent(10);
  ASSERT_TRUE(Copy());
  EXPECT_EQ(Arrived(), content_);
}

TEST_F(SecureCopy, FingerprintMayBeInLowerCase) {
  StartServer();
  EXPECT_TRUE(Copy(LowerCase(server_->Thumbprint("ed25519"))));
}

TEST_F(SecureCopy, FingerprintNeedsItsSeparators) {
  StartServer();
  std::string thumbprint = server_->Thumbprint("ed25519");
  std::erase(thumbprint, ':');
  EXPECT_FALSE(Copy(thumbprint));
  EXPECT_THAT(OwnLog().back(), MismatchLine(thumbprint));
}

TEST_F(SecureCopy, OtherFingerprintEndsBeforeThePasswordIsSent) {
  StartServer();
  const SshCalls calls;
  const std::string thumbprint(std::size_t{20} * 3 - 1, 'F');
  EXPECT_FALSE(Copy(thumbprint));
  EXPECT_THAT(Errors(), ElementsAre(MismatchLine(thumbprint)));
  EXPECT_THAT(calls.Functions(),
              ElementsAre("libssh2_init", "libssh2_session_init_ex", "libssh2_session_handshake",
                          "libssh2_hostkey_hash", "libssh2_session_disconnect_ex",
                          "libssh2_session_free", "libssh2_exit"));
}

TEST_F(SecureCopy, WithoutAFingerprintAnyServerWillDo) {
  StartServer();
  EXPECT_TRUE(Copy(""));
  EXPECT_THAT(OwnLog(), Contains(WarningLine(L"ScpFile: Expected fingerprint not passed.")));
}

TEST_F(SecureCopy, RsaKeyIsTheOneThatIsCompared) {
  StartServer({.hostKeys = {"ed25519", "ecdsa", "rsa"}, .options = {"LogLevel DEBUG1"}});
  EXPECT_TRUE(Copy(server_->Thumbprint("rsa")));
  EXPECT_THAT(server_->Log(), HasSubstr("kex: host key algorithm: rsa-sha2-512"));
  EXPECT_FALSE(Copy(server_->Thumbprint("ed25519")));
}

TEST_F(SecureCopy, WithoutAFingerprintTheLibraryChoosesTheKey) {
  StartServer({.hostKeys = {"rsa", "ecdsa", "ed25519"}, .options = {"LogLevel DEBUG1"}});
  EXPECT_TRUE(Copy(""));
  EXPECT_THAT(server_->Log(), HasSubstr("kex: host key algorithm: e"));
}

TEST_F(SecureCopy, ServerThatHasAnRsaKeyAloneWillDo) {
  StartServer({.hostKeys = {"rsa"}});
  EXPECT_TRUE(Copy(server_->Thumbprint("rsa")));
  EXPECT_TRUE(Copy(""));
}

TEST_F(SecureCopy, NameIsResolved) {
  StartServer();
  EXPECT_TRUE(Copy("", "appliance.example"));
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"ScpFile: Resolved host 'appliance.example' to IP "
                                          L"address '192.0.2.20'")));
  EXPECT_THAT(OwnLog(), Contains(CopyingLine(L"appliance.example")));
}

TEST_F(SecureCopy, IPv6IsTakenForItsAddresses) {
  StartServer();
  if (server_->Log().find("Server listening on ::1") == std::string::npos) {
    GTEST_SKIP() << "this host has no IPv6";
  }
  machine_.Set("/addressMap/[2001:db8::20]:22", server_->Address6());
  for (const char* server : {"six.example", "2001:db8::20"}) {
    EXPECT_TRUE(Copy("", server)) << server;
    EXPECT_EQ(Arrived(), content_);
  }
  const LogLine family = InfoLine(L"ScpFile: Create socket using AF_INET6 address family.");
  const std::vector<LogLine> log = OwnLog();
  EXPECT_EQ(std::count(log.begin(), log.end(), family), 2);
}

TEST_F(SecureCopy, DelayIsNoReasonToFail) {
  StartServer();
  RefuseCall("setsockopt", 1, 10022);
  EXPECT_TRUE(Copy());
}

TEST_F(SecureCopy, SlowLineOnlyTakesTime) {
  StartServer();
  SetContent(100'000);
  StartRelay({.bytesPerSecond = 1'000'000});
  EXPECT_TRUE(Copy());
  EXPECT_EQ(Arrived(), content_);
}

TEST_F(SecureCopy, BlocksShowInADetailedLog) {
  // In a process of its own: whether the log is detailed is asked once.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  StartServer();
  machine_.SetVariable(L"KVS_HV_DEBUG", L"1");
  SetContent(8200);
  EXPECT_EXIT(
      {
        const bool copied = Copy();
        const bool logged = ::testing::Matches(
            ::testing::IsSupersetOf({DebugLine(L"ScpFile: Read 8192 bytes from file."),
                                     DebugLine(L"ScpFile: Copied 8192 bytes."),
                                     DebugLine(L"ScpFile: Read 8 bytes from file."),
                                     DebugLine(L"ScpFile: Copied 8 bytes.")}))(OwnLog());
        server_.reset();
        std::_Exit(copied && logged ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(SecureCopy, FirstSuccessIsTheLastAttempt) {
  StartServer();
  EXPECT_TRUE(CopyWithRetries());
  EXPECT_THAT(OwnLog().back(), InfoLine(L"ScpFileWithRetries: Scpfile is successful"));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("connect"), 1u);
}

TEST_F(SecureCopy, NextAttemptBeginsFromTheStart) {
  StartServer();
  SetContent(50'000);
  RefuseCall("ReadFile", 3, 5);
  EXPECT_TRUE(CopyWithRetries());
  EXPECT_EQ(Arrived(), content_);
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("connect"), 2u);
  EXPECT_THAT(OwnLog(),
              Contains(WarningLine(L"ScpFileWithRetries: ScpFile failed. retryCount [0]")));
  EXPECT_THAT(OwnLog().back(), InfoLine(L"ScpFileWithRetries: Scpfile is successful"));
}

}  // namespace
}  // namespace Halvard::Transfer
