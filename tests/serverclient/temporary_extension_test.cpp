#include "serverclient/temporary_extension.h"

#include "client_test.h"
#include "tunrak/date_time.h"

namespace Halvard::ServerClient {
namespace {

using testing::ElementsAre;
using Testing::ErrorLine;
using testing::HasSubstr;
using Testing::InfoLine;
using Testing::OwnLog;
using Testing::WarningLine;
using Tunrak::Testing::ConnectionScript;
using Tunrak::Testing::ScriptedServer;
using Zelmo::Testing::FaultAnswer;
using Zelmo::Testing::RequestEnvelope;
using Zelmo::Testing::Response;

constexpr const char* kDescription =
    "<description><label>Ostrel Halvard</label>"
    "<summary>Temporary extension for Ostrel Halvard</summary></description>";

constexpr const char* kServer =
    "<server><url>https://tum.example:9123/api</url>"
    "<description><label>Ostrel Halvard</label>"
    "<summary>Temporary extension for Ostrel Halvard</summary></description>"
    "<company>Ostrel, Inc.</company><type>Temporary Extension</type>"
    "<adminEmail>halvard@ostrel.example</adminEmail>"
    "<serverThumbprint>AA:BB</serverThumbprint></server>";

std::string ManagerRequest(const std::string& operation, const std::string& argument) {
  return RequestEnvelope("<" + operation +
                         " xmlns=\"urn:quen25\"><self type=\"ExtensionManager\">em</self>" +
                         argument + "</" + operation + ">");
}

std::string FindRequest() {
  return ManagerRequest("FindExtension",
                        "<extensionKey>com.ostrel.halvard.tum.example</extensionKey>");
}

/// The record as the agent writes it, but for its servers behind the first and its time.
std::string Record(const std::string& furtherServers, const std::string& time) {
  return "<extension>" + std::string(kDescription) +
         "<key>com.ostrel.halvard.tum.example</key><company>Ostrel, Inc.</company>"
         "<type>Temporary Extension</type><version>6.0.0</version><subjectName></subjectName>" +
         kServer + furtherServers + "<lastHeartbeatTime>" + time +
         "</lastHeartbeatTime></extension>";
}

std::string Found(const std::string& servers) {
  return Response("FindExtension",
                  "<result><description><label>old</label><summary>old</summary></description>"
                  "<key>com.ostrel.halvard.tum.example</key><version>5.0</version>"
                  "<subjectName>old</subjectName>" +
                      servers +
                      "<client/><taskList/><eventList/><faultList/><privilegeList/><resourceList/>"
                      "<lastHeartbeatTime>2020-01-02T03:04:05.006Z</lastHeartbeatTime>"
                      "<healthInfo/><ovfConsumerInfo/><extendedProductInfo/><managedEntityInfo/>"
                      "<solutionManagerInfo/></result>");
}

constexpr const char* kOldServer =
    "<server><url>https://tum.example:1/api</url><description><label/><summary/></description>"
    "<company/><type/><adminEmail>a</adminEmail><adminEmail>b</adminEmail></server>";

class TemporaryExtension : public ClientTest {
 protected:
  static bool Register(const ScriptedServer& server) {
    return RegisterUpdateHVExtension("127.0.0.1", server.Port(), "", server.Thumbprint(), kUser,
                                     kPassword, "tum.example", "9123", "AA:BB");
  }

  static bool Unregister(const ScriptedServer& server) {
    return UnregisterHVExtension("127.0.0.1", server.Port(), "", server.Thumbprint(), kUser,
                                 kPassword, "tum.example");
  }

  /// An operation of the server, and its answer.
  struct Step {
    std::wstring operation;
    std::string answer;
  };

