// The property collector on the wire: pages, tokens, values.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "standins/soap_client.h"
#include "support/kelvane_server.h"

namespace Lab::Testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* kEveryMachine =
    "<objectSet><obj type=\"Folder\">group-d1</obj><skip>false</skip>"
    "<selectSet xsi:type=\"TraversalSpec\"><name>f</name><type>Folder</type><path>childEntity</path>"
    "<skip>false</skip><selectSet><name>f</name></selectSet>"
    "<selectSet xsi:type=\"TraversalSpec\"><name>d</name><type>Datacenter</type><path>vmFolder</path>"
    "<skip>false</skip><selectSet><name>f</name></selectSet></selectSet>"
    "<selectSet xsi:type=\"TraversalSpec\"><name>m</name><type>VirtualApp</type><path>vm</path>"
    "<skip>false</skip></selectSet>"
    "<selectSet xsi:type=\"TraversalSpec\"><name>a</name><type>VirtualApp</type><path>resourcePool"
    "</path><skip>false</skip><selectSet><name>m</name></selectSet><selectSet><name>a</name>"
    "</selectSet></selectSet></selectSet></objectSet>";

std::string Wanted(const std::string& type, const std::string& path = "name",
                   const std::string& all = "false") {
  const std::string paths = path.empty() ? "" : "<pathSet>" + path + "</pathSet>";
  return "<propSet><type>" + type + "</type><all>" + all + "</all>" + paths + "</propSet>";
}

SoapCall RetrievePage(const std::string& filter, int maxObjects) {
  return {"RetrieveProperties", "PropertyCollector",
          "<specSet>" + filter + "</specSet><options><maxObjects>" + std::to_string(maxObjects) +
              "</maxObjects></options>"};
}

SoapCall Continue(const std::string& token) {
  return {"ContinueRetrieveProperties", "PropertyCollector", Xml("token", token)};
}

class PagingTest : public ::testing::Test {
 protected:
  explicit PagingTest(const Json::Value& config = KelvaneServer::UsualConfig())
      : server_(config), client_(server_.Port()) {
    LogIn(client_);
  }

  static void LogIn(SoapClient& client) {
    EXPECT_EQ(client.Login(KelvaneServer::kUser, KelvaneServer::kPassword).status, 200);
  }

  /// \return The sizes of all pages.
  std::vector<std::size_t> PageSizes(int maxObjects) {
    HttpReply reply =
        client_.Call(RetrievePage(Wanted("VirtualMachine") + kEveryMachine, maxObjects));
    std::vector<std::size_t> sizes;
    for (;;) {
      const std::vector<std::string> ids = reply.Elements("obj");
      sizes.push_back(ids.size());
      ids_.insert(ids.begin(), ids.end());
      const std::string token = reply.Element("token");
      if (token.empty()) return sizes;
      reply = client_.Call(Continue(token));
    }
  }

  KelvaneServer server_;
  SoapClient client_;
  std::set<std::string> ids_;
};

TEST_F(PagingTest, PagesHoldWhatWasAskedForAndTheRest) {
  EXPECT_THAT(PageSizes(20), ElementsAre(20, 20, 17));
  EXPECT_EQ(ids_.size(), server_.Machines());
  EXPECT_THAT(server_.Refusals(), IsEmpty());
}

TEST_F(PagingTest, PageThatHoldsAllHasNoToken) {
  EXPECT_THAT(PageSizes(57), ElementsAre(57));
  EXPECT_THAT(PageSizes(1000), ElementsAre(57));
  EXPECT_THAT(PageSizes(19), ElementsAre(19, 19, 19));
  EXPECT_THAT(PageSizes(56), ElementsAre(56, 1));
}

TEST_F(PagingTest, NoObjectIsNoResult) {
  const HttpReply reply = client_.Call(RetrievePage(
      Wanted("HostSystem") +
          "<objectSet><obj type=\"Folder\">group-d1</obj><skip>false</skip></objectSet>",
      10));

  EXPECT_EQ(reply.status, 200);
  EXPECT_THAT(reply.body, HasSubstr("<RetrievePropertiesResponse xmlns=\"urn:quen25\">"
                                    "</RetrievePropertiesResponse>"));
}

TEST_F(PagingTest, TokenServesOnce) {
  const std::string token =
      client_.Call(RetrievePage(Wanted("VirtualMachine") + kEveryMachine, 20)).Element("token");

  EXPECT_EQ(client_.Call(Continue(token)).status, 200);
  EXPECT_EQ(client_.Call(Continue(token)).Fault(), "InvalidArgument");
}

TEST_F(PagingTest, TokenServesItsSessionAlone) {
  const std::string token =
      client_.Call(RetrievePage(Wanted("VirtualMachine") + kEveryMachine, 20)).Element("token");
  SoapClient other(server_.Port());
  LogIn(other);

  EXPECT_EQ(other.Call(Continue(token)).Fault(), "InvalidArgument");
  EXPECT_EQ(client_.Call(Continue(token)).status, 200);
}

