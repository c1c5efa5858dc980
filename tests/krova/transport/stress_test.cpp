// Many clients of all manners at once, while the server stops and starts again. Runs for a moment
// in the suite; HALVARD_STRESS_SECONDS makes it as long as one likes.
#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "krova/transport/api_fixture.h"

namespace Krova::Testing {
namespace {

using pion_test::test_client;
using testing::StartsWith;
using Clock = std::chrono::steady_clock;

constexpr int kClients = 64;

std::chrono::seconds StressTime() {
  const char* const seconds = std::getenv("HALVARD_STRESS_SECONDS");
  return std::chrono::seconds(seconds == nullptr ? 2 : std::atoi(seconds));
}

class Stress : public ApiFixture {
 protected:
  Stress() { use_tls(); }
  // The clients' threads use the test's members.
  ~Stress() override { Join(); }

  void Join() {
    ending_ = true;
    for (std::thread& client : clients_) client.join();
    clients_.clear();
  }

  void RunClients() {
    using Manner = void (Stress::*)(test_client&, std::mt19937&);
    constexpr std::array<Manner, 5> kManners{&Stress::BeGood, &Stress::BeMalformed, &Stress::BeSlow,
                                             &Stress::Abort, &Stress::Pipeline};
    for (unsigned seed = 0; seed < kClients; ++seed) {
      clients_.emplace_back([this, seed, manner = kManners[seed % kManners.size()]] {
        std::mt19937 random(seed);
        while (!ending_) Visit(manner, random);
      });
    }
  }

  template <typename Manner>
  void Visit(Manner manner, std::mt19937& random) {
    auto context = pion_test::make_client_context();
    try {
      test_client client(port_, &context);
      if (!client.handshake_failed()) (this->*manner)(client, random);
    } catch (const boost::system::system_error&) {
      // Refused: the server is about to start again.
    }
  }

  /// Whatever came is the answer or, after a stop, the beginning of it.
  void ExpectAnswer(test_client& client, const std::string& head, const std::string& body) {
    const std::string answer = client.read_all();
    EXPECT_FALSE(client.timed_out());
    if (client.end() == boost::asio::error::eof && answer.ends_with(body)) {
      EXPECT_THAT(answer, StartsWith(head));
      ++answered_;
    } else {
      ++cut_;
    }
  }

  void BeGood(test_client& client, std::mt19937& random) {
    const bool framed = random() % 2 == 0;
    client.send(MakeRequest(std::string(kJson) + (framed ? kAcceptFrames : "")));
    if (framed) {
      ExpectAnswer(client, "HTTP/1.1 200 OK", Chunk(kDone) + "0\r\n\r\n");
    } else {
      ExpectAnswer(client, "HTTP/1.1 200 OK", kDone);
    }
  }

  void BeMalformed(test_client& client, std::mt19937& random) {
    std::string request = MakeRequest(kJson);
    request[random() % request.size()] = static_cast<char>(random());
    // The end of the sending tells a server that waits for more bytes that none will come.
    client.send(request);
    client.end_sending();
    (void)client.read_all();
    EXPECT_FALSE(client.timed_out());
  }

  void BeSlow(test_client& client, std::mt19937& random) {
    const std::string request = MakeRequest(kJson);
    const std::size_t cut = random() % request.size();
    client.send(request.substr(0, cut));
    std::this_thread::sleep_for(std::chrono::milliseconds(random() % 20));
    client.send(request.substr(cut));
    ExpectAnswer(client, "HTTP/1.1 200 OK", kDone);
  }

  void Abort(test_client& client, std::mt19937& random) {
    const std::string request = MakeRequest(kJson);
    client.send(request.substr(0, random() % (request.size() + 1)));
    client.abort();
  }

  void Pipeline(test_client& client, std::mt19937&) {
    // An answer of the API ends the connection, so the second request is never looked at.
    client.send(MakeRequest(kJson) + MakeRequest(kJson));
    ExpectAnswer(client, "HTTP/1.1 200 OK", kDone);
  }

  std::atomic<std::uint16_t> port_ = 0;
  std::atomic<bool> ending_ = false;
  std::atomic<int> answered_ = 0;
  std::atomic<int> cut_ = 0;
  std::vector<std::thread> clients_;
};

TEST_F(Stress, ServesWhoAsksProperlyBesideThoseWhoDoNotAndStopsUnderLoad) {
  port_ = start();
  RunClients();
  const Clock::time_point end = Clock::now() + StressTime();
  int stops = 0;
  do {
    const int before = answered_;
    while (answered_ < before + kClients && Clock::now() < end + std::chrono::seconds(30)) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ASSERT_GE(answered_, before + kClients) << "after " << stops << " stops";
    server_->stop(false);
    server_->join();
    EXPECT_EQ(server_->get_connections(), 0u);
    ++stops;
    server_->start();
  } while (Clock::now() < end);
  Join();
  server_->stop(false);
  server_->join();
  EXPECT_EQ(server_->get_connections(), 0u);
  std::printf("%d answered, %d cut by %d stops\n", answered_.load(), cut_.load(), stops);
}

}  // namespace
}  // namespace Krova::Testing
