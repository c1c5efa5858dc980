#include <cstring>
#include <cwchar>

#include "support.h"

namespace {

SID_IDENTIFIER_AUTHORITY NtAuthority() { return SECURITY_NT_AUTHORITY; }

PSID MakeSid(BYTE count, DWORD first, DWORD second) {
  SID_IDENTIFIER_AUTHORITY authority = NtAuthority();
  PSID sid = nullptr;
  EXPECT_NE(AllocateAndInitializeSid(&authority, count, first, second, 0, 0, 0, 0, 0, 0, &sid), 0);
  return sid;
}

TEST(GetUserNameExW, HasADomainAndAnAccount) {
  wchar_t name[256] = {};
  ULONG length = 256;
  ASSERT_NE(GetUserNameExW(NameSamCompatible, name, &length), 0);
  EXPECT_EQ(length, std::wcslen(name));
  EXPECT_NE(std::wcschr(name, L'\\'), nullptr);
}

TEST(GetUserNameExW, ShortBufferLearnsTheLengthWithTerminator) {
  wchar_t name[256] = {};
  ULONG length = 256;
  ASSERT_NE(GetUserNameExW(NameSamCompatible, name, &length), 0);
  ULONG tooShort = length;
  EXPECT_EQ(GetUserNameExW(NameSamCompatible, name, &tooShort), 0);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_MORE_DATA});
  EXPECT_EQ(tooShort, length + 1);
}

TEST(AllocateAndInitializeSid, LaysOutTheIdentifier) {
  PSID sid = MakeSid(2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS);
  const unsigned char expected[] = {1, 2, 0, 0, 0, 0, 0, 5, 32, 0, 0, 0, 0x20, 2, 0, 0};
  EXPECT_EQ(std::memcmp(sid, expected, sizeof expected), 0);
  EXPECT_EQ(FreeSid(sid), nullptr);
}

TEST(AllocateAndInitializeSid, NineSubAuthoritiesAreTooMany) {
  SID_IDENTIFIER_AUTHORITY authority = NtAuthority();
  PSID sid = nullptr;
  EXPECT_EQ(AllocateAndInitializeSid(&authority, 9, 0, 0, 0, 0, 0, 0, 0, 0, &sid), 0);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_SID});
}

TEST(CheckTokenMembership, KnowsTheGroupsOfTheProcess) {
  PSID administrators = MakeSid(2, SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS);
  PSID nobody = MakeSid(2, SECURITY_BUILTIN_DOMAIN_RID, 9999);
  BOOL member = FALSE;
  EXPECT_NE(CheckTokenMembership(nullptr, administrators, &member), 0);
  EXPECT_NE(member, 0);
  EXPECT_NE(CheckTokenMembership(nullptr, nobody, &member), 0);
  EXPECT_EQ(member, 0);
  FreeSid(administrators);
  FreeSid(nobody);
}

}  // namespace
