// Keys are exchanged again in a long copy, when the server wants it.
#include <string>

#include "secure_copy_fixture.h"
#include "ssh_calls.h"

namespace Halvard::Transfer {
namespace {

using ::testing::HasSubstr;
using Testing::SshCalls;

class KeyExchanges : public SecureCopyTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(KeyExchanges, LeaveNoMemoryBehindWhenTheyAreRepeated) {
  StartServer({.hostKeys = {"ed25519"},
               .options = {"LogLevel DEBUG1", std::string("KexAlgorithms ") + GetParam(),
                           "RekeyLimit 64K"}});
  SetContent(400'000);
  const SshCalls calls;
  ASSERT_TRUE(Copy());
  EXPECT_EQ(Arrived(), content_);
  EXPECT_THAT(server_->Log(), HasSubstr("rekeying out"));
  EXPECT_EQ(calls.HeldPieces(), 0);
}

constexpr const char* kExchanges[] = {"curve25519-sha256", "ecdh-sha2-nistp256",
                                      "diffie-hellman-group14-sha256"};
INSTANTIATE_TEST_SUITE_P(Methods, KeyExchanges, ::testing::ValuesIn(kExchanges),
                         [](const auto& row) {
                           std::string name = row.param;
                           std::erase(name, '-');
                           return name;
                         });

}  // namespace
}  // namespace Halvard::Transfer
