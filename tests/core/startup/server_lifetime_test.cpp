#include "core/server_lifetime.h"

#include <thread>

#include "core_test.h"
#include "support/listening_server.h"

namespace Halvard {
namespace {

using testing::Contains;
using Testing::InfoLine;
using Testing::ListeningServer;
using Testing::OwnLog;
using Testing::WarningLine;

class ServerLifetime : public CoreTest {};

TEST_F(ServerLifetime, WithoutAServerNothingIsStoppedOrAwaited) {
  machine_.Set("/clock/speed", 50);
  EXPECT_FALSE(ServerExists());
  StopServer();
  JoinServer();
  EXPECT_EQ(WaitAndShutdownHV(nullptr), 0u);
}

TEST_F(ServerLifetime, ServerExistsUntilItIsDestroyed) {
  const ListeningServer server;
  EXPECT_TRUE(ServerExists());
  StopServer();
  EXPECT_TRUE(ServerExists());
  JoinServer();
  DestroyServer();
  EXPECT_FALSE(ServerExists());
}

TEST_F(ServerLifetime, ManyStopsAndTheEndMayOverlap) {
  const ListeningServer server;
  std::vector<std::thread> stops;
  for (int i = 0; i < 8; ++i) stops.emplace_back(StopServer);
  JoinServer();
  DestroyServer();
  for (std::thread& stop : stops) stop.join();
  EXPECT_FALSE(ServerExists());
}

TEST_F(ServerLifetime, ThreadStopsTheServerASecondLater) {
  machine_.Set("/clock/speed", 50);
  const ListeningServer server;
  const std::uint64_t before = Lab::TheMachine().Clock().Ticks();
  EXPECT_TRUE(CreateChildThreadToShutdownHV());
  JoinServer();
  EXPECT_GE(Lab::TheMachine().Clock().Ticks() - before, 1'000u);
  EXPECT_THAT(
      OwnLog(),
      Contains(InfoLine(
          L"WaitAndShutdownHV: Waiting for 1000 milli seconds before shutting down halvard.")));
}

TEST_F(ServerLifetime, ThreadThatCannotStartIsReported) {
  machine_.PlanFault({.function = "CreateThread", .error = ERROR_NOT_ENOUGH_MEMORY});
  EXPECT_FALSE(CreateChildThreadToShutdownHV());
  EXPECT_THAT(
      OwnLog(),
      Contains(WarningLine(
          L"CreateChildThreadToShutdownHV: Failed to create thread to initiate halvard shutdown. Error code: 8")));
}

}  // namespace
}  // namespace Halvard
