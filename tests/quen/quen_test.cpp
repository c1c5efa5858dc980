#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../zelmo/soap_answers.h"
#include "quen/extension_manager.h"
#include "quen/folder.h"
#include "quen/service_instance.h"
#include "quen/session_manager.h"
#include "zelmo/fault.h"

namespace Quen {
namespace {

using Tunrak::Testing::ScriptedServer;
using Zelmo::Testing::ContentOf;
using Zelmo::Testing::FailureOf;
using Zelmo::Testing::FaultAnswer;
using Zelmo::Testing::RequestEnvelope;
using Zelmo::Testing::Response;

/// A stub of an object of the server.
template <typename Stub>
std::unique_ptr<Stub> MakeStub(const ScriptedServer& server, const std::string& id) {
  Zelmo::InitializeStaticTypes();
  auto stub = std::make_unique<Stub>(Zelmo::MoRef{Zelmo::GetType<Stub>().GetName(), id});
  stub->SetAdapter(
      Zelmo::Testing::MakeAdapter(server, "/sdk/quenService", Zelmo::FindVersion("quen25", "5.5")));
  return stub;
}

constexpr const char* kExtension =
    "<result><description><label>L</label><summary>S</summary></description><key>k</key>"
    "<company>C</company><type>T</type><version>1.0</version><subjectName>N</subjectName>"
    "<server><url>https://a:1/api</url><description><label>l</label><summary>s</summary>"
    "</description><company>c</company><type>t</type><adminEmail>x@y</adminEmail>"
    "<adminEmail>z@y</adminEmail><serverThumbprint>AA</serverThumbprint></server>"
    "<server><url>https://b:1/api</url><description><label/><summary/></description>"
    "<company/><type/></server>"
    "<client><a><b/></a></client><client/><taskList/><eventList/><faultList/><privilegeList/>"
    "<resourceList/><lastHeartbeatTime>2026-02-03T04:05:06.789Z</lastHeartbeatTime>"
    "<healthInfo/><ovfConsumerInfo/><extendedProductInfo/><managedEntityInfo/>"
    "<managedEntityInfo/><solutionManagerInfo>x</solutionManagerInfo></result>";

TEST(Types, AreKnownOnTheWire) {
  Zelmo::InitializeStaticTypes();
  EXPECT_STREQ(Zelmo::GetType<ServiceInstance>().GetName(), "ServiceInstance");
  for (const char* name : {"ServiceInstance", "SessionManager", "Folder", "ExtensionManager"}) {
    EXPECT_NE(Zelmo::FindType(name), nullptr) << name;
  }
  EXPECT_NE(dynamic_cast<Folder*>(Zelmo::GetType<Folder>().NewStub({"Folder", "f"}).get()),
            nullptr);
  EXPECT_STREQ(Zelmo::FindVersion("quen25", "5.5")->GetSoapAction(), "\"urn:quen25/5.5\"");
  EXPECT_STREQ(Zelmo::FindVersion("quen25", "5.5")->GetNamespace(), "urn:quen25");
}

TEST(RetrieveContent, ReferencesAreRead) {
  ScriptedServer server(
      {Response("RetrieveContent",
                "<result><rootFolder type=\"Folder\">group-d1</rootFolder>"
                "<propertyCollector type=\"PropertyCollector\">pc</propertyCollector>"
                "<sessionManager type=\"SessionManager\">sm</sessionManager>"
                "<extensionManager type=\"ExtensionManager\">em</extensionManager></result>"),
       Response("RetrieveContent",
                "<result><rootFolder type=\"Folder\">group-d1</rootFolder>"
                "<propertyCollector type=\"PropertyCollector\">pc</propertyCollector></result>")});
  const auto instance = MakeStub<ServiceInstance>(server, "ServiceInstance");
  const ServiceInstanceContent content = instance->RetrieveContent();
  EXPECT_EQ(content.rootFolder, (Zelmo::MoRef{"Folder", "group-d1"}));
  EXPECT_EQ(content.propertyCollector, (Zelmo::MoRef{"PropertyCollector", "pc"}));
  EXPECT_EQ(content.sessionManager, (Zelmo::MoRef{"SessionManager", "sm"}));
  EXPECT_EQ(content.extensionManager, (Zelmo::MoRef{"ExtensionManager", "em"}));
  const ServiceInstanceContent lesser = instance->RetrieveContent();
  EXPECT_EQ(lesser.sessionManager, std::nullopt);
  EXPECT_EQ(lesser.extensionManager, std::nullopt);
  EXPECT_EQ(ContentOf(server.Requests().front()),
            RequestEnvelope("<RetrieveContent xmlns=\"urn:quen25\"><self type=\"ServiceInstance\">"
                            "ServiceInstance</self></RetrieveContent>"));
}

TEST(RetrieveContent, ContentWithoutARootIsRefused) {
  ScriptedServer server(
      {Response("RetrieveContent", "<result/>"), Response("RetrieveContent", "")});
  const auto instance = MakeStub<ServiceInstance>(server, "ServiceInstance");
  EXPECT_NE(FailureOf([&] { instance->RetrieveContent(); }), "");
  EXPECT_NE(FailureOf([&] { instance->RetrieveContent(); }), "");
}

TEST(Login, NameAndPasswordAreSentEscapedAndTheSessionIsRead) {
  ScriptedServer server({Response("Login",
                                  "<result><key>k</key><userName>root</userName><locale>en</locale>"
                                  "<loginTime>2026-02-03T04:05:06.789Z</loginTime></result>")});
  const UserSession session =
      MakeStub<SessionManager>(server, "SessionManager")->Login("root&", "a<b\xC3\xB6", "en");
  EXPECT_EQ(session.key, "k");
  EXPECT_EQ(session.userName, "root");
  EXPECT_EQ(session.locale, "en");
  EXPECT_EQ(Tunrak::System::FormatDateTime(session.loginTime), "2026-02-03T04:05:06.789Z");
  EXPECT_EQ(ContentOf(server.Requests().front()),
            RequestEnvelope("<Login xmlns=\"urn:quen25\"><self type=\"SessionManager\">"
                            "SessionManager</self><userName>root&amp;</userName>"
                            "<password>a&lt;b\xC3\xB6</password><locale>en</locale></Login>"));
}

TEST(Logout, HasNoResult) {
  ScriptedServer server({Response("Logout", ""), Response("Logout", "<result>x</result>")});
  const auto sessions = MakeStub<SessionManager>(server, "SessionManager");
  sessions->Logout();
  EXPECT_NE(FailureOf([&] { sessions->Logout(); }), "");
  EXPECT_EQ(ContentOf(server.Requests().front()),
            RequestEnvelope("<Logout xmlns=\"urn:quen25\"><self type=\"SessionManager\">"
                            "SessionManager</self></Logout>"));
}

TEST(FindExtension, RecordIsReadWhole) {
  ScriptedServer server({Response("FindExtension", kExtension), Response("FindExtension", "")});
  const auto manager = MakeStub<ExtensionManager>(server, "em");
  const auto found = manager->FindExtension("k");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->description.label, "L");
  EXPECT_EQ(found->description.summary, "S");
  EXPECT_EQ(found->key, "k");
  EXPECT_EQ(found->company, "C");
  EXPECT_EQ(found->type, "T");
  EXPECT_EQ(found->version, "1.0");
  EXPECT_EQ(found->subjectName, "N");
  ASSERT_EQ(found->server.size(), 2u);
  EXPECT_EQ(found->server[0].url, "https://a:1/api");
  EXPECT_EQ(found->server[0].description.summary, "s");
  EXPECT_EQ(found->server[0].company, "c");
  EXPECT_EQ(found->server[0].type, "t");
  EXPECT_THAT(found->server[0].adminEmail, testing::ElementsAre("x@y", "z@y"));
  EXPECT_EQ(found->server[0].serverThumbprint, "AA");
  EXPECT_EQ(found->server[1].serverThumbprint, std::nullopt);
  EXPECT_EQ(found->client.size(), 2u);
  EXPECT_EQ(found->taskList.size(), 1u);
  EXPECT_EQ(found->eventList.size(), 1u);
  EXPECT_EQ(found->faultList.size(), 1u);
  EXPECT_EQ(found->privilegeList.size(), 1u);
  EXPECT_EQ(found->resourceList.size(), 1u);
  EXPECT_EQ(Tunrak::System::FormatDateTime(found->lastHeartbeatTime), "2026-02-03T04:05:06.789Z");
  EXPECT_TRUE(found->healthInfo && found->ovfConsumerInfo && found->extendedProductInfo);
  EXPECT_EQ(found->managedEntityInfo.size(), 2u);
  EXPECT_TRUE(found->solutionManagerInfo);
  EXPECT_EQ(manager->FindExtension("k"), nullptr);
  EXPECT_EQ(ContentOf(server.Requests().front()),
            RequestEnvelope("<FindExtension xmlns=\"urn:quen25\"><self type=\"ExtensionManager\">em"
                            "</self><extensionKey>k</extensionKey></FindExtension>"));
}

TEST(FindExtension, RecordsOfAnotherFormAreRefused) {
  const std::string whole = kExtension;
  for (const char* member : {"<key>k</key>", "<version>1.0</version>", "<label>L</label>",
                             "<url>https://a:1/api</url>", "<company>c</company>",
                             "<lastHeartbeatTime>2026-02-03T04:05:06.789Z</lastHeartbeatTime>"}) {
    std::string text = whole;
    ScriptedServer server(
        {Response("FindExtension", text.erase(text.find(member), std::string(member).size()))});
    EXPECT_NE(FailureOf([&] { MakeStub<ExtensionManager>(server, "em")->FindExtension("k"); }), "")
        << member;
  }
}

TEST(RegisterExtension, RecordIsTheseBytes) {
  Extension extension;
  extension.description = {"L", "S"};
  extension.key = "k";
  extension.company = "C";
  extension.type = "T";
  extension.version = "1";
  extension.subjectName = "";
  Extension::ServerInfo info{"u", {"l", "s"}, "c", "t", {"m"}, "AA"};
  extension.server = {info};
  extension.lastHeartbeatTime = Tunrak::System::ParseDateTime("2026-02-03T04:05:06.789Z");
  ScriptedServer server({Response("RegisterExtension", ""), Response("UpdateExtension", "")});
  const auto manager = MakeStub<ExtensionManager>(server, "em");
  manager->RegisterExtension(extension);
  manager->UpdateExtension(extension);
  const std::string record =
      " xmlns=\"urn:quen25\"><self type=\"ExtensionManager\">em</self><extension><description>"
      "<label>L</label><summary>S</summary></description><key>k</key><company>C</company>"
      "<type>T</type><version>1</version><subjectName></subjectName><server><url>u</url>"
      "<description><label>l</label><summary>s</summary></description><company>c</company>"
      "<type>t</type><adminEmail>m</adminEmail><serverThumbprint>AA</serverThumbprint></server>"
      "<lastHeartbeatTime>2026-02-03T04:05:06.789Z</lastHeartbeatTime></extension></";
  EXPECT_EQ(ContentOf(server.Requests()[0]),
            RequestEnvelope("<RegisterExtension" + record + "RegisterExtension>"));
  EXPECT_EQ(ContentOf(server.Requests()[1]),
            RequestEnvelope("<UpdateExtension" + record + "UpdateExtension>"));
}

TEST(UpdateExtension, PartsThatWereNotReadAreNotWritten) {
  ScriptedServer server({Response("UpdateExtension", "")});
  const auto manager = MakeStub<ExtensionManager>(server, "em");
  const std::vector<void (*)(Extension&)> kParts = {
      [](Extension& e) { e.client.resize(1); },
      [](Extension& e) { e.taskList.resize(1); },
      [](Extension& e) { e.eventList.resize(1); },
      [](Extension& e) { e.faultList.resize(1); },
      [](Extension& e) { e.privilegeList.resize(1); },
      [](Extension& e) { e.resourceList.resize(1); },
      [](Extension& e) { e.healthInfo.emplace(); },
      [](Extension& e) { e.ovfConsumerInfo.emplace(); },
      [](Extension& e) { e.extendedProductInfo.emplace(); },
      [](Extension& e) { e.managedEntityInfo.resize(1); },
      [](Extension& e) { e.solutionManagerInfo.emplace(); },
  };
  for (const auto addPart : kParts) {
    Extension extension;
    extension.key = "k";
    addPart(extension);
    EXPECT_THAT(FailureOf([&] { manager->UpdateExtension(extension); }),
                testing::HasSubstr("The extension k has parts that can't be sent."));
  }
  EXPECT_EQ(server.Connections(), 0);
}

TEST(UnregisterExtension, KeyIsSent) {
  ScriptedServer server({Response("UnregisterExtension", ""), FaultAnswer("NotFound", "gone")});
  const auto manager = MakeStub<ExtensionManager>(server, "em");
  manager->UnregisterExtension("k");
  EXPECT_THROW(manager->UnregisterExtension("k"), Zelmo::Fault);
  EXPECT_EQ(ContentOf(server.Requests().front()),
            RequestEnvelope("<UnregisterExtension xmlns=\"urn:quen25\">"
                            "<self type=\"ExtensionManager\">em</self>"
                            "<extensionKey>k</extensionKey></UnregisterExtension>"));
}

}  // namespace
}  // namespace Quen
