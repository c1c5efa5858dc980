#include "security/directory_credentials.h"

#include "directory_test.h"

namespace Halvard::Security {
namespace {

using ::testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using ::testing::Not;
using Testing::OwnLog;

constexpr wchar_t kAdministrator[] = L"Administrator@ostrel.local";

// Names.

TEST_F(DirectoryTest, EachLabelOfTheDomainIsAPartOfTheNameInOrder) {
  std::wstring dn;
  EXPECT_TRUE(ConvertSsoUsernameToLdapDn(L"Administrator@sso.ostrel.local", dn));
  EXPECT_EQ(dn, L"cn=Administrator,cn=Users,dc=sso,dc=ostrel,dc=local");
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(
                            L"ConvertSsoUsernameToLdapDn: Successfully converted "
                            L"Administrator@sso.ostrel.local username to "
                            L"cn=Administrator,cn=Users,dc=sso,dc=ostrel,dc=local ldap dn.")));
}

TEST_F(DirectoryTest, EmptyPiecesOfAnAccountDontCount) {
  std::wstring dn;
  EXPECT_TRUE(ConvertSsoUsernameToLdapDn(L"@J\u00F6rg@@ostrel..local.", dn));
  EXPECT_EQ(dn, L"cn=J\u00F6rg,cn=Users,dc=ostrel,dc=local");
}

TEST_F(DirectoryTest, SpecialCharactersStandInTheNameAsTheyAre) {
  std::wstring dn;
  EXPECT_TRUE(ConvertSsoUsernameToLdapDn(L"a,b+c\"d@ostrel.local", dn));
  EXPECT_EQ(dn, L"cn=a,b+c\"d,cn=Users,dc=ostrel,dc=local");
}

struct RefusedAccount {
  const char* name;
  std::wstring account;
  std::wstring line;
};

const RefusedAccount kRefusedAccounts[] = {
    {"WithoutDomain", L"Administrator",
     L"ConvertSsoUsernameToLdapDn: SSO username Administrator is not correctly formatted."},
    {"WithTwoSigns", L"a@b.c@d.e",
     L"ConvertSsoUsernameToLdapDn: SSO username a@b.c@d.e is not correctly formatted."},
    {"Empty", L"", L"ConvertSsoUsernameToLdapDn: SSO username  is not correctly formatted."},
    {"OneLabel", L"Administrator@local",
     L"ConvertSsoUsernameToLdapDn: SSO domain local is not correctly formatted."},
    {"DotsAlone", L"Administrator@.local.",
     L"ConvertSsoUsernameToLdapDn: SSO domain .local. is not correctly formatted."},
};

class RefusedName : public DirectoryServerTest,
                    public ::testing::WithParamInterface<RefusedAccount> {};

TEST_P(RefusedName, IsRefusedBeforeAnyBind) {
  const Lab::Slapd server({});
  Place(server, "localhost", 636);
  EXPECT_FALSE(ValidateLocalSSOCredentials(GetParam().account, L"secret", false));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          InfoLine(L"ConnectToLdapServer: Connecting to ldap server [localhost] on port [636]"),
          ErrorLine(GetParam().line),
          ErrorLine(L"ValidateLocalSSOCredentials: Failed to convert username to ldap dn.")));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("ldap_bind_sW"), 0u);
}
INSTANTIATE_TEST_SUITE_P(Each, RefusedName, ::testing::ValuesIn(kRefusedAccounts),
                         [](const auto& row) { return std::string(row.param.name); });

// Credentials.

TEST_F(DirectoryServerTest, RightPasswordIsValid) {
  const Lab::Slapd server({});
  Place(server, "localhost", 636);
  EXPECT_TRUE(ValidateLocalSSOCredentials(kAdministrator, L"secret", false));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          InfoLine(L"ConnectToLdapServer: Connecting to ldap server [localhost] on port [636]"),
          InfoLine(L"ConvertSsoUsernameToLdapDn: Successfully converted "
                   L"Administrator@ostrel.local username to "
                   L"cn=Administrator,cn=Users,dc=ostrel,dc=local ldap dn."),
          InfoLine(L"ValidateLocalSSOCredentials: Successfully validated SSO credentials.")));
}

TEST_F(DirectoryServerTest, NameAndPasswordReachTheServerInAnyScript) {
  const Lab::Slapd server({.domain = "sso.ostrel.local",
                           .users = {{"J\u00F6rg \u8A66\u9A13 \U0001D4BD", "p\u00E4\u9A13"}}});
  Place(server, "localhost", 636);
  EXPECT_TRUE(ValidateLocalSSOCredentials(L"J\u00F6rg \u8A66\u9A13 \U0001D4BD@sso.ostrel.local",
                                          L"p\u00E4\u9A13", false));
}

TEST_F(DirectoryServerTest, WrongPasswordIsNotValid) {
  const Lab::Slapd server({});
  Place(server, "localhost", 636);
  EXPECT_FALSE(ValidateLocalSSOCredentials(kAdministrator, L"wrong", false));
  EXPECT_EQ(
      OwnLog().back(),
      ErrorLine(L"ValidateLocalSSOCredentials: Passed credentials are not valid. Error code: 49"));
}

