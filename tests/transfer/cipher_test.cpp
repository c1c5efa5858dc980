// What goes through each cipher, how it's handed to OpenSSL, and what stays of it.
#include "secure_copy_fixture.h"
#include "ssh_calls.h"

namespace Halvard::Transfer {
namespace {

using ::testing::Ge;
using ::testing::HasSubstr;
using Testing::SshCalls;

constexpr std::size_t kBlock = 8192;

struct CipherCase {
  const char* name;
  const char* cipher;
  const char* code;  ///< Kind of the message authentication code.
};
class Ciphers : public SecureCopyTest, public ::testing::WithParamInterface<CipherCase> {};

TEST_P(Ciphers, CarryTheContentUnchanged) {
  const std::string cipher = GetParam().cipher, code = GetParam().code;
  StartServer({.hostKeys = {"ed25519"},
               .options = {"LogLevel DEBUG1", "Ciphers " + cipher, "MACs " + code}});
  SetContent(300'007);
  EXPECT_TRUE(Copy());
  EXPECT_EQ(Arrived(), content_);
  EXPECT_THAT(server_->Log(), HasSubstr("client->server cipher: " + cipher));
}

TEST_P(Ciphers, LeaveNoMemoryBehind) {
  const std::string cipher = GetParam().cipher, code = GetParam().code;
  StartServer({.hostKeys = {"ed25519"}, .options = {"Ciphers " + cipher, "MACs " + code}});
  const SshCalls calls;
  ASSERT_TRUE(Copy());
  EXPECT_EQ(calls.HeldPieces(), 0);
}

constexpr CipherCase kCiphers[] = {
    {"Aes128Gcm", "aes128-gcm@openssh.com", "hmac-sha2-256"},
    {"Aes256Gcm", "aes256-gcm@openssh.com", "hmac-sha2-256"},
    {"Aes128Ctr", "aes128-ctr", "hmac-sha2-256"},
    {"Aes192Ctr", "aes192-ctr", "hmac-sha2-512-etm@openssh.com"},
    {"Aes256Ctr", "aes256-ctr", "hmac-sha1"},
    {"Aes128Cbc", "aes128-cbc", "hmac-sha2-512"},
    {"Aes256Cbc", "aes256-cbc", "hmac-sha2-256-etm@openssh.com"},
    {"TripleDesCbc", "3des-cbc", "hmac-sha1-etm@openssh.com"},
    {"ChaCha20", "chacha20-poly1305@openssh.com", "hmac-sha2-256"},
};
INSTANTIATE_TEST_SUITE_P(All, Ciphers, ::testing::ValuesIn(kCiphers),
                         [](const auto& row) { return std::string(row.param.name); });

class Cipher : public SecureCopyTest {};

TEST_F(Cipher, IsAes128GcmInBothDirectionsWhereTheServerHasIt) {
  StartServer({.hostKeys = {"ed25519"}, .options = {"LogLevel DEBUG1"}});
  ASSERT_TRUE(Copy());
  EXPECT_THAT(server_->Log(), HasSubstr("client->server cipher: aes128-gcm@openssh.com"));
  EXPECT_THAT(server_->Log(), HasSubstr("server->client cipher: aes128-gcm@openssh.com"));
}

// The library out of the box hands over 16 bytes at a time, which takes several times as long.
TEST_F(Cipher, TakesAWholeBlockOfTheFileInOneCall) {
  StartServer();
  SetContent(kBlock);
  const SshCalls calls;
  ASSERT_TRUE(Copy());
  EXPECT_THAT(calls.LongestCipherPiece(), Ge(kBlock));
}

TEST_F(Cipher, TakesAWholeBlockOfTheFileWithACodeOfItsOwnToo) {
  StartServer({.hostKeys = {"ed25519"}, .options = {"Ciphers aes256-ctr"}});
  SetContent(kBlock);
  const SshCalls calls;
  ASSERT_TRUE(Copy());
  EXPECT_THAT(calls.LongestCipherPiece(), Ge(kBlock));
}

}  // namespace
}  // namespace Halvard::Transfer