TEST_F(PagingTest, TokenEndsWithItsSession) {
  const std::string token =
      client_.Call(RetrievePage(Wanted("VirtualMachine") + kEveryMachine, 20)).Element("token");
  client_.Call(Logout());
  LogIn(client_);

  EXPECT_EQ(client_.Call(Continue(token)).Fault(), "InvalidArgument");
}

TEST_F(PagingTest, RetrievalsGoOnSideBySide) {
  const SoapCall retrieve = RetrievePage(Wanted("VirtualMachine") + kEveryMachine, 50);
  const std::string first = client_.Call(retrieve).Element("token");
  const std::string second = client_.Call(retrieve).Element("token");

  EXPECT_NE(first, second);
  EXPECT_EQ(client_.Call(Continue(second)).Elements("obj").size(), 7u);
  EXPECT_EQ(client_.Call(Continue(first)).Elements("obj").size(), 7u);
}

TEST_F(PagingTest, ObjectIsReportedOnceForEachFilter) {
  SoapCall call = RetrievePage(Wanted("VirtualMachine") + kEveryMachine, 1000);
  const std::string spec = "<specSet>" + Wanted("VirtualMachine") + kEveryMachine + "</specSet>";
  call.arguments = spec + call.arguments;

  EXPECT_EQ(client_.Call(call).Elements("obj").size(), 2 * server_.Machines());
}

TEST_F(PagingTest, ObjectCarriesWhatWasAskedFor) {
  const HttpReply reply = client_.Call(RetrievePage(
      Wanted("Folder") +
          "<objectSet><obj type=\"Folder\">group-d1</obj><skip>false</skip></objectSet>",
      10));

  EXPECT_THAT(
      reply.body,
      HasSubstr("<result><objects><obj type=\"Folder\">group-d1</obj><propSet><name>name"
                "</name><val xsi:type=\"string\">Root 0</val></propSet></objects></result>"));
}

TEST_F(PagingTest, ReferencesCarryTheirType) {
  const std::string centers =
      "<objectSet><obj type=\"Folder\">group-d1</obj><skip>false</skip>"
      "<selectSet xsi:type=\"TraversalSpec\"><name>f</name><type>Folder</type>"
      "<path>childEntity</path><skip>false</skip><selectSet><name>f</name></selectSet></selectSet>"
      "</objectSet>";

  EXPECT_THAT(client_.Call(RetrievePage(Wanted("Datacenter", "vmFolder") + centers, 1)).body,
              HasSubstr("<propSet><name>vmFolder</name><val xsi:type=\"reference\" "
                        "type=\"Folder\">group-d"));
  const HttpReply all = client_.Call(RetrievePage(Wanted("Datacenter", "", "true") + centers, 1));
  EXPECT_THAT(all.Elements("name"), ElementsAre("name", "hostFolder", "vmFolder"));
  EXPECT_EQ(
      client_.Call(RetrievePage(Wanted("Datacenter", "") + centers, 1)).Elements("name").size(),
      0u);
}

Json::Value WithPageLimit() {
  Json::Value config = KelvaneServer::UsualConfig();
  config["pageLimit"] = 30;
  return config;
}

class LimitedPagingTest : public PagingTest {
 protected:
  LimitedPagingTest() : PagingTest(WithPageLimit()) {}
};

TEST_F(LimitedPagingTest, ServerMayMakeSmallerPages) {
  EXPECT_THAT(PageSizes(1000), ElementsAre(30, 27));
  EXPECT_THAT(PageSizes(29), ElementsAre(29, 28));
}

TEST_F(LimitedPagingTest, LimitHoldsWithoutAWishOfTheClient) {
  SoapCall call = RetrievePage(Wanted("VirtualMachine") + kEveryMachine, 1);
  const std::size_t options = call.arguments.find("<options>");
  call.arguments = call.arguments.substr(0, options) + "<options></options>";

  EXPECT_EQ(client_.Call(call).Elements("obj").size(), 30u);
}

TEST(FilterFlags, MayBeLeftOutWhereTheServerAllowsIt) {
  Json::Value config = KelvaneServer::UsualConfig();
  config["explicitFlags"] = false;
  const KelvaneServer server(config);
  SoapClient client(server.Port());
  client.Login(KelvaneServer::kUser, KelvaneServer::kPassword);

  const HttpReply reply =
      client.Call(RetrievePage("<propSet><type>Folder</type><pathSet>name</pathSet></propSet>"
                               "<objectSet><obj type=\"Folder\">group-d1</obj></objectSet>",
                               10));

  EXPECT_EQ(reply.Elements("obj").size(), 1u);
}

}  // namespace
}  // namespace Lab::Testing
