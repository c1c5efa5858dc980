// Every way in which a copy ends before its time.
#include <fstream>

#include "host/unique_resource.h"
#include "secure_copy_fixture.h"
#include "ssh_calls.h"

namespace Halvard::Transfer {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using Testing::LogLine;
using ::testing::Not;
using Testing::OwnLog;
using ::testing::SizeIs;
using Testing::SshCalls;
using Testing::WarningLine;

const LogLine kRefused =
    ErrorLine(L"ScpFile: Failed to connect to remote host [192.0.2.20], Error code: [10061]");
// The library couldn't write its first line.
const LogLine kNoHandshake =
    ErrorLine(L"ScpFile: Handshake failed with remote host [192.0.2.20]. Error: -43");
const LogLine kNotLoggedIn =
    ErrorLine(L"ScpFile: Failed to authenticate against remote host using provided credentials.");

class SecureCopyFailures : public SecureCopyTest {};

TEST_F(SecureCopyFailures, EveryArgumentButTheFingerprintIsNeeded) {
  const std::string s = kServer, r = "/tmp/x", u = kUser, p = kPassword;
  const std::wstring file = kLocalFile;
  EXPECT_FALSE(ScpFile("", r, u, p, "", file));
  EXPECT_FALSE(ScpFile(s, "", u, p, "", file));
  EXPECT_FALSE(ScpFile(s, r, "", p, "", file));
  EXPECT_FALSE(ScpFile(s, r, u, "", "", file));
  EXPECT_FALSE(ScpFile(s, r, u, p, "", L""));
  const LogLine line = ErrorLine(L"ScpFile: ScpFile called with invalid arguments.");
  EXPECT_THAT(OwnLog(), ElementsAre(line, line, line, line, line));
}

TEST_F(SecureCopyFailures, RefusedConnectionGoesOnIntoTheHandshake) {
  EXPECT_FALSE(Copy());
  EXPECT_THAT(Errors(), ElementsAre(kRefused, kNoHandshake));
}

TEST_F(SecureCopyFailures, RefusedConnectionIsTriedThreeTimes) {
  EXPECT_FALSE(CopyWithRetries());
  EXPECT_THAT(Errors(),
              ElementsAre(kRefused, kNoHandshake, kRefused, kNoHandshake, kRefused, kNoHandshake,
                          ErrorLine(L"ScpFileWithRetries: ScpFile failed after [2] "
                                    L"retries.")));
  EXPECT_THAT(OwnLog(),
              Contains(WarningLine(L"ScpFileWithRetries: ScpFile failed. retryCount [0]")));
  EXPECT_THAT(OwnLog(),
              Contains(WarningLine(L"ScpFileWithRetries: ScpFile failed. retryCount [1]")));
}

TEST_F(SecureCopyFailures, NameWithoutAnAddressIsTriedAsNone) {
  EXPECT_FALSE(Copy("", "unknown.example"));
  EXPECT_THAT(OwnLog(),
              Contains(InfoLine(L"ScpFile: Resolved host 'unknown.example' to IP address ''")));
  EXPECT_THAT(Errors().end()[-2], ErrorLine(L"ScpFile: Failed to connect to remote host "
                                            L"[unknown.example], Error code: [10051]"));
  EXPECT_THAT(Errors().back(), ErrorLine(L"ScpFile: Handshake failed with remote host "
                                         L"[unknown.example]. Error: -43"));
}

TEST_F(SecureCopyFailures, AddressWithAScopeIsTakenForIPv4AndReachesNobody) {
  EXPECT_FALSE(Copy("", "scoped.example"));
  EXPECT_THAT(OwnLog(),
              Contains(InfoLine(L"ScpFile: Create socket using AF_INET address family.")));
  EXPECT_THAT(Errors().at(0), ErrorLine(L"ScpFile: Failed to connect to remote host "
                                        L"[scoped.example], Error code: [10051]"));
}

TEST_F(SecureCopyFailures, WithoutASocketThereIsNoSession) {
  RefuseCall("socket", 1, 10024);
  const SshCalls calls;
  EXPECT_FALSE(Copy());
  EXPECT_THAT(OwnLog().back(),
              ErrorLine(L"ScpFile: Failed to create socket on host [192.0.2.20]."));
  EXPECT_THAT(calls.Functions(), ElementsAre("libssh2_init", "libssh2_exit"));
}

TEST_F(SecureCopyFailures, LibraryThatCannotBeSetUpIsNotPutAway) {
  SshCalls calls;
  calls.Fail("libssh2_init", -5);
  EXPECT_FALSE(Copy());
  EXPECT_THAT(OwnLog().back(), ErrorLine(L"ScpFile: Libssh2 initialization failed: -5"));
  EXPECT_THAT(calls.Functions(), ElementsAre("libssh2_init"));
}

TEST_F(SecureCopyFailures, WithoutASessionTheSocketIsClosed) {
  StartServer();
  SshCalls calls;
  calls.Fail("libssh2_session_init_ex");
  EXPECT_FALSE(Copy());
  EXPECT_THAT(OwnLog().back(), ErrorLine(L"ScpFile: Failed to initialize libssh2 session"));
  EXPECT_THAT(calls.Functions(),
              ElementsAre("libssh2_init", "libssh2_session_init_ex", "libssh2_exit"));
}

TEST_F(SecureCopyFailures, KeyWithoutAHashMatchesNothing) {
  StartServer();
  SshCalls calls;
  calls.Fail("libssh2_hostkey_hash");
  EXPECT_FALSE(Copy(server_->Thumbprint("ed25519")));
  EXPECT_THAT(Errors(), SizeIs(1));
}

TEST_F(SecureCopyFailures, WrongPasswordIsTriedThreeTimes) {
  StartServer();
  EXPECT_FALSE(ScpFileWithRetries(kServer, RemotePath(), kUser, "heimlich", "", kLocalFile));
  EXPECT_THAT(Errors(), ElementsAre(kNotLoggedIn, kNotLoggedIn, kNotLoggedIn,
                                    ErrorLine(L"ScpFileWithRetries: ScpFile failed after [2] "
                                              L"retries.")));
}

TEST_F(SecureCopyFailures, UnknownUserIsRefused) {
  StartServer();
  EXPECT_FALSE(ScpFile(kServer, RemotePath(), "nobody", kPassword, "", kLocalFile));
  EXPECT_THAT(Errors(), ElementsAre(kNotLoggedIn));
}

TEST_F(SecureCopyFailures, FileThatIsNotThereIsMissedAfterTheLogin) {
  StartServer();
  machine_.RemoveFile(kLocalFile);
  EXPECT_FALSE(Copy());
  EXPECT_THAT(OwnLog().back(), ErrorLine(L"ScpFile: Failed to open file."));
  EXPECT_THAT(OwnLog(),
              Contains(InfoLine(L"ScpFile: Successfully authenticated against remote host.")));
}

TEST_F(SecureCopyFailures, FileThatSomebodyHasOpenIsLeftAlone) {
  StartServer();
  const Host::UniqueFile open(CreateFileW(kLocalFile, GENERIC_READ, FILE_SHARE_READ, nullptr,
                                          OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  ASSERT_TRUE(open);
  EXPECT_FALSE(Copy());
  EXPECT_THAT(OwnLog().back(), ErrorLine(L"ScpFile: Failed to open file."));
}

TEST_F(SecureCopyFailures, SizeMustBeKnown) {
  StartServer();
  RefuseCall("GetFileSizeEx", 1, 5);
  const SshCalls calls;
  EXPECT_FALSE(Copy());
  EXPECT_THAT(OwnLog().back(), ErrorLine(L"ScpFile: Failed to get the size of the file. Error: 5"));
  EXPECT_THAT(calls.Functions(), Not(Contains("libssh2_scp_send64")));
}

TEST_F(SecureCopyFailures, FolderMustBeThere) {
  StartServer();
  EXPECT_FALSE(
      ScpFile(kServer, server_->Folder() + "/none/x.zip", kUser, kPassword, "", kLocalFile));
  EXPECT_THAT(
      OwnLog().back(),
      ErrorLine(L"ScpFile: Failed to create a channel to SCP file to remote host. Error: -28"));
}

TEST_F(SecureCopyFailures, ReadThatFailsEndsTheCopy) {
  StartServer();
  SetContent(50'000);
  RefuseCall("ReadFile", 4, 23);
  const SshCalls calls;
  EXPECT_FALSE(Copy());
  EXPECT_THAT(OwnLog().back(), ErrorLine(L"ScpFile: Failed to read the file."));
  EXPECT_THAT(calls.Functions(), Not(Contains("libssh2_channel_send_eof")));
}

TEST_F(SecureCopyFailures, FileThatBecameShorterCannotBeRead) {
  StartServer();
  SetContent(50'000);
  SshCalls calls;
  calls.Before("libssh2_scp_send64",
               [this] { std::filesystem::resize_file(machine_.HostPath(kLocalFile), 20'000); });
  EXPECT_FALSE(Copy());
  EXPECT_THAT(OwnLog().back(), ErrorLine(L"ScpFile: Failed to read the file."));
}

TEST_F(SecureCopyFailures, FileThatBecameLongerIsNoCopy) {
  StartServer();
  SshCalls calls;
  calls.Before("libssh2_scp_send64",
               [this] { std::ofstream(machine_.HostPath(kLocalFile), std::ios::app) << "more"; });
  EXPECT_FALSE(Copy());
  EXPECT_THAT(Errors(),
              ElementsAre(ErrorLine(L"ScpFile: Failed to copy file. Number of bytes copied "
                                    L"does not match local file size.")));
  EXPECT_THAT(OwnLog().end()[-2], InfoLine(L"ScpFile: Total bytes copied: 20 bytes"));
}

struct Step {
  const char* function;
  const wchar_t* line;
};
class SecureCopySteps : public SecureCopyTest, public ::testing::WithParamInterface<Step> {};
TEST_P(SecureCopySteps, EndTheCopyWhenTheyFail) {
  StartServer();
  SshCalls calls;
  calls.Fail(GetParam().function, -7);
  EXPECT_FALSE(Copy());
  EXPECT_THAT(Errors(), ElementsAre(ErrorLine(GetParam().line)));
  EXPECT_THAT(OwnLog().back(), ErrorLine(GetParam().line));
  EXPECT_THAT(calls.Functions(), Contains("libssh2_session_free"));
}
constexpr Step kSteps[] = {
    {"libssh2_session_handshake",
     L"ScpFile: Handshake failed with remote host [192.0.2.20]. Error: -7"},
    {"libssh2_channel_write_ex", L"ScpFile: Failed to write file content to channel."},
    {"libssh2_channel_send_eof", L"ScpFile: Failed to send EOF. Error code: -7"},
    {"libssh2_channel_wait_eof", L"ScpFile: Failed to wait for EOF. Error code: -7"},
    {"libssh2_channel_wait_closed", L"ScpFile: Failed to wait and close channel. Error code: -7"},
    {"libssh2_channel_free", L"ScpFile: Failed to free channel. Error code: -7"},
};
INSTANTIATE_TEST_SUITE_P(Calls, SecureCopySteps, ::testing::ValuesIn(kSteps),
                         [](const auto& row) { return std::string(row.param.function); });

TEST_F(SecureCopyFailures, LineThatBreaksAnywhereIsOneErrorAndNoCopy) {
  StartServer();
  SetContent(400'000);
  for (std::uint64_t bytes = 0; bytes < 300'000; bytes += bytes < 4000 ? 250 : 50'000) {
    StartRelay({.closeAfter = bytes});
    const std::size_t before = Errors().size();
    EXPECT_FALSE(Copy()) << bytes;
    EXPECT_EQ(Errors().size(), before + 1) << bytes;
  }
  EXPECT_THAT(Errors().front().message, ::testing::StartsWith(L"ScpFile: Handshake failed"));
}

TEST_F(SecureCopyFailures, LineThatBreaksAmidTheContentFailsTheWrite) {
  StartServer();
  // More than the host keeps on the way.
  SetContent(24'000'000);
  StartRelay({.closeAfter = 300'000});
  EXPECT_FALSE(Copy());
  EXPECT_THAT(Errors(),
              ElementsAre(ErrorLine(L"ScpFile: Failed to write file content to channel.")));
}

// The protocol has no word for it behind the content: the server's program takes all of it,
// whatever becomes of it there.
TEST_F(SecureCopyFailures, FullDiskOfTheServerGoesUnnoticed) {
  StartServer({.hostKeys = {"ed25519"}, .diskSize = "64k"});
  SetContent(1'000'000);
  EXPECT_TRUE(Copy());
  EXPECT_LT(Arrived().size(), content_.size());
}

}  // namespace
}  // namespace Halvard::Transfer
