// Servers that say nothing, or nothing that can be understood.
#include <future>

#include "secure_copy_fixture.h"

namespace Halvard::Transfer {
namespace {

using Testing::ErrorLine;
using Testing::OwnLog;
using ::testing::SizeIs;
using ::testing::StartsWith;

class SilentServer : public SecureCopyTest {
 protected:
  /// Copies to a server that falls silent, and has the connection closed only when the copy waits.
  void CopyUntilClosed(std::uint64_t silentAfter) {
    StartServer();
    SetContent(3'000'000);
    StartRelay({.silentAfter = silentAfter});
    std::future<bool> copy = std::async(std::launch::async, [this] { return Copy(); });
    relay_->WaitForSilence();
    EXPECT_EQ(copy.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    relay_->Close();
    EXPECT_FALSE(copy.get());
  }
};

TEST_F(SilentServer, IsWaitedForBeforeItsFirstWord) {
  CopyUntilClosed(0);
  EXPECT_THAT(Errors(), SizeIs(1));
  EXPECT_THAT(Errors().back().message, StartsWith(L"ScpFile: Handshake failed"));
}

TEST_F(SilentServer, IsWaitedForAmidTheHandshake) {
  CopyUntilClosed(40);
  EXPECT_THAT(Errors(), SizeIs(1));
  EXPECT_THAT(Errors().back().message, StartsWith(L"ScpFile: Handshake failed"));
}

TEST_F(SilentServer, IsWaitedForAmidTheContent) {
  CopyUntilClosed(500'000);
  EXPECT_THAT(Errors(), SizeIs(1));
  EXPECT_THAT(OwnLog().back(), ErrorLine(L"ScpFile: Failed to write file content to channel."));
}

}  // namespace
}  // namespace Halvard::Transfer
