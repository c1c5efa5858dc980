// Descriptions of a server, good and bad.
#include "config.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace Lab::Kelvane {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

/// \return What is said about a description; empty for a sound one.
std::string ConfigErrorOf(const std::string& json) {
  try {
    (void)ParseConfig(json, "server.json");
    return {};
  } catch (const ConfigError& error) {
    return error.what();
  }
}

TEST(Config, EmptyDescriptionHasTheDefaults) {
  const Config config = ParseConfig("{}", "server.json");

  EXPECT_EQ(config.address, "127.0.0.1");
  EXPECT_EQ(config.port, 0);
  EXPECT_EQ(config.tunnelPath, "/sdkTunnel");
  EXPECT_TRUE(config.users.empty());
  EXPECT_FALSE(config.session.seconds);
  EXPECT_FALSE(config.session.requests);
  EXPECT_TRUE(config.content.sessionManager);
  EXPECT_TRUE(config.content.extensionManager);
  EXPECT_TRUE(config.explicitFlags);
  EXPECT_TRUE(config.lookupServiceRegistration);
  EXPECT_EQ(config.inventory.hosts, 0u);
  EXPECT_EQ(config.inventory.machines, 0u);
}

TEST(Config, EveryMemberIsTaken) {
  const Config config = ParseConfig(R"({
    "address": "127.0.0.2", "port": 443, "tunnelPath": "", "certificate": "c.pem",
    "users": [{"name": "n", "password": ""}],
    "session": {"seconds": 0.5, "requests": 3},
    "content": {"sessionManager": false, "extensionManager": false, "idSuffix": "-7"},
    "explicitFlags": false, "pageLimit": 5,
    "inventory": {"seed": 2, "hosts": 3, "machines": 4, "dataCenters": 5, "folderDepth": 6,
                  "virtualApps": 7},
    "extensions": [{"key": "k", "label": "l", "summary": "s", "company": "c", "type": "t",
                    "version": "v", "subjectName": "", "lastHeartbeatTime":
                    "2026-02-03T04:05:06.789Z", "otherMembers": true,
                    "servers": [{"url": "u", "label": "sl", "summary": "ss", "company": "sc",
                                 "type": "st", "adminEmail": ["a", "b"],
                                 "serverThumbprint": "AA"}]}],
    "lookup": {"serviceRegistration": false, "registrations": [
                  {"serviceId": "i", "product": "p", "type": "t",
                   "endpoints": [{"url": "u", "protocol": "wsTrust", "type": "e"}]}]},
    "faults": [{"operation": "List", "call": 2, "kind": "garbage", "text": "x", "times": 3,
                "status": 404}],
    "connectionFaults": [{"from": 2, "kind": "tunnel", "status": 204}]
  })",
                                    "server.json");

  EXPECT_EQ(config.address, "127.0.0.2");
  EXPECT_EQ(config.port, 443);
  EXPECT_EQ(config.tunnelPath, "");
  EXPECT_EQ(config.certificateFile, "c.pem");
  ASSERT_EQ(config.users.size(), 1u);
  EXPECT_EQ(config.users[0].name, "n");
  EXPECT_EQ(config.session.seconds, 0.5);
  EXPECT_EQ(config.session.requests, 3);
  EXPECT_FALSE(config.content.sessionManager);
  EXPECT_FALSE(config.content.extensionManager);
  EXPECT_EQ(config.content.idSuffix, "-7");
  EXPECT_FALSE(config.explicitFlags);
  EXPECT_EQ(config.pageLimit, 5u);
  EXPECT_EQ(config.inventory.seed, 2u);
  EXPECT_EQ(config.inventory.hosts, 3u);
  EXPECT_EQ(config.inventory.machines, 4u);
  EXPECT_EQ(config.inventory.dataCenters, 5u);
  EXPECT_EQ(config.inventory.folderDepth, 6u);
  EXPECT_EQ(config.inventory.virtualApps, 7u);
  ASSERT_EQ(config.extensions.size(), 1u);
  EXPECT_EQ(config.extensions[0].subjectName, "");
  EXPECT_TRUE(config.extensions[0].otherMembers);
  ASSERT_EQ(config.extensions[0].server.size(), 1u);
  EXPECT_EQ(config.extensions[0].server[0].adminEmail.size(), 2u);
  EXPECT_EQ(config.extensions[0].server[0].serverThumbprint, "AA");
  EXPECT_FALSE(config.lookupServiceRegistration);
  ASSERT_EQ(config.registrations.size(), 1u);
  EXPECT_EQ(config.registrations[0].endPoints.at(0).type.protocol, "wsTrust");
  ASSERT_EQ(config.faults.size(), 1u);
  EXPECT_EQ(config.faults[0].kind, OperationFault::Kind::kGarbage);
  EXPECT_EQ(config.faults[0].calls.only, 2u);
  EXPECT_EQ(config.faults[0].times, 3u);
  EXPECT_EQ(config.faults[0].status, 404u);
  ASSERT_EQ(config.connectionFaults.size(), 1u);
  EXPECT_EQ(config.connectionFaults[0].connections.from, 2u);
  EXPECT_EQ(config.connectionFaults[0].status, 204u);
}

