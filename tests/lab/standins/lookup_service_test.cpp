// The lookup service beside the server.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "standins/soap_client.h"
#include "support/kelvane_server.h"

namespace Lab::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

SoapCall OfLookup(const std::string& operation, const std::string& type, const std::string& id,
                  const std::string& arguments = "") {
  SoapCall call{operation, type, arguments};
  call.selfId = id;
  call.path = "/lookupservice/sdk";
  call.space = "urn:lookup";
  call.headers["SOAPAction"] = "\"urn:lookup/version2\"";
  return call;
}

SoapCall Content() {
  return OfLookup("RetrieveServiceContent", "LookupServiceInstance", "ServiceInstance");
}
SoapCall List(const std::string& filter) {
  return OfLookup("List", "LookupServiceRegistration", "ServiceRegistration", filter);
}

std::string ServiceTypeXml(const std::string& product, const std::string& type) {
  return "<serviceType>" + Xml("product", product) + Xml("type", type) + "</serviceType>";
}
std::string EndPointTypeXml(const std::string& protocol, const std::string& type) {
  return "<endpointType>" + Xml("protocol", protocol) + Xml("type", type) + "</endpointType>";
}
std::string Criteria(const std::string& members) {
  return "<filterCriteria>" + members + "</filterCriteria>";
}

Json::Value EndPoint(const char* url, const char* protocol, const char* type) {
  Json::Value endPoint;
  endPoint["url"] = url;
  endPoint["protocol"] = protocol;
  endPoint["type"] = type;
  return endPoint;
}

Json::Value WithServices() {
  Json::Value config = KelvaneServer::UsualConfig();
  Json::Value& services = config["lookup"]["registrations"];
  services[0]["serviceId"] = "one";
  services[0]["product"] = "com.ostrel.rimsa";
  services[0]["type"] = "cs.identity";
  services[0]["endpoints"].append(EndPoint("https://a:1/admin", "http", "admin"));
  services[0]["endpoints"].append(EndPoint("https://a:7444/sts?a&b", "wsTrust", "sso"));
  services[0]["endpoints"].append(EndPoint("https://a:2/sso", "http", "sso"));
  services[1]["serviceId"] = "two";
  services[1]["product"] = "com.ostrel.rimsa";
  services[1]["type"] = "cs.license";
  services[1]["endpoints"].append(EndPoint("https://b:3/", "wsTrust", "sso"));
  services[2]["serviceId"] = "three";
  services[2]["product"] = "com.ostrel.other";
  services[2]["type"] = "cs.identity";
  services[2]["endpoints"] = Json::Value(Json::arrayValue);
  return config;
}

class LookupServiceTest : public ::testing::Test {
 protected:
  KelvaneServer server_{WithServices()};
  SoapClient client_{server_.Port()};
};

TEST_F(LookupServiceTest, AnswersWithoutALogin) {
  EXPECT_THAT(client_.Call(Content()).body,
              HasSubstr("<RetrieveServiceContentResponse xmlns=\"urn:lookup\"><result>"
                        "<serviceRegistration type=\"LookupServiceRegistration\">"
                        "ServiceRegistration</serviceRegistration></result>"));
  EXPECT_EQ(client_.Call(List("")).status, 200);
  EXPECT_THAT(server_.Refusals(), IsEmpty());
}

TEST_F(LookupServiceTest, WithoutAFilterAllRegistrationsPassWhole) {
  const HttpReply reply = client_.Call(List(""));

  EXPECT_THAT(reply.Elements("serviceId"), ElementsAre("one", "two", "three"));
  EXPECT_EQ(reply.Elements("url").size(), 4u);
  EXPECT_EQ(client_.Call(List("<filterCriteria/>")).body, reply.body);
}

TEST_F(LookupServiceTest, OnlyEndPointsOfTheWantedTypePass) {
  EXPECT_THAT(client_
                  .Call(List(Criteria(ServiceTypeXml("com.ostrel.rimsa", "cs.identity") +
                                      EndPointTypeXml("wsTrust", "sso"))))
                  .body,
              HasSubstr("<ListResponse xmlns=\"urn:lookup\"><result><serviceId>one</serviceId>"
                        "<serviceType><product>com.ostrel.rimsa</product><type>cs.identity</type>"
                        "</serviceType><serviceEndpoints><url>https://a:7444/sts?a&amp;b</url>"
                        "<endpointType><protocol>wsTrust</protocol><type>sso</type></endpointType>"
                        "</serviceEndpoints></result></ListResponse>"));
}

TEST_F(LookupServiceTest, EachPartOfTheFilterCounts) {
  const auto found = [this](const std::string& members) {
    return client_.Call(List(Criteria(members))).Elements("serviceId");
  };

  EXPECT_THAT(found(ServiceTypeXml("com.ostrel.rimsa", "cs.identity")), ElementsAre("one"));
  EXPECT_THAT(found(ServiceTypeXml("com.ostrel.other", "cs.identity")), ElementsAre("three"));
  EXPECT_THAT(found(ServiceTypeXml("com.ostrel.rimsa", "cs")), IsEmpty());
  EXPECT_THAT(found(EndPointTypeXml("wsTrust", "sso")), ElementsAre("one", "two"));
  EXPECT_THAT(found(EndPointTypeXml("http", "admin")), ElementsAre("one"));
  EXPECT_THAT(found(EndPointTypeXml("wsTrust", "admin")), IsEmpty());
  EXPECT_THAT(found("<endpointType><protocol>http</protocol></endpointType>"), ElementsAre("one"));
  EXPECT_THAT(
      found(ServiceTypeXml("com.ostrel.other", "cs.identity") + EndPointTypeXml("wsTrust", "sso")),
      IsEmpty());
}

TEST_F(LookupServiceTest, NothingFoundIsAnAnswerWithoutResults) {
  EXPECT_THAT(client_.Call(List(Criteria(ServiceTypeXml("a", "b")))).body,
              HasSubstr("<ListResponse xmlns=\"urn:lookup\"></ListResponse>"));
}

TEST_F(LookupServiceTest, WrongRequestsAreRefusedInItsOwnNamespace) {
  SoapCall otherVersion = Content();
  otherVersion.headers["SOAPAction"] = "\"urn:lookup/version1\"";
  SoapCall otherSelf = Content();
  otherSelf.selfType = "ServiceInstance";

  EXPECT_THAT(client_.Call(otherVersion).body,
              HasSubstr("<InvalidVersionFault xmlns=\"urn:lookup\"/>"));
  EXPECT_EQ(client_.Call(otherSelf).Fault(), "InvalidRequest");
  EXPECT_EQ(client_.Call(OfLookup("Login", "SessionManager", "SessionManager")).Fault(),
            "InvalidRequest");
  EXPECT_EQ(
      client_.Call(List(Criteria(EndPointTypeXml("a", "b") + ServiceTypeXml("a", "b")))).Fault(),
      "InvalidRequest");
  EXPECT_EQ(server_.Refusals().size(), 4u);
}

TEST(LookupServiceContent, RegistrationCanBeMissing) {
  Json::Value config = WithServices();
  config["lookup"]["serviceRegistration"] = false;
  const KelvaneServer server(config);
  SoapClient client(server.Port());

  EXPECT_THAT(client.Call(Content()).Elements("serviceRegistration"), IsEmpty());
  EXPECT_EQ(client.Call(List("")).Fault(), "ManagedObjectNotFound");
}

}  // namespace
}  // namespace Lab::Testing
