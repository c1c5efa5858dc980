#include <cstring>
#include <string>

#include "scratch_folder.h"
#include "support.h"

namespace {

using WindowsApi::LastError;

constexpr unsigned char kAdministrators[] = {1, 2, 0, 0, 0, 0, 0, 5, 32, 0, 0, 0, 32, 2, 0, 0};
constexpr unsigned char kNetworkService[] = {1, 1, 0, 0, 0, 0, 0, 5, 20, 0, 0, 0};

/// What a lookup by name gives, with room enough.
struct Identifier {
  explicit Identifier(const std::wstring& account) {
    DWORD bytes = sizeof sid;
    wchar_t text[64] = {};
    DWORD length = 64;
    EXPECT_NE(LookupAccountNameW(nullptr, account.c_str(), sid, &bytes, text, &length, &use), 0);
    domain = text;
    EXPECT_EQ(length, domain.size());
  }
  unsigned char sid[68] = {};
  std::wstring domain;
  SID_NAME_USE use = SidTypeUnknown;
};

/// What a lookup by identifier gives, with room enough.
struct Name {
  explicit Name(const unsigned char* sid) {
    wchar_t texts[2][64] = {};
    DWORD lengths[2] = {64, 64};
    EXPECT_NE(LookupAccountSidW(nullptr, const_cast<unsigned char*>(sid), texts[0], &lengths[0],
                                texts[1], &lengths[1], &use),
              0);
    name = texts[0];
    domain = texts[1];
    EXPECT_EQ(lengths[0], name.size());
    EXPECT_EQ(lengths[1], domain.size());
  }
  std::wstring name;
  std::wstring domain;
  SID_NAME_USE use = SidTypeUnknown;
};

/// \return The user of the process, as DOMAIN\name.
std::wstring OwnName() {
  wchar_t name[256] = {};
  ULONG length = 256;
  EXPECT_NE(GetUserNameExW(NameSamCompatible, name, &length), 0);
  return name;
}

TEST(LookupAccountNameW, TellsSizesWithTheTerminator) {
  DWORD sidBytes = 0;
  DWORD length = 0;
  SID_NAME_USE use = SidTypeUnknown;
  EXPECT_EQ(
      LookupAccountNameW(nullptr, L"Administrators", nullptr, &sidBytes, nullptr, &length, &use),
      0);
  EXPECT_EQ(LastError(), 122u);
  EXPECT_EQ(sidBytes, 16u);
  EXPECT_EQ(length, 8u);
}

TEST(LookupAccountNameW, FindsABuiltInGroupByBothNames) {
  for (const wchar_t* name : {L"administrators", L"BUILTIN\\Administrators"}) {
    const Identifier found(name);
    EXPECT_EQ(std::memcmp(found.sid, kAdministrators, sizeof kAdministrators), 0);
    EXPECT_EQ(found.domain, L"BUILTIN");
    EXPECT_EQ(found.use, SidTypeAlias);
  }
}

TEST(LookupAccountNameW, FindsAnAccountOfTheSystemWithoutItsBlank) {
  for (const wchar_t* name : {L"NetworkService", L"NT AUTHORITY\\NetworkService"}) {
    const Identifier found(name);
    EXPECT_EQ(std::memcmp(found.sid, kNetworkService, sizeof kNetworkService), 0);
    EXPECT_EQ(found.domain, L"NT AUTHORITY");
    EXPECT_EQ(found.use, SidTypeWellKnownGroup);
  }
  EXPECT_EQ(Name(kNetworkService).name, L"NETWORK SERVICE");
}

TEST(LookupAccountNameW, FindsTheUserAloneAndWithTheComputer) {
  const std::wstring user = OwnName();
  const std::size_t backslash = user.find(L'\\');
  for (const std::wstring& name : {user, user.substr(backslash + 1)}) {
    const Identifier found(name);
    EXPECT_EQ(found.use, SidTypeUser);
    EXPECT_EQ(found.domain, user.substr(0, backslash));
    const Name back(found.sid);
    EXPECT_EQ(back.domain + L'\\' + back.name, user);
    EXPECT_EQ(back.use, SidTypeUser);
  }
}

TEST(LookupAccountNameW, ComputerItselfHasAnIdentifierAndNoName) {
  const std::wstring user = OwnName();
  const Identifier found(user.substr(0, user.find(L'\\')));
  EXPECT_EQ(found.use, SidTypeDomain);
  EXPECT_EQ(Name(found.sid).name, L"");
}

TEST(LookupAccountNameW, EmptyNameIsTheBuiltInDomain) {
  const unsigned char builtIn[] = {1, 1, 0, 0, 0, 0, 0, 5, 32, 0, 0, 0};
  const Identifier found(L"");
  EXPECT_EQ(std::memcmp(found.sid, builtIn, sizeof builtIn), 0);
  EXPECT_EQ(found.domain, L"BUILTIN");
  EXPECT_EQ(found.use, SidTypeDomain);
}

TEST(LookupAccountNameW, DoesNotKnowWordsOfTheServiceManager) {
  for (const wchar_t* name : {L"LocalSystem", L"nobody of this name", L"NODOMAIN\\nobody"}) {
    DWORD sidBytes = 0;
    DWORD length = 0;
    SID_NAME_USE use = SidTypeUnknown;
    EXPECT_EQ(LookupAccountNameW(nullptr, name, nullptr, &sidBytes, nullptr, &length, &use), 0);
    EXPECT_EQ(LastError(), 1332u);
    EXPECT_EQ(sidBytes, 0u);
    EXPECT_EQ(length, 0u);
  }
}

TEST(LookupAccountNameW, DoesNotKnowTheShortFormOfTheComputer) {
  SKIP_ON_WINE("Wine takes .\\ for the computer");
  const std::wstring user = OwnName();
  const std::wstring name = L"." + user.substr(user.find(L'\\'));
  DWORD sidBytes = 0;
  DWORD length = 0;
  SID_NAME_USE use = SidTypeUnknown;
  EXPECT_EQ(LookupAccountNameW(nullptr, name.c_str(), nullptr, &sidBytes, nullptr, &length, &use),
            0);
  EXPECT_EQ(LastError(), 1332u);
}

TEST(LookupAccountSidW, TellsLengthsWithTerminatorsFirst) {
  unsigned char system[] = {1, 1, 0, 0, 0, 0, 0, 5, 18, 0, 0, 0};
  DWORD nameLength = 0;
  DWORD domainLength = 0;
  SID_NAME_USE use = SidTypeUnknown;
  EXPECT_EQ(LookupAccountSidW(nullptr, system, nullptr, &nameLength, nullptr, &domainLength, &use),
            0);
  EXPECT_EQ(LastError(), 122u);
  EXPECT_EQ(nameLength, 7u);
  EXPECT_EQ(domainLength, 13u);
  const Name found(system);
  EXPECT_EQ(found.name, L"SYSTEM");
  EXPECT_EQ(found.domain, L"NT AUTHORITY");
}

TEST(LookupAccountSidW, UnknownIdentifierHasNoName) {
  unsigned char nobody[] = {1, 2, 0, 0, 0, 0, 0, 5, 32, 0, 0, 0, 0x0F, 0x27, 0, 0};
  DWORD nameLength = 0;
  DWORD domainLength = 0;
  SID_NAME_USE use = SidTypeUnknown;
  EXPECT_EQ(LookupAccountSidW(nullptr, nobody, nullptr, &nameLength, nullptr, &domainLength, &use),
            0);
  EXPECT_EQ(LastError(), 1332u);
  EXPECT_EQ(nameLength, 0u);
  EXPECT_EQ(domainLength, 0u);
}

}  // namespace
