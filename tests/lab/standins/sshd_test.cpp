#include "standins/sshd/sshd.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/reader.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <sstream>

#include "standins/sshd/tcp_relay.h"
#include "support/file_bytes.h"

namespace Lab {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

/// A connection to a port of loopback.
class Client {
 public:
  explicit Client(const std::string& address) : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    peer.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    peer.sin_port =
        htons(static_cast<std::uint16_t>(std::stoi(address.substr(address.rfind(':') + 1))));
    connected_ = connect(socket_, reinterpret_cast<const sockaddr*>(&peer), sizeof(peer)) == 0;
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;
  ~Client() { close(socket_); }

  bool Connected() const { return connected_; }
  void Send(const std::string& text) const {
    (void)send(socket_, text.data(), text.size(), MSG_NOSIGNAL);
  }
  /// \return One piece; empty at the end of the connection.
  std::string Receive() const {
    char piece[256] = {};
    const ssize_t length = recv(socket_, piece, sizeof(piece), 0);
    return {piece, length > 0 ? static_cast<std::size_t>(length) : 0};
  }
  /// Waits until the other side has closed.
  void ReceiveAll() const {
    while (!Receive().empty()) continue;
  }

 private:
  int socket_;
  bool connected_ = false;
};

class SshdStandIn : public ::testing::Test {
 protected:
  void SetUp() override {
    if (const std::string reason = Sshd::WhyNot(); !reason.empty()) GTEST_SKIP() << reason;
  }
  static Sshd::Settings WithAQuickKey() { return {.hostKeys = {"ed25519"}}; }
};

TEST_F(SshdStandIn, SpeaksFromTheStart) {
  const Sshd server(WithAQuickKey());
  EXPECT_THAT(Client(server.Address()).Receive(), StartsWith("SSH-2.0-OpenSSH"));
}

TEST_F(SshdStandIn, LeavesTheHostsAccountsAlone) {
  const std::string accounts = FileBytes("/etc/passwd"), passwords = FileBytes("/etc/shadow");
  const Sshd server(WithAQuickKey());
  EXPECT_EQ(FileBytes("/etc/passwd"), accounts);
  EXPECT_EQ(FileBytes("/etc/shadow"), passwords);
  EXPECT_NE(FileBytes(server.HostPath("/etc/shadow")), passwords);
  EXPECT_FALSE(std::filesystem::exists(server.HostPath("/run/sshd.pid")));
}

TEST_F(SshdStandIn, IsGoneWithAllItMade) {
  std::string folder, address;
  {
    const Sshd server(WithAQuickKey());
    folder = server.Folder();
    address = server.Address();
    ASSERT_TRUE(std::filesystem::exists(folder));
  }
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(folder).parent_path()));
  EXPECT_FALSE(Client(address).Connected());
}

TEST_F(SshdStandIn, EndOfTheServerEndsItsConnections) {
  Sshd server(WithAQuickKey());
  const Client client(server.Address());
  ASSERT_FALSE(client.Receive().empty());
  server.Stop();
  client.ReceiveAll();
}

TEST_F(SshdStandIn, RefusedSettingsAreToldInTheServersWords) {
  EXPECT_THAT([] { Sshd({.hostKeys = {"ed25519"}, .options = {"Nonsense yes"}}); },
              ::testing::ThrowsMessage<std::runtime_error>(HasSubstr("Nonsense")));
}

TEST_F(SshdStandIn, RelayBreaksAfterItsBytes) {
  const Sshd server(WithAQuickKey());
  const TcpRelay relay(server.Address(), {.closeAfter = 5});
  const Client client(relay.Address());
  EXPECT_THAT(client.Receive(), StartsWith("SSH-2.0-"));
  client.Send("SSH-2.0-client\r\n");
  client.ReceiveAll();
  EXPECT_EQ(relay.Connections(), 1u);
}

TEST_F(SshdStandIn, RelayFallsSilentAndStaysOpen) {
  const Sshd server(WithAQuickKey());
  TcpRelay relay(server.Address(), {.silentAfter = 0});
  const Client client(relay.Address());
  relay.WaitForSilence();
  EXPECT_TRUE(client.Connected());
  relay.Close();
  EXPECT_EQ(client.Receive(), "");
}

struct ProgramRun {
  std::string output;
  int exitCode = -1;
};
ProgramRun RunProgram(const std::string& arguments) {
  ProgramRun run;
  std::FILE* const pipe = popen((SSHD_PROGRAM " " + arguments + " 2>&1 </dev/null").c_str(), "r");
  char piece[256];
  while (std::fgets(piece, sizeof(piece), pipe) != nullptr) run.output += piece;
  run.exitCode = WEXITSTATUS(pclose(pipe));
  return run;
}

TEST_F(SshdStandIn, ProgramTellsWhereItIsAndEndsWithItsInput) {
  const ProgramRun run =
      RunProgram("--host-key ed25519 --host-key ecdsa --silent-after 0 --until-input-ends");
  EXPECT_EQ(run.exitCode, 0) << run.output;
  Json::Value line;
  std::istringstream(run.output) >> line;
  EXPECT_EQ(line["user"], "root");
  EXPECT_EQ(line["address"], "127.0.0.1:" + line["port"].asString());
  EXPECT_EQ(line["thumbprints"]["ecdsa"].asString().size(), 59u);
  EXPECT_FALSE(std::filesystem::exists(line["folder"].asString()));
}

TEST_F(SshdStandIn, ProgramRefusesWhatItDoesNotKnow) {
  EXPECT_EQ(RunProgram("--host-key dsa").exitCode, 2);
}

}  // namespace
}  // namespace Lab
