#include <cstring>
#include <vector>

#include "host/access_control_api.h"
#include "scratch_folder.h"
#include "support.h"

namespace {

using WindowsApi::LastError;

constexpr DWORD kGeneric = GENERIC_ALL;

class AccessList : public testing::Test {
 protected:
  AccessList() {
    SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
    EXPECT_NE(AllocateAndInitializeSid(&authority, 2, SECURITY_BUILTIN_DOMAIN_RID,
                                       DOMAIN_ALIAS_RID_ADMINS, 0, 0, 0, 0, 0, 0, &sid_),
              0);
    entry_.grfAccessPermissions = kGeneric;
    entry_.grfAccessMode = SET_ACCESS;
    entry_.grfInheritance = NO_INHERITANCE;
    entry_.Trustee.MultipleTrusteeOperation = NO_MULTIPLE_TRUSTEE;
    entry_.Trustee.TrusteeForm = TRUSTEE_IS_SID;
    entry_.Trustee.TrusteeType = TRUSTEE_IS_WELL_KNOWN_GROUP;
    entry_.Trustee.ptstrName = static_cast<LPWSTR>(sid_);
  }
  ~AccessList() override {
    LocalFree(list_);
    FreeSid(sid_);
  }

  DWORD Make(ULONG count) { return SetEntriesInAclW(count, &entry_, nullptr, &list_); }

  void MakeDescriptor() {
    ASSERT_EQ(Make(1), DWORD{ERROR_SUCCESS});
    ASSERT_NE(InitializeSecurityDescriptor(&descriptor_, SECURITY_DESCRIPTOR_REVISION), 0);
    ASSERT_NE(SetSecurityDescriptorDacl(&descriptor_, TRUE, list_, FALSE), 0);
  }

  PSID sid_ = nullptr;
  EXPLICIT_ACCESS_W entry_ = {};
  PACL list_ = nullptr;
  SECURITY_DESCRIPTOR descriptor_ = {};
};

constexpr unsigned char kSelfRelative[] = {
    1, 0, 4,  0x80, 0, 0, 0, 0,    0, 0, 0, 0, 0, 0, 0, 0, 20, 0, 0, 0,                // descriptor
    2, 0, 32, 0,    1, 0, 0, 0,                                                        // list
    0, 0, 24, 0,    0, 0, 0, 0x10, 1, 2, 0, 0, 0, 0, 0, 5, 32, 0, 0, 0, 32, 2, 0, 0};  // entry

TEST_F(AccessList, KeepsGenericRightsUnmapped) {
  ASSERT_EQ(Make(1), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(std::memcmp(list_, kSelfRelative + 20, 32), 0);
}

TEST_F(AccessList, WithoutEntriesThereIsNone) {
  EXPECT_EQ(Make(0), DWORD{ERROR_SUCCESS});
  EXPECT_EQ(list_, nullptr);
}

TEST_F(AccessList, MalformedIdentifierIsRefused) {
  unsigned char malformed[16] = {};
  std::memcpy(malformed, sid_, sizeof malformed);
  malformed[0] = 99;
  entry_.Trustee.ptstrName = reinterpret_cast<LPWSTR>(malformed);
  EXPECT_EQ(Make(1), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(list_, nullptr);
}

TEST_F(AccessList, DescriptorPointsToIt) {
  MakeDescriptor();
  EXPECT_EQ(descriptor_.Control, SE_DACL_PRESENT);
  EXPECT_EQ(descriptor_.Dacl, list_);
  EXPECT_EQ(descriptor_.Owner, nullptr);
}

TEST_F(AccessList, SelfRelativeFormTellsItsSizeFirst) {
  MakeDescriptor();
  DWORD size = 0;
  EXPECT_EQ(MakeSelfRelativeSD(&descriptor_, nullptr, &size), 0);
  EXPECT_EQ(LastError(), 122u);
  EXPECT_EQ(size, 52u);
  std::vector<unsigned char> block(size);
  DWORD tooShort = size - 1;
  EXPECT_EQ(MakeSelfRelativeSD(&descriptor_, block.data(), &tooShort), 0);
  EXPECT_EQ(LastError(), 122u);
  EXPECT_EQ(tooShort, 52u);
}

TEST_F(AccessList, SelfRelativeFormHoldsAllParts) {
  MakeDescriptor();
  unsigned char block[sizeof kSelfRelative] = {};
  DWORD size = sizeof block;
  ASSERT_NE(MakeSelfRelativeSD(&descriptor_, block, &size), 0);
  EXPECT_EQ(std::memcmp(block, kSelfRelative, sizeof block), 0);
}

TEST_F(AccessList, SelfRelativeFormCanBeProtected) {
  MakeDescriptor();
  unsigned char block[sizeof kSelfRelative] = {};
  DWORD size = sizeof block;
  ASSERT_NE(MakeSelfRelativeSD(&descriptor_, block, &size), 0);
  ASSERT_NE(SetSecurityDescriptorControl(block, SE_DACL_PROTECTED, SE_DACL_PROTECTED), 0);
  EXPECT_EQ(block[3], 0x90);
  ASSERT_NE(SetSecurityDescriptorControl(block, SE_DACL_PROTECTED, 0), 0);
  EXPECT_EQ(block[3], 0x80);
}

TEST_F(AccessList, IsTakenForANewFile) {
  MakeDescriptor();
  unsigned char block[sizeof kSelfRelative] = {};
  DWORD size = sizeof block;
  ASSERT_NE(MakeSelfRelativeSD(&descriptor_, block, &size), 0);
  SECURITY_ATTRIBUTES attributes = {sizeof attributes, block, FALSE};
  const WindowsApi::ScratchFolder folder;
  const std::wstring path = folder.In(L"guarded");
  const Halvard::Host::UniqueFile file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, &attributes,
                                                   CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  EXPECT_TRUE(file);
}

TEST(LocalFree, AnswersNull) { EXPECT_EQ(LocalFree(nullptr), nullptr); }

}  // namespace
