#include "serverclient/service_thread.h"

#include <stdexcept>

#include "client_test.h"
#include "tunrak/application.h"

namespace Halvard::ServerClient {
namespace {

using testing::ElementsAre;
using Tunrak::Testing::ScriptedServer;

/// Writes down what it is told.
class RecordingFacility : public Tunrak::Service::ThreadFacility {
 public:
  void EnterThread() override { calls.push_back("enter"); }
  void LeaveThread() override { calls.push_back("leave"); }
  void ReleaseThread() override { calls.push_back("release"); }

  std::vector<std::string> calls;
};

TEST(ServiceThread, EntersOnceAndLeavesTwice) {
  RecordingFacility facility;
  {
    const ServiceThread thread(facility);
    EXPECT_THAT(facility.calls, ElementsAre("enter"));
  }
  EXPECT_THAT(facility.calls, ElementsAre("enter", "leave", "release"));
}

TEST(ServiceThread, LeavesTwiceWhenAnExceptionGoesThrough) {
  RecordingFacility facility;
  EXPECT_THROW(
      {
        const ServiceThread thread(facility);
        throw std::runtime_error("through");
      },
      std::runtime_error);
  EXPECT_THAT(facility.calls, ElementsAre("enter", "leave", "release"));
}

class OnServiceThread : public ClientTest {};

TEST_F(OnServiceThread, ThreadIsInsideForTheTimeOfItsStay) {
  auto& threads = Tunrak::Service::GetApp().GetThreadFacility();
  {
    const ServiceThread thread;
    EXPECT_EQ(threads.CountInside(), 1);
  }
  EXPECT_EQ(threads.CountInside(), 0);
}

TEST_F(OnServiceThread, OperationsAnswerAsTheyDoElsewhere) {
  ScriptedServer good({UsualContent(), LoginAnswer(), LogoutAnswer()});
  EXPECT_TRUE(ValidateKvAdminCredentialsOnServiceThread("127.0.0.1", good.Port(), "",
                                                        good.Thumbprint(), kUser, kPassword));
  ScriptedServer counting(
      {UsualContent(), LoginAnswer(),
       Zelmo::Testing::Response("RetrieveProperties",
                                "<result><objects><obj type=\"H\">1</obj></objects></result>"),
       Zelmo::Testing::Response("RetrieveProperties", ""), LogoutAnswer()});
  std::int32_t hosts = 0;
  std::int32_t machines = 7;
  EXPECT_TRUE(GetInventorySizeOnServiceThread(
      "127.0.0.1", counting.Port(), "", counting.Thumbprint(), kUser, kPassword, hosts, machines));
  EXPECT_EQ(hosts, 1);
  EXPECT_EQ(machines, 0);
  std::int32_t port = 5;
  EXPECT_FALSE(RetrieveReverseProxyPortThroughLegacySTSPortOnServiceThread("", 1, port));
  EXPECT_EQ(port, 5);
  EXPECT_EQ(Tunrak::Service::GetApp().GetThreadFacility().CountInside(), 0);
}

TEST_F(OnServiceThread, LibrariesAreInitialisedOnceAndQuietly) {
  EXPECT_THROW(InitTunrakCore(), Tunrak::Exception);
  EXPECT_FALSE(Tunrak::Service::GetDefaultLogger()->Takes(Tunrak::Service::LogLevel::kError));
}

}  // namespace
}  // namespace Halvard::ServerClient
