// Servers that say nothing, or nothing that can be understood.
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <future>
#include <string_view>

#include "secure_copy_fixture.h"

namespace Halvard::Transfer {
namespace {

using ::testing::ElementsAre;
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

/// Says its words to the one that comes, and listens until that one goes.
class TalkingServer {
 public:
  explicit TalkingServer(std::string_view words)
      : serving_(std::async(std::launch::async, [this, words] { Serve(words); })) {}

  std::string Address() const {
    return "127.0.0.1:" + std::to_string(acceptor_.local_endpoint().port());
  }

 private:
  using Tcp = boost::asio::ip::tcp;

  void Serve(std::string_view words) {
    Tcp::socket client = acceptor_.accept();
    boost::system::error_code ignored;
    boost::asio::write(client, boost::asio::buffer(words), ignored);
    std::string heard;
    boost::asio::read(client, boost::asio::dynamic_buffer(heard), ignored);
  }

  boost::asio::io_context context_;
  Tcp::acceptor acceptor_{context_, {boost::asio::ip::address_v4::loopback(), 0}};
  std::future<void> serving_;
};

using TalkingServerTest = SecureCopyTest;

// The library, as it comes, counts on through all that were announced.
TEST_F(TalkingServerTest, IsLeftAtOnceIfItHasFewerExtensionsThanItSays) {
  constexpr std::string_view kWords(
      "SSH-2.0-x\r\n"
      "\0\0\0\x0C\x06"                     // a packet in the clear, with 6 bytes of padding
      "\x07\xFF\xFF\xFF\xFF\0\0\0\0\0\0",  // 4,294,967,295 extensions, and none of them
      27);
  const TalkingServer server(kWords);
  Place(server.Address());
  EXPECT_FALSE(Copy());
  EXPECT_THAT(Errors(),
              ElementsAre(ErrorLine(
                  L"ScpFile: Handshake failed with remote host [192.0.2.20]. Error: -1")));
}

}  // namespace
}  // namespace Halvard::Transfer
