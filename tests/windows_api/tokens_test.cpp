// Tokens that are asked for groups, and copies that may be.
#include "host/unique_resource.h"
#include "scratch_folder.h"
#include "support.h"

namespace {

using Halvard::Host::UniqueHandle;
using Halvard::Host::UniqueSid;
using WindowsApi::LastError;

class Token : public testing::Test {
 protected:
  Token() {
    HANDLE token = nullptr;
    EXPECT_NE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token), 0);
    process_.Reset(token);
    SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
    PSID sid = nullptr;
    EXPECT_NE(AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID,
                                       DOMAIN_ALIAS_RID_ADMINS, 0, 0, 0, 0, 0, 0, &sid),
              0);
    administrators_.Reset(sid);
  }

  UniqueHandle process_;
  UniqueSid administrators_;
};

TEST_F(Token, OfAProcessIsNotAskedForGroups) {
  BOOL isMember = FALSE;
  EXPECT_EQ(CheckTokenMembership(process_.Get(), administrators_.Get(), &isMember), 0);
  EXPECT_EQ(LastError(), 1309u);
}

TEST_F(Token, IsCopiedOnlyWithTheRightTo) {
  HANDLE copy = nullptr;
  EXPECT_EQ(DuplicateTokenEx(process_.Get(), TOKEN_QUERY, nullptr, SecurityIdentification,
                             TokenImpersonation, &copy),
            0);
  EXPECT_EQ(LastError(), 5u);
}

TEST_F(Token, NullIsNone) {
  HANDLE copy = nullptr;
  EXPECT_EQ(DuplicateTokenEx(nullptr, TOKEN_QUERY, nullptr, SecurityIdentification,
                             TokenImpersonation, &copy),
            0);
  EXPECT_EQ(LastError(), 6u);
}

}  // namespace
