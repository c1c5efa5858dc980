#include "network/time_exchange.h"

#include <filesystem>
#include <future>
#include <iterator>
#include <thread>

#include "collection_test.h"
#include "standins/chronyd/chronyd.h"
#include "support/datagram_server.h"

namespace Halvard::Network {
namespace {

using Lab::DatagramServer;
using ::testing::Contains;
using ::testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;

constexpr char kServer[] = "192.0.2.5:123";
constexpr char kServerIPv6[] = "[2001:db8::5]:123";

std::ptrdiff_t OpenDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

class TimeExchange : public CollectionTest {
 protected:
  void Place(const std::string& address, const std::string& real) {
    machine_.Set("/addressMap/" + address, real);
  }
  void Refuse(const char* function, std::uint32_t error) {
    machine_.PlanFault({.function = function, .call = 1, .match = {}, .error = error});
  }
  static std::vector<Testing::LogLine> Lines() { return LinesOf(L"ValidateNTPServer"); }

  const Testing::LogLine asked_ = InfoLine(L"ValidateNTPServer: Validating ntp server: 192.0.2.5");
  const Testing::LogLine resolved_ =
      InfoLine(L"ValidateNTPServer: NTP Server resolved to 192.0.2.5 IPv4 address");
  const Testing::LogLine received_ =
      InfoLine(L"ValidateNTPServer: Successfully received data from the ntpserver.");
};

TEST_F(TimeExchange, RequestIsTheOneOfAClientOfVersion3) {
  const DatagramServer server(std::string(48, '\x1C'));
  Place(kServer, server.Address());
  EXPECT_TRUE(ValidateNTPServer(L"192.0.2.5"));
  EXPECT_THAT(server.Requests(), ElementsAre("\x1B" + std::string(47, '\0')));
  EXPECT_THAT(Lines(), ElementsAre(asked_, resolved_, received_));
}

TEST_F(TimeExchange, AnythingThatComesBackIsAnAnswer) {
  // A reply with an authenticator is longer than there is room for.
  for (const std::size_t length : {0, 1, 47, 48, 49, 68, 1'400}) {
    const DatagramServer server(std::string(length, 'x'));
    Place(kServer, server.Address());
    EXPECT_TRUE(ValidateNTPServer(L"192.0.2.5")) << length << " bytes";
  }
}

TEST_F(TimeExchange, IPv6ServerIsAskedOverIPv6) {
  if (!Lab::HostHasIPv6()) GTEST_SKIP() << "the host has no IPv6";
  const DatagramServer server(std::string("tick\xE4\0tock", 10), DatagramServer::Family::kIPv6);
  Place(kServerIPv6, server.Address());
  EXPECT_TRUE(ValidateNTPServer(L"2001:db8::5"));
  EXPECT_THAT(server.Requests(), ElementsAre("\x1B" + std::string(47, '\0')));
  EXPECT_THAT(
      Lines(),
      ElementsAre(InfoLine(L"ValidateNTPServer: Validating ntp server: 2001:db8::5"),
                  InfoLine(L"ValidateNTPServer: NTP Server resolved to 2001:db8::5 IPv6 address"),
                  InfoLine(L"ValidateNTPServer: Successfully received data from the ntpserver: "
                           L"tick\u00E4")));
}

TEST_F(TimeExchange, LongIPv6ReplyIsLoggedAsFarAsThereIsRoom) {
  if (!Lab::HostHasIPv6()) GTEST_SKIP() << "the host has no IPv6";
  const DatagramServer server(std::string(100, 'x'), DatagramServer::Family::kIPv6);
  Place(kServerIPv6, server.Address());
  EXPECT_TRUE(ValidateNTPServer(L"2001:db8::5"));
  EXPECT_THAT(Lines(), Contains(InfoLine(L"ValidateNTPServer: Successfully received data from the "
                                         L"ntpserver: " +
                                         std::wstring(48, L'x'))));
}

TEST_F(TimeExchange, NameOfLoopbackIsAskedThere) {
  const DatagramServer server("x");
  Place("127.0.0.1:123", server.Address());
  EXPECT_TRUE(ValidateNTPServer(L"localhost"));
  EXPECT_THAT(
      Lines(),
      Contains(InfoLine(L"ValidateNTPServer: NTP Server resolved to 127.0.0.1 IPv4 address")));
}

TEST_F(TimeExchange, UnknownNameHasNoSocket) {
  EXPECT_FALSE(ValidateNTPServer(L"clock.invalid"));
  EXPECT_THAT(
      Lines(),
      ElementsAre(InfoLine(L"ValidateNTPServer: Validating ntp server: clock.invalid"),
                  ErrorLine(L"ValidateNTPServer: NTP server hostname could not be resolved to IPv4 "
                            L"or IPv6 address."),
                  InfoLine(L"ValidateNTPServer: Socket is invalid.")));
}

TEST_F(TimeExchange, SilentServerIsGivenUpAfterThirtySeconds) {
  const DatagramServer silent(std::nullopt);
  Place(kServer, silent.Address());
  Lab::Machine& machine = Lab::TheMachine();
  machine.Clock().Stop();
  std::future<bool> answered =
      std::async(std::launch::async, [] { return ValidateNTPServer(L"192.0.2.5"); });
  while (machine.Faults().Calls("recvfrom") == 0) std::this_thread::yield();
  const std::uint64_t start = machine.Clock().Ticks();
  while (answered.wait_for(std::chrono::milliseconds(2)) != std::future_status::ready) {
    machine.Clock().Advance(1'000);
  }
  EXPECT_FALSE(answered.get());
  EXPECT_GE(machine.Clock().Ticks() - start, 30'000u);
  EXPECT_LT(machine.Clock().Ticks() - start, 40'000u);
  EXPECT_THAT(Lines(),
              ElementsAre(asked_, resolved_,
                          ErrorLine(L"ValidateNTPServer: Failed to receive time from NTP server "
                                    L"with error code : 10060")));
  EXPECT_EQ(silent.Requests().size(), 1u);
}

TEST_F(TimeExchange, ClosedPortIsDeadAtOnce) {
  Place(kServer, Lab::ClosedDatagramPort());
  EXPECT_FALSE(ValidateNTPServer(L"192.0.2.5"));
  EXPECT_THAT(Lines(), Contains(ErrorLine(L"ValidateNTPServer: Failed to receive time from NTP "
                                          L"server with error code : 10054")));
}

TEST_F(TimeExchange, WithoutASocketNothingCanBeSent) {
  Refuse("socket", 10024);
  EXPECT_FALSE(ValidateNTPServer(L"192.0.2.5"));
  EXPECT_THAT(
      Lines(),
      ElementsAre(asked_, resolved_,
                  ErrorLine(L"ValidateNTPServer: Sending message to NTP server failed with error "
                            L"code : 10038"),
                  InfoLine(L"ValidateNTPServer: Socket is invalid.")));
}

TEST_F(TimeExchange, FailedSendEndsTheExchange) {
  Refuse("sendto", 10051);
  EXPECT_FALSE(ValidateNTPServer(L"192.0.2.5"));
  EXPECT_THAT(
      Lines(),
      ElementsAre(asked_, resolved_,
                  ErrorLine(L"ValidateNTPServer: Sending message to NTP server failed with error "
                            L"code : 10051")));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("recvfrom"), 0u);
}

TEST_F(TimeExchange, WithoutATimeLimitNothingIsWaitedFor) {
  const DatagramServer silent(std::nullopt);
  Place(kServer, silent.Address());
  Refuse("setsockopt", 10042);
  EXPECT_FALSE(ValidateNTPServer(L"192.0.2.5"));
  EXPECT_THAT(Lines(),
              ElementsAre(asked_, resolved_,
                          ErrorLine(L"ValidateNTPServer: Failed to set timeout for ntp server "
                                    L"connection")));
  // The limit is set behind the question.
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("sendto"), 1u);
}

TEST_F(TimeExchange, SocketThatDoesNotCloseIsLoggedAndNoMore) {
  const DatagramServer server("x");
  Place(kServer, server.Address());
  Refuse("closesocket", 10036);
  EXPECT_TRUE(ValidateNTPServer(L"192.0.2.5"));
  EXPECT_THAT(Lines(), ElementsAre(asked_, resolved_, received_,
                                   ErrorLine(L"ValidateNTPServer: Closing socket failed with "
                                             L"error: 10036")));
}

TEST_F(TimeExchange, NoSocketIsLeftAfterAnyFailure) {
  const DatagramServer server("x");
  Place(kServer, server.Address());
  for (const char* function : {"sendto", "setsockopt", "recvfrom"}) {
    Refuse(function, 10055);
    const std::ptrdiff_t before = OpenDescriptors();
    EXPECT_FALSE(ValidateNTPServer(L"192.0.2.5")) << function;
    EXPECT_EQ(OpenDescriptors(), before) << function;
    machine_.Remove("/faults");
  }
}

TEST_F(TimeExchange, RealServerAnswers) {
  if (!Lab::Chronyd::Installed()) GTEST_SKIP() << "the host has no chronyd";
  const Lab::Chronyd server;
  Place(kServer, server.Address());
  EXPECT_TRUE(ValidateNTPServer(L"192.0.2.5"));
  EXPECT_THAT(Lines(), ElementsAre(asked_, resolved_, received_));
}

}  // namespace
}  // namespace Halvard::Network
