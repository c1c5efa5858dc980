#include "serverclient/inventory_size.h"

#include "client_test.h"
#include "serverclient/connection.h"

namespace Halvard::ServerClient {
namespace {

using testing::ElementsAre;
using Testing::InfoLine;
using Testing::OwnLog;
using Testing::WarningLine;
using Tunrak::Testing::ConnectionScript;
using Tunrak::Testing::ScriptedServer;
using Zelmo::Testing::FaultAnswer;
using Zelmo::Testing::RequestEnvelope;
using Zelmo::Testing::Response;

std::string Page(int objects, const std::string& token, bool first) {
  std::string result = "<result>";
  if (!token.empty()) result += "<token>" + token + "</token>";
  for (int i = 0; i < objects; ++i) {
    result += "<objects><obj type=\"HostSystem\">h-" + std::to_string(i) +
              "</obj><propSet><name>name</name><val xsi:type=\"string\">x</val></propSet>"
              "</objects>";
  }
  return Response(first ? "RetrieveProperties" : "ContinueRetrieveProperties",
                  result + "</result>");
}

std::string FirstPage(int objects, const std::string& token = "") {
  return Page(objects, token, true);
}

std::string FurtherPage(int objects, const std::string& token = "") {
  return Page(objects, token, false);
}

/// The request for a walk that starts at the root folder.
std::string WalkRequest(const std::string& wanted, const std::string& traversal) {
  return RequestEnvelope(
      "<RetrieveProperties xmlns=\"urn:quen25\"><self type=\"PropertyCollector\">pc</self>"
      "<specSet><propSet><type>" +
      wanted +
      "</type><all>false</all><pathSet>name</pathSet></propSet>"
      "<objectSet><obj type=\"Folder\">group-d1</obj><skip>false</skip>" +
      traversal +
      "</objectSet></specSet><options><maxObjects>1000</maxObjects></options>"
      "</RetrieveProperties>");
}

std::string Select(const std::string& name) {
  return "<selectSet><name>" + name + "</name></selectSet>";
}

std::string Traverse(const std::string& name, const std::string& type, const std::string& path,
                     const std::string& selections) {
  return "<selectSet xsi:type=\"TraversalSpec\"><name>" + name + "</name><type>" + type +
         "</type><path>" + path + "</path><skip>false</skip>" + selections + "</selectSet>";
}

class InventorySize : public ClientTest {
 protected:
  bool GetSize(const ScriptedServer& server) {
    return GetInventorySize("127.0.0.1", server.Port(), "", server.Thumbprint(), kUser, kPassword,
                            hosts_, machines_);
  }

  static std::wstring Failed(const ScriptedServer& server) {
    return L"GetInventorySize: Failed to get the KV inventory size." + Destination(server) + L".";
  }

  std::int32_t hosts_ = 77;
  std::int32_t machines_ = 78;
};

TEST_F(InventorySize, HostsAndMachinesAreCountedInOneSession) {
  ScriptedServer server(
      {UsualContent(), LoginAnswer(), FirstPage(3), FirstPage(5), LogoutAnswer()});
  EXPECT_TRUE(GetSize(server));
  EXPECT_EQ(hosts_, 3);
  EXPECT_EQ(machines_, 5);
  EXPECT_EQ(server.Connections(), 1);
  EXPECT_THAT(
      Contents(server),
      ElementsAre(
          ContentRequest(), LoginRequest(),
          WalkRequest("HostSystem", Traverse("CountHosts", "Folder", "childEntity",
                                             Select("CountHosts") +
                                                 Traverse("ComputeResourceHosts", "ComputeResource",
                                                          "host", Select("CountHosts")) +
                                                 Traverse("DatacenterHosts", "Datacenter",
                                                          "hostFolder", Select("CountHosts")))),
          WalkRequest(
              "VirtualMachine",
              Traverse("CountVMs", "Folder", "childEntity",
                       Select("CountVMs") +
                           Traverse("VMFolders", "Datacenter", "vmFolder", Select("CountVMs")) +
                           Traverse("vAppsToVM", "VirtualApp", "vm", "") +
                           Traverse("vAppTovApp", "VirtualApp", "resourcePool",
                                    Select("vAppsToVM") + Select("vAppTovApp")))),
          LogoutRequest()));
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(L"GetNumHosts: Aggregated host count: 3"),
                          InfoLine(L"GetNumVMs: Aggregated vm count: 5"),
                          InfoLine(L"GetInventorySize: Inventory size retrieved. Hosts:3, VMs:5")));
}