TEST_F(DirectoryServerTest, UnknownUserIsNotValid) {
  const Lab::Slapd server({});
  Place(server, "localhost", 636);
  EXPECT_FALSE(ValidateLocalSSOCredentials(L"Nobody@ostrel.local", L"secret", false));
  EXPECT_EQ(
      OwnLog().back(),
      ErrorLine(L"ValidateLocalSSOCredentials: Passed credentials are not valid. Error code: 49"));
}

TEST_F(DirectoryServerTest, NameThatWantsEscapesIsAnIllFormedOne) {
  const Lab::Slapd server({.users = {{"a,b", "secret"}}});
  Place(server, "localhost", 636);
  EXPECT_FALSE(ValidateLocalSSOCredentials(L"a,b@ostrel.local", L"secret", false));
  EXPECT_EQ(
      OwnLog().back(),
      ErrorLine(
          L"ValidateLocalSSOCredentials: Failed to validate passed credentials. Error code: 34"));
}

// The composed name is another entry's: whoever knows that one's password gets in as that one.
TEST_F(DirectoryServerTest, NameWithAPathInItNeedsThePasswordOfThatEntry) {
  const Lab::Slapd server({});
  Place(server, "localhost", 636);
  EXPECT_FALSE(ValidateLocalSSOCredentials(L"x,cn=Administrator@ostrel.local", L"secret", false));
  EXPECT_EQ(
      OwnLog().back(),
      ErrorLine(L"ValidateLocalSSOCredentials: Passed credentials are not valid. Error code: 49"));
}

TEST_F(DirectoryServerTest, EmptyPasswordIsRefusedWithTheServersCode) {
  const Lab::Slapd server({});
  Place(server, "localhost", 636);
  EXPECT_FALSE(ValidateLocalSSOCredentials(kAdministrator, L"", false));
  EXPECT_EQ(
      OwnLog().back(),
      ErrorLine(
          L"ValidateLocalSSOCredentials: Failed to validate passed credentials. Error code: 53"));
}

TEST_F(DirectoryServerTest, EmptyPasswordThatTheServerLetsPassIsNotValid) {
  const Lab::Slapd server({.allowsUnauthenticatedBinds = true});
  Place(server, "localhost", 636);
  EXPECT_FALSE(ValidateLocalSSOCredentials(kAdministrator, L"", false));
  EXPECT_EQ(
      OwnLog().back(),
      ErrorLine(L"ValidateLocalSSOCredentials: Passed credentials are not valid. Error code: 49"));
}

TEST_F(DirectoryServerTest, PasswordThatBeginsWithANulIsAnEmptyOne) {
  const Lab::Slapd server({.allowsUnauthenticatedBinds = true});
  Place(server, "localhost", 636);
  const std::wstring password(L"\0x", 2);
  EXPECT_FALSE(ValidateLocalSSOCredentials(kAdministrator, password, false));
  EXPECT_EQ(
      OwnLog().back(),
      ErrorLine(L"ValidateLocalSSOCredentials: Passed credentials are not valid. Error code: 49"));
}

TEST_F(DirectoryTest, UnreachableServerIsLoggedAndNothingIsConverted) {
  EXPECT_FALSE(ValidateLocalSSOCredentials(kAdministrator, L"secret", false));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          InfoLine(L"ConnectToLdapServer: Connecting to ldap server [localhost] on port [636]"),
          ErrorLine(L"ConnectToLdapServer: Failed to connect to the LDAP server. Error code: 81"),
          ErrorLine(
              L"ValidateLocalSSOCredentials: Failed to connect to LDAP server to validate SSO credentials.")));
}

TEST_F(DirectoryServerTest, FlagAloneDecidesThePort) {
  const Lab::Slapd server({});
  Place(server, "localhost", 11712);
  EXPECT_FALSE(ValidateLocalSSOCredentials(kAdministrator, L"secret", false));
  EXPECT_TRUE(ValidateLocalSSOCredentials(kAdministrator, L"secret", true));
  Place(server, "localhost", 636);
  Lab::PlaceNothing(machine_, "localhost", 11712);
  EXPECT_FALSE(ValidateLocalSSOCredentials(kAdministrator, L"secret", true));
}

TEST_F(DirectoryServerTest, PasswordIsInNoLogLine) {
  const Lab::Slapd server({});
  Place(server, "localhost", 636);
  EXPECT_TRUE(ValidateLocalSSOCredentials(kAdministrator, L"secret", false));
  EXPECT_FALSE(ValidateLocalSSOCredentials(kAdministrator, L"s3cr3t", false));
  const std::string text = machine_.ReadFile(L"%TEMP%\\halvard.log").value_or("");
  EXPECT_THAT(text, Not(::testing::HasSubstr("secret")));
  EXPECT_THAT(text, Not(::testing::HasSubstr("s3cr3t")));
}

}  // namespace
}  // namespace Halvard::Security
