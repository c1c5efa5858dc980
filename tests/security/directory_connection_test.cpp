#include "security/directory_connection.h"

#include "directory_test.h"

namespace Halvard::Security {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using ::testing::IsEmpty;
using Testing::OwnLog;

TEST_F(DirectoryServerTest, ConnectingIsLoggedWithHostAndPort) {
  const Lab::Slapd server({});
  Place(server, "localhost", 636);
  EXPECT_TRUE(ConnectToLdapServer(L"localhost", 636));
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(
                  L"ConnectToLdapServer: Connecting to ldap server [localhost] on port [636]")));
}

TEST_F(DirectoryTest, UnreachableServerIsLoggedWithTheCodeOfAServerThatIsDown) {
  EXPECT_FALSE(ConnectToLdapServer(L"localhost", 636));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          InfoLine(L"ConnectToLdapServer: Connecting to ldap server [localhost] on port [636]"),
          ErrorLine(L"ConnectToLdapServer: Failed to connect to the LDAP server. Error code: 81")));
}

TEST_F(DirectoryTest, UnknownHostCannotBeReached) {
  EXPECT_FALSE(ConnectToLdapServer(L"nowhere.example", 636));
  EXPECT_THAT(OwnLog(),
              Contains(ErrorLine(
                  L"ConnectToLdapServer: Failed to connect to the LDAP server. Error code: 81")));
}

struct ConnectFault {
  const char* name;
  Lab::Fault fault;
  std::wstring line;
};

const ConnectFault kConnectFaults[] = {
    {"Init",
     {.function = "ldap_initW", .error = 0x5a},
     L"ConnectToLdapServer: Failed to initialize LDAP connection."},
    {"Version",
     {.function = "ldap_set_optionW", .match = L"17", .error = 0x59},
     L"ConnectToLdapServer: Failed to set LDAP version option. Error code: 89"},
    {"Ssl",
     {.function = "ldap_set_optionW", .match = L"10", .error = 0x5c},
     L"ConnectToLdapServer: Failed to turn on LDAP SSL option. Error code: 92"},
    {"Certificate",
     {.function = "ldap_set_optionW", .match = L"129", .error = 0x5c},
     L"ConnectToLdapServer: Failed to set SSL server certificate validator. Error code: 92"},
    {"Connect",
     {.function = "ldap_connect", .error = 0x55},
     L"ConnectToLdapServer: Failed to connect to the LDAP server. Error code: 85"},
};

class ConnectionFailure : public DirectoryTest,
                          public ::testing::WithParamInterface<ConnectFault> {};

TEST_P(ConnectionFailure, IsLoggedOnceAndLeavesNoSession) {
  machine_.PlanFault(GetParam().fault);
  EXPECT_FALSE(ConnectToLdapServer(L"localhost", 636));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          InfoLine(L"ConnectToLdapServer: Connecting to ldap server [localhost] on port [636]"),
          ErrorLine(GetParam().line)));
  EXPECT_THAT(Lab::DirectoryObjects().Kinds(), IsEmpty());
}
INSTANTIATE_TEST_SUITE_P(Each, ConnectionFailure, ::testing::ValuesIn(kConnectFaults),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace Halvard::Security
