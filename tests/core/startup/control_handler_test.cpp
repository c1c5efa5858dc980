#include "core/startup/control_handler.h"

#include <future>

#include "core/server_lifetime.h"
#include "core_test.h"
#include "support/console_capture.h"
#include "support/listening_server.h"

namespace Halvard {
namespace {

using Testing::ConsoleCapture;
using testing::ElementsAre;
using Testing::InfoLine;
using Testing::ListeningServer;
using Testing::OwnLog;

class ControlHandler : public CoreTest {
 protected:
  ConsoleCapture console_;
};

TEST_F(ControlHandler, CtrlCAndBreakDoNothingBeforeThereIsAServer) {
  EXPECT_EQ(CtrlHandler(CTRL_C_EVENT), TRUE);
  EXPECT_EQ(CtrlHandler(CTRL_BREAK_EVENT), TRUE);
  EXPECT_EQ(console_.Text(), L"");
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"CtrlHandler: Received ctrl type: 0"),
                                    InfoLine(L"CtrlHandler: Received ctrl type: 1")));
}

TEST_F(ControlHandler, CtrlCStopsTheServer) {
  for (const DWORD type : {DWORD{CTRL_C_EVENT}, DWORD{CTRL_BREAK_EVENT}}) {
    const ListeningServer server;
    EXPECT_EQ(CtrlHandler(type), TRUE);
    EXPECT_FALSE(server.IsListening());
    JoinServer();
  }
  EXPECT_EQ(console_.Text(), L"Shutting down Halvard...\nShutting down Halvard...\n");
  EXPECT_THAT(OwnLog(),
              testing::Contains(InfoLine(L"CtrlHandler: Shutting down Halvard...")).Times(2));
}

TEST_F(ControlHandler, ClosedConsoleStopsTheServerAndWaitsTenSeconds) {
  const ListeningServer server;
  Lab::TheMachine().Clock().Stop();
  std::future<BOOL> handled = std::async(std::launch::async, CtrlHandler, DWORD{CTRL_CLOSE_EVENT});
  JoinServer();
  EXPECT_FALSE(server.IsListening());
  Lab::TheMachine().Clock().Advance(9'999);
  EXPECT_EQ(handled.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
  Lab::TheMachine().Clock().Advance(10'000);
  EXPECT_EQ(handled.get(), TRUE);
  EXPECT_EQ(console_.Text(), L"Shutting down Halvard...\n");
}

TEST_F(ControlHandler, ClosedConsoleWaitsWithoutAServerToo) {
  const std::uint64_t before = Lab::TheMachine().Clock().Ticks();
  Lab::TheMachine().Clock().Stop();
  std::future<BOOL> handled = std::async(std::launch::async, CtrlHandler, DWORD{CTRL_CLOSE_EVENT});
  while (handled.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
    Lab::TheMachine().Clock().Advance(1'000);
  }
  EXPECT_EQ(handled.get(), TRUE);
  EXPECT_GE(Lab::TheMachine().Clock().Ticks() - before, 10'000u);
  EXPECT_EQ(console_.Text(), L"");
}

TEST_F(ControlHandler, OtherEventsAreLeftToTheSystem) {
  EXPECT_EQ(CtrlHandler(CTRL_LOGOFF_EVENT), FALSE);
  EXPECT_EQ(CtrlHandler(CTRL_SHUTDOWN_EVENT), FALSE);
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"CtrlHandler: Received ctrl type: 5"),
                                    InfoLine(L"CtrlHandler: Received ctrl type: 6")));
}

}  // namespace
}  // namespace Halvard