  /// Puts a fault in the place of each step's answer in turn. Each ends the call in two warnings.
  void FailEachStep(const std::vector<Step>& steps, bool (*call)(const ScriptedServer&),
                    const std::wstring& prefix, const std::wstring& failed,
                    const std::wstring& ending) {
    std::vector<std::string> answers;
    for (const Step& step : steps) {
      SCOPED_TRACE(WideToUtf8(step.operation));
      machine_.RemoveFile(L"%TEMP%\\halvard.log");
      answers.push_back(FaultAnswer("SystemError", "Full."));
      ScriptedServer server(answers);
      EXPECT_FALSE(call(server));
      const auto log = OwnLog();
      ASSERT_GE(log.size(), 2u);
      EXPECT_EQ(log[log.size() - 2], WarningLine(prefix + step.operation + L" on " + Wide(server) +
                                                 L" failed: SystemError: Full."));
      EXPECT_EQ(log.back(), WarningLine(failed + Destination(server) + ending));
      answers.back() = step.answer;
    }
  }

  const Testing::LogLine registerKey_ =
      InfoLine(L"RegisterUpdateHVExtension: HV extension key: com.ostrel.halvard.tum.example");
  const Testing::LogLine unregisterKey_ =
      InfoLine(L"UnregisterHVExtension: HV extension key: com.ostrel.halvard.tum.example");
};

TEST_F(TemporaryExtension, NewRecordIsTheseBytes) {
  ScriptedServer server({UsualContent(), LoginAnswer(), Response("FindExtension", ""),
                         Response("RegisterExtension", ""), LogoutAnswer()});
  const auto before = Tunrak::System::GetUtcDateTime();
  EXPECT_TRUE(Register(server));
  const auto after = Tunrak::System::GetUtcDateTime();
  const auto contents = Contents(server);
  ASSERT_EQ(contents.size(), 5u);
  const std::size_t at = contents[3].find("<lastHeartbeatTime>") + 19;
  const std::string time = contents[3].substr(at, 24);
  EXPECT_GE(Tunrak::System::ParseDateTime(time), before);
  EXPECT_LE(Tunrak::System::ParseDateTime(time), after);
  EXPECT_THAT(contents,
              ElementsAre(ContentRequest(), LoginRequest(), FindRequest(),
                          ManagerRequest("RegisterExtension", Record("", time)), LogoutRequest()));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          registerKey_,
          InfoLine(L"RegisterUpdateHVExtension: Extension not already registered with KV."),
          InfoLine(L"RegisterUpdateHVExtension: Successfully registered/updated HV extension info "
                   L"with KV." +
                   Destination(server) + L".")));
}

TEST_F(TemporaryExtension, RecordOfAFormerRunIsTakenOver) {
  const std::string otherServer =
      "<server><url>https://other:1</url><description><label>o</label><summary>o</summary>"
      "</description><company>o</company><type>o</type></server>";
  ScriptedServer server({UsualContent(), LoginAnswer(), Found(kOldServer + otherServer),
                         Response("UpdateExtension", ""), LogoutAnswer()});
  EXPECT_TRUE(Register(server));
  EXPECT_THAT(Contents(server),
              ElementsAre(ContentRequest(), LoginRequest(), FindRequest(),
                          ManagerRequest("UpdateExtension",
                                         Record(otherServer, "2020-01-02T03:04:05.006Z")),
                          LogoutRequest()));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          registerKey_,
          InfoLine(L"RegisterUpdateHVExtension: Extension is already registered with KV, so "
                   L"updating extension info."),
          InfoLine(L"RegisterUpdateHVExtension: Successfully registered/updated HV extension info "
                   L"with KV." +
                   Destination(server) + L".")));
}

TEST_F(TemporaryExtension, RecordWithoutAServerGetsOne) {
  ScriptedServer server(
      {UsualContent(), LoginAnswer(), Found(""), Response("UpdateExtension", ""), LogoutAnswer()});
  EXPECT_TRUE(Register(server));
  EXPECT_EQ(Contents(server)[3],
            ManagerRequest("UpdateExtension", Record("", "2020-01-02T03:04:05.006Z")));
}

TEST_F(TemporaryExtension, ServerWithoutAnExtensionManagerFailsTheRegistration) {
  ScriptedServer server({ContentAnswer(kSessionManager), LoginAnswer()});
  EXPECT_FALSE(Register(server));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          ErrorLine(L"RegisterUpdateHVExtension: Failed to get MoRef for the Extension Manager."),
          WarningLine(L"RegisterUpdateHVExtension: Type mismatch: expected ExtensionManager, found "
                      L"no reference."),
          WarningLine(L"RegisterUpdateHVExtension: Failed to register/update HV extension with "
                      L"KV." +
                      Destination(server) + L".")));
}

