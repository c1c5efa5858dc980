// The life of an extension.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "standins/soap_client.h"
#include "support/kelvane_server.h"

namespace Lab::Testing {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* kKey = "com.ostrel.halvard.\u00E4&b";

std::string Record(const std::string& url) {
  return "<description><label>l</label><summary>s</summary></description>" + Xml("key", kKey) +
         "<company>c</company><type>t</type><version>6.0.0</version><subjectName></subjectName>"
         "<server>" +
         Xml("url", url) +
         "<description><label>sl</label><summary>ss</summary></description><company>sc</company>"
         "<type>st</type><adminEmail>a@b</adminEmail><adminEmail>c@d</adminEmail>"
         "<serverThumbprint>AA:BB</serverThumbprint></server>"
         "<lastHeartbeatTime>2026-02-03T04:05:06.789Z</lastHeartbeatTime>";
}

SoapCall Write(const char* operation, const std::string& record) {
  return {operation, "ExtensionManager", "<extension>" + record + "</extension>"};
}
SoapCall ByKey(const char* operation, const std::string& key = kKey) {
  return {operation, "ExtensionManager", Xml("extensionKey", key)};
}

Json::Value WithStaleRecord() {
  Json::Value config = KelvaneServer::UsualConfig();
  Json::Value& extension = config["extensions"][0];
  extension["key"] = kKey;
  extension["company"] = "old";
  extension["version"] = "5.0";
  extension["servers"][0]["url"] = "https://old.example/";
  extension["otherMembers"] = true;
  return config;
}

class ExtensionManagerTest : public ::testing::Test {
 protected:
  explicit ExtensionManagerTest(const Json::Value& config = KelvaneServer::UsualConfig())
      : server_(config), client_(server_.Port()) {
    client_.Login(KelvaneServer::kUser, KelvaneServer::kPassword);
  }

  KelvaneServer server_;
  SoapClient client_;
};

TEST_F(ExtensionManagerTest, UnknownExtensionIsFoundAsNothing) {
  EXPECT_THAT(client_.Call(ByKey("FindExtension")).body,
              HasSubstr("<FindExtensionResponse xmlns=\"urn:quen25\"></FindExtensionResponse>"));
  EXPECT_THAT(server_.Extensions(), IsEmpty());
}

TEST_F(ExtensionManagerTest, RegisteredExtensionIsFoundAsItWasWritten) {
  EXPECT_THAT(client_.Call(Write("RegisterExtension", Record("https://a:1/api"))).body,
              HasSubstr("<RegisterExtensionResponse xmlns=\"urn:quen25\">"
                        "</RegisterExtensionResponse>"));

  EXPECT_THAT(client_.Call(ByKey("FindExtension")).body,
              HasSubstr("<result>" + Record("https://a:1/api") + "</result>"));
  const Json::Value extension = server_.Extensions()[kKey];
  EXPECT_EQ(extension["subjectName"].asString(), "");
  EXPECT_EQ(extension["servers"][0]["url"].asString(), "https://a:1/api");
  EXPECT_EQ(extension["servers"][0]["adminEmail"].size(), 2u);
  EXPECT_EQ(extension["servers"][0]["serverThumbprint"].asString(), "AA:BB");
  EXPECT_EQ(extension["otherMembers"].asBool(), false);
  EXPECT_THAT(server_.Refusals(), IsEmpty());
}

TEST_F(ExtensionManagerTest, OptionalMembersMayBeMissing) {
  const std::string record = "<description><label></label><summary></summary></description>" +
                             Xml("key", kKey) +
                             "<version></version>"
                             "<lastHeartbeatTime>2026-02-03T04:05:06.789Z</lastHeartbeatTime>";
  client_.Call(Write("RegisterExtension", record));

  EXPECT_THAT(client_.Call(ByKey("FindExtension")).body,
              HasSubstr("<result>" + record + "</result>"));
  EXPECT_FALSE(server_.Extensions()[kKey].isMember("company"));
  EXPECT_FALSE(server_.Extensions()[kKey].isMember("subjectName"));
}

TEST_F(ExtensionManagerTest, KeyIsRegisteredOnce) {
  client_.Call(Write("RegisterExtension", Record("https://a:1/api")));

  const HttpReply reply = client_.Call(Write("RegisterExtension", Record("https://b:2/api")));

  EXPECT_EQ(reply.Fault(), "AlreadyExists");
  EXPECT_EQ(reply.Element("faultcode"), "soapenv:Server");
  EXPECT_EQ(server_.Extensions()[kKey]["servers"][0]["url"].asString(), "https://a:1/api");
}

TEST_F(ExtensionManagerTest, UpdateReplacesTheRecord) {
  client_.Call(Write("RegisterExtension", Record("https://a:1/api")));

  EXPECT_EQ(client_.Call(Write("UpdateExtension", Record("https://b:2/api"))).status, 200);

  EXPECT_EQ(server_.Extensions().size(), 1u);
  EXPECT_EQ(server_.Extensions()[kKey]["servers"][0]["url"].asString(), "https://b:2/api");
}

TEST_F(ExtensionManagerTest, OnlyWhatIsThereIsUpdatedAndUnregistered) {
  EXPECT_EQ(client_.Call(Write("UpdateExtension", Record("u"))).Fault(), "NotFound");
  EXPECT_EQ(client_.Call(ByKey("UnregisterExtension")).Fault(), "NotFound");
  EXPECT_THAT(server_.Extensions(), IsEmpty());
  EXPECT_THAT(server_.Refusals(), IsEmpty());
}

TEST_F(ExtensionManagerTest, UnregisteredExtensionIsGone) {
  client_.Call(Write("RegisterExtension", Record("u")));

  EXPECT_EQ(client_.Call(ByKey("UnregisterExtension")).status, 200);

  EXPECT_THAT(server_.Extensions(), IsEmpty());
  EXPECT_THAT(client_.Call(ByKey("FindExtension")).Elements("result"), IsEmpty());
}

class StaleExtensionTest : public ExtensionManagerTest {
 protected:
  StaleExtensionTest() : ExtensionManagerTest(WithStaleRecord()) {}
};

TEST_F(StaleExtensionTest, HasEveryMember) {
  const HttpReply reply = client_.Call(ByKey("FindExtension"));

  std::size_t place = 0;
  for (const char* name :
       {"description", "key", "company", "version", "server", "client", "taskList", "eventList",
        "faultList", "privilegeList", "resourceList", "lastHeartbeatTime", "healthInfo",
        "ovfConsumerInfo", "extendedProductInfo", "managedEntityInfo", "solutionManagerInfo"}) {
    place = reply.body.find("<" + std::string(name) + ">", place);
    ASSERT_NE(place, std::string::npos) << name;
  }
}

TEST_F(StaleExtensionTest, UpdateClearsWhatClientsDoNotWrite) {
  EXPECT_TRUE(server_.Extensions()[kKey]["otherMembers"].asBool());

  client_.Call(Write("UpdateExtension", Record("https://b:2/api")));

  EXPECT_FALSE(server_.Extensions()[kKey]["otherMembers"].asBool());
  EXPECT_THAT(client_.Call(ByKey("FindExtension")).body,
              HasSubstr("<result>" + Record("https://b:2/api") + "</result>"));
}

}  // namespace
}  // namespace Lab::Testing
