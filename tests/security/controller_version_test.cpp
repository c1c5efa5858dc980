#include "security/controller_version.h"

#include "directory_test.h"

namespace Halvard::Security {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using ::testing::IsEmpty;
using Testing::LogLine;
using Testing::OwnLog;
using Testing::WarningLine;

constexpr wchar_t kNode[] = L"node.example";

struct VersionCase {
  const char* name;
  std::string told;
  std::wstring version;
};

const VersionCase kVersions[] = {
    {"MajorMinor", "6.0", L"6.0"},
    {"WithPatch", "6.0.1", L"6.0"},
    {"TwoDigits", "10.2", L"10."},
    {"Short", "6", L"6"},
};

class ToldVersion : public DirectoryServerTest,
                    public ::testing::WithParamInterface<VersionCase> {};

TEST_P(ToldVersion, IsCutToThreeCharacters) {
  const Lab::Slapd server({.version = GetParam().told});
  Place(server, "node.example", 636);
  std::wstring version;
  EXPECT_TRUE(RetrieveBVCMajorMinorVersion(kNode, version));
  EXPECT_EQ(version, GetParam().version);
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          InfoLine(L"ConnectToLdapServer: Connecting to ldap server [node.example] on port [636]"),
          InfoLine(L"RetrieveBVCMajorMinorVersion: Retrieved Belvar Controller version [" +
                   GetParam().version + L"].")));
}
INSTANTIATE_TEST_SUITE_P(Each, ToldVersion, ::testing::ValuesIn(kVersions),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(DirectoryServerTest, DirectoryWithoutTheAttributeIsTakenForVersion55) {
  const Lab::Slapd server({.version = std::nullopt});
  Place(server, "node.example", 636);
  std::wstring version;
  EXPECT_TRUE(RetrieveBVCMajorMinorVersion(kNode, version));
  EXPECT_EQ(version, L"5.5");
  EXPECT_THAT(OwnLog(), Contains(InfoLine(
                            L"RetrieveBVCMajorMinorVersion: Querying for "
                            L"[ostrelBelvarControllerVersion] attribute on server [node.example] "
                            L"returned null results. Assuming version as [5.5].")));
}

TEST_F(DirectoryServerTest, ServerOnTheLegacyPortAloneIsReachedAfterAWarning) {
  const Lab::Slapd server({.version = std::nullopt});
  Place(server, "node.example", 11712);
  std::wstring version;
  EXPECT_TRUE(RetrieveBVCMajorMinorVersion(kNode, version));
  EXPECT_EQ(version, L"5.5");
  const std::vector<LogLine> lines = OwnLog();
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(
      lines[2],
      WarningLine(L"RetrieveBVCMajorMinorVersion: Failed to connect to server [node.example] to "
                  L"validate BVC version using Belvar Conntroller LDAPs port [636]."));
  EXPECT_EQ(lines[3], InfoLine(L"ConnectToLdapServer: Connecting to ldap server [node.example] on "
                               L"port [11712]"));
}

TEST_F(DirectoryTest, NodeThatAnswersOnNoPortHasNoVersion) {
  std::wstring version = L"unchanged";
  EXPECT_FALSE(RetrieveBVCMajorMinorVersion(kNode, version));
  EXPECT_EQ(version, L"unchanged");
  EXPECT_EQ(OwnLog().back(), ErrorLine(L"RetrieveBVCMajorMinorVersion: Failed to connect to server "
                                       L"[node.example] on legacy LDAPs port [11712]."));
}

struct SearchFault {
  Lab::Fault fault;
  std::wstring line;
};

const SearchFault kSearchFaults[] = {
    {{.function = "ldap_search_sW", .error = 0x51},
     L"RetrieveBVCMajorMinorVersion: Failed to search the LDAP to retrieve the Belvar Controller version. Error code [81]."},
    {{.function = "ldap_first_entry", .error = 0x52},
     L"RetrieveBVCMajorMinorVersion: Failed to get the first entry of the ldap search result toretrieve the Belvar Controller version."},
    {{.function = "ldap_first_attributeW", .error = 0x5a},
     L"RetrieveBVCMajorMinorVersion: Failed to get the first attribute of the ldap search result toretrieve the Belvar Controller version."},
    {{.function = "ldap_get_valuesW", .error = 0x10},
     L"RetrieveBVCMajorMinorVersion: Failed to get the value of the Belvar Controller version."},
};

class SearchFailure : public DirectoryServerTest,
                      public ::testing::WithParamInterface<SearchFault> {};

TEST_P(SearchFailure, IsTheLastLineAndLeavesNothingBehind) {
  const Lab::Slapd server({});
  Place(server, "node.example", 636);
  machine_.PlanFault(GetParam().fault);
  std::wstring version = L"unchanged";
  EXPECT_FALSE(RetrieveBVCMajorMinorVersion(kNode, version));
  EXPECT_EQ(version, L"unchanged");
  EXPECT_EQ(OwnLog().back(), ErrorLine(GetParam().line));
  EXPECT_THAT(Lab::DirectoryObjects().Kinds(), IsEmpty());
}
INSTANTIATE_TEST_SUITE_P(Each, SearchFailure, ::testing::ValuesIn(kSearchFaults),
                         [](const auto& row) { return row.param.fault.function; });

}  // namespace
}  // namespace Halvard::Security