TEST_F(TemporaryExtension, EachStepThatFailsFailsTheRegistration) {
  const std::wstring failed =
      L"RegisterUpdateHVExtension: Failed to register/update HV extension with KV.";
  FailEachStep({{L"RetrieveContent", UsualContent()},
                {L"Login", LoginAnswer()},
                {L"FindExtension", Response("FindExtension", "")},
                {L"RegisterExtension", Response("RegisterExtension", "")},
                {L"Logout", LogoutAnswer()}},
               Register, L"RegisterUpdateHVExtension: ", failed, L".");
}

TEST_F(TemporaryExtension, EachStepThatFailsFailsTheTakeover) {
  const std::wstring failed =
      L"RegisterUpdateHVExtension: Failed to register/update HV extension with KV.";
  FailEachStep({{L"RetrieveContent", UsualContent()},
                {L"Login", LoginAnswer()},
                {L"FindExtension", Found(kOldServer)},
                {L"UpdateExtension", Response("UpdateExtension", "")},
                {L"Logout", LogoutAnswer()}},
               Register, L"RegisterUpdateHVExtension: ", failed, L".");
}

TEST_F(TemporaryExtension, FoundRecordIsRemoved) {
  ScriptedServer server({UsualContent(), LoginAnswer(), Found(kOldServer),
                         Response("UnregisterExtension", ""), LogoutAnswer()});
  EXPECT_TRUE(Unregister(server));
  EXPECT_THAT(
      Contents(server),
      ElementsAre(ContentRequest(), LoginRequest(), FindRequest(),
                  ManagerRequest("UnregisterExtension",
                                 "<extensionKey>com.ostrel.halvard.tum.example</extensionKey>"),
                  LogoutRequest()));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(unregisterKey_,
                  InfoLine(L"UnregisterHVExtension: Registered extension found for key: "
                           L"'com.ostrel.halvard.tum.example'"),
                  InfoLine(L"UnregisterHVExtension: Successfully unregisted HV extension from KV." +
                           Destination(server))));
}

TEST_F(TemporaryExtension, MissingRecordIsNoFailure) {
  ScriptedServer server(
      {UsualContent(), LoginAnswer(), Response("FindExtension", ""), LogoutAnswer()});
  EXPECT_TRUE(Unregister(server));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(unregisterKey_,
                  WarningLine(L"UnregisterHVExtension: No registered extensions found for key: "
                              L"'com.ostrel.halvard.tum.example'"),
                  InfoLine(L"UnregisterHVExtension: Successfully unregisted HV extension from KV." +
                           Destination(server))));
}

TEST_F(TemporaryExtension, ServerWithoutAnExtensionManagerFailsTheRemoval) {
  ScriptedServer server({ContentAnswer(kSessionManager), LoginAnswer()});
  EXPECT_FALSE(Unregister(server));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          ErrorLine(L"UnregisterHVExtension: Failed to get MoRef for the Extension Manager."),
          WarningLine(L"UnregisterHVExtension: Type mismatch: expected ExtensionManager, found no "
                      L"reference."),
          WarningLine(L"UnregisterHVExtension: Failed to unregister HV extension from KV." +
                      Destination(server))));
}

TEST_F(TemporaryExtension, EachStepThatFailsFailsTheRemoval) {
  FailEachStep({{L"RetrieveContent", UsualContent()},
                {L"Login", LoginAnswer()},
                {L"FindExtension", Found(kOldServer)},
                {L"UnregisterExtension", Response("UnregisterExtension", "")},
                {L"Logout", LogoutAnswer()}},
               Unregister, L"UnregisterHVExtension: ",
               L"UnregisterHVExtension: Failed to unregister HV extension from KV.", L"");
}

}  // namespace
}  // namespace Halvard::ServerClient