TEST_F(InventorySize, PagesAreAddedUp) {
  ScriptedServer server({UsualContent(), LoginAnswer(), FirstPage(1000, "h&1"),
                         FurtherPage(1000, "h2"), FurtherPage(7), FirstPage(1, "v1"),
                         FurtherPage(0), LogoutAnswer()});
  EXPECT_TRUE(GetSize(server));
  EXPECT_EQ(hosts_, 2007);
  EXPECT_EQ(machines_, 1);
  EXPECT_EQ(Contents(server)[3],
            RequestEnvelope("<ContinueRetrieveProperties xmlns=\"urn:quen25\">"
                            "<self type=\"PropertyCollector\">pc</self><token>h&amp;1</token>"
                            "</ContinueRetrieveProperties>"));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(InfoLine(L"GetNumHosts: Aggregated host count: 1000"),
                  InfoLine(L"GetNumHosts: Aggregated host count: 2000"),
                  InfoLine(L"GetNumHosts: Aggregated host count: 2007"),
                  InfoLine(L"GetNumVMs: Aggregated vm count: 1"),
                  InfoLine(L"GetNumVMs: Aggregated vm count: 1"),
                  InfoLine(L"GetInventorySize: Inventory size retrieved. Hosts:2007, VMs:1")));
}

TEST_F(InventorySize, EmptyInventoryCountsNothing) {
  ScriptedServer server({UsualContent(), LoginAnswer(), Response("RetrieveProperties", ""),
                         FirstPage(0), LogoutAnswer()});
  EXPECT_TRUE(GetSize(server));
  EXPECT_EQ(hosts_, 0);
  EXPECT_EQ(machines_, 0);
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(L"GetNumVMs: Aggregated vm count: 0"),
                          InfoLine(L"GetInventorySize: Inventory size retrieved. Hosts:0, VMs:0")));
}

TEST_F(InventorySize, ContinuationWithoutAPageEndsTheCount) {
  ScriptedServer server({UsualContent(), LoginAnswer(), FirstPage(4, "t"),
                         Response("ContinueRetrieveProperties", ""), FirstPage(1), LogoutAnswer()});
  EXPECT_TRUE(GetSize(server));
  EXPECT_EQ(hosts_, 4);
}

TEST_F(InventorySize, FailureBeforeTheCountLeavesZeros) {
  ScriptedServer server({UsualContent(), FaultAnswer("InvalidLogin", "No.")});
  EXPECT_FALSE(GetSize(server));
  EXPECT_EQ(hosts_, 0);
  EXPECT_EQ(machines_, 0);
  EXPECT_THAT(OwnLog(), ElementsAre(WarningLine(L"GetInventorySize: Login on " + Wide(server) +
                                                L" failed: InvalidLogin: No."),
                                    WarningLine(Failed(server))));
}

TEST_F(InventorySize, WhatWasCountedBeforeAFailureStays) {
  ScriptedServer server({UsualContent(), LoginAnswer(), FirstPage(3), FirstPage(2, "t"),
                         FaultAnswer("SystemError", "Full.")});
  EXPECT_FALSE(GetSize(server));
  EXPECT_EQ(hosts_, 3);
  EXPECT_EQ(machines_, 0);
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(L"GetNumHosts: Aggregated host count: 3"),
                          InfoLine(L"GetNumVMs: Aggregated vm count: 2"),
                          WarningLine(L"GetInventorySize: ContinueRetrieveProperties on " +
                                      Wide(server) + L" failed: SystemError: Full."),
                          WarningLine(Failed(server))));
}

TEST_F(InventorySize, FailedLogoutIsAFailureThatKeepsBothCounts) {
  ScriptedServer server({UsualContent(), LoginAnswer(), FirstPage(3), FirstPage(2),
                         FaultAnswer("NotAuthenticated", "Who?")});
  EXPECT_FALSE(GetSize(server));
  EXPECT_EQ(hosts_, 3);
  EXPECT_EQ(machines_, 2);
}

TEST_F(InventorySize, UnreachableHostIsAFailure) {
  ScriptedServer server(std::vector<ConnectionScript>{});
  server.Finish();
  EXPECT_FALSE(GetSize(server));
  EXPECT_EQ(hosts_, 0);
  EXPECT_EQ(OwnLog().back(), WarningLine(Failed(server)));
}

TEST_F(InventorySize, RootFolderAndCollectorMustBeOfTheirTypes) {
  const std::pair<const char*, const char*> kContents[] = {
      {"<rootFolder type=\"Datacenter\">d</rootFolder>"
       "<propertyCollector type=\"PropertyCollector\">pc</propertyCollector>",
       "Folder, found Datacenter."},
      {"<rootFolder type=\"Folder\">d</rootFolder>"
       "<propertyCollector type=\"Folder\">pc</propertyCollector>",
       "PropertyCollector, found Folder."}};
  for (const auto& [references, reason] : kContents) {
    machine_.RemoveFile(L"%TEMP%\\halvard.log");
    ScriptedServer server({Response("RetrieveContent", "<result>" + std::string(references) +
                                                           kSessionManager + "</result>"),
                           LoginAnswer()});
    EXPECT_FALSE(GetSize(server));
    EXPECT_THAT(OwnLog(), ElementsAre(WarningLine(L"GetInventorySize: Type mismatch: expected " +
                                                  Utf8ToWide(reason)),
                                      WarningLine(Failed(server))));
  }
}

}  // namespace
}  // namespace Halvard::ServerClient