struct BadConfig {
  const char* name;
  const char* json;
  const char* error;
};
void PrintTo(const BadConfig& row, std::ostream* stream) { *stream << row.json; }

constexpr BadConfig kBad[] = {
    {"NotJson", "{", "server.json: not JSON: "},
    {"NotAnObject", "[]", "server.json: "},
    {"UnknownMember", R"({"hosts": 3})", "server.json: /: unknown member \"hosts\"; expected "},
    {"PortTooBig", R"({"port": 65536})", "server.json: /port: expected the port to listen on"},
    {"PortAsText", R"({"port": "443"})", "server.json: /port: expected the port to listen on"},
    {"UserWithoutPassword", R"({"users": [{"name": "n"}]})",
     "server.json: /users/0: expected an object with a user's name and password"},
    {"NegativeHosts", R"({"inventory": {"hosts": -1}})",
     "server.json: /inventory/hosts: expected the number of hosts, 0 to 1000000"},
    {"NoDataCenter", R"({"inventory": {"dataCenters": 0}})",
     "server.json: /inventory/dataCenters: expected the number of data centres"},
    {"UnknownOperation", R"({"faults": [{"operation": "Logon", "kind": "close"}]})",
     "server.json: /faults/0/operation: expected the name of an operation"},
    {"UnknownKind", R"({"faults": [{"operation": "Login", "kind": "late"}]})",
     "server.json: /faults/0/kind: expected one of slow, pieces, cut, close, fault, garbage"},
    {"MemberOfAnotherKind", R"({"faults": [{"operation": "Login", "kind": "slow", "bytes": 3}]})",
     "server.json: /faults/0: \"bytes\" means nothing for the kind slow"},
    {"CallAndFrom",
     R"({"faults": [{"operation": "Login", "kind": "close", "call": 1, "from": 2}]})",
     "server.json: /faults/0: expected either \"call\" or \"from\""},
    {"StatusOfAnotherConnectionFault",
     R"({"connectionFaults": [{"kind": "close", "status": 204}]})",
     "server.json: /connectionFaults/0: \"status\" means nothing for the kind close"},
    {"ConnectionAndFrom",
     R"({"connectionFaults": [{"kind": "close", "connection": 1, "from": 2}]})",
     "server.json: /connectionFaults/0: expected either \"connection\" or \"from\""},
    {"TimeOfAnotherForm", R"({"extensions": [{"key": "k", "lastHeartbeatTime": "today"}]})",
     "server.json: /extensions/0/lastHeartbeatTime: expected a time"},
};

class BadConfigs : public ::testing::TestWithParam<BadConfig> {};

TEST_P(BadConfigs, ErrorNamesPlaceAndExpectation) {
  EXPECT_THAT(ConfigErrorOf(GetParam().json), HasSubstr(GetParam().error));
}

INSTANTIATE_TEST_SUITE_P(All, BadConfigs, ::testing::ValuesIn(kBad),
                         [](const auto& row) { return row.param.name; });

TEST(Config, ErrorDoesNotQuoteAPassword) {
  EXPECT_THAT(ConfigErrorOf(R"({"users": [{"name": "n", "password": "hidden", "x": 1}]})"),
              Not(HasSubstr("hidden")));
  EXPECT_THAT(ConfigErrorOf(R"({"users": [{"name": "n", "password": "hidden",,}]})"),
              Not(HasSubstr("hidden")));
}

TEST(Config, FileThatIsNotThereIsNamed) {
  try {
    (void)ReadConfig("/nowhere/server.json");
    FAIL();
  } catch (const ConfigError& error) {
    EXPECT_STREQ(error.what(), "/nowhere/server.json: can't be read");
  }
}

}  // namespace
}  // namespace Lab::Kelvane
