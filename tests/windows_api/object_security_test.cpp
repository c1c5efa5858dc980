// Rights of folders and of what is made in them, and the tokens that are needed to ask.
#include <cstddef>
#include <thread>
#include <vector>

#include "host/authorization_api.h"
#include "scratch_folder.h"
#include "support.h"
#include "what_wine_lacks.h"

namespace {

using WindowsApi::LastError;

constexpr SECURITY_INFORMATION kWanted =
    OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;

std::vector<std::byte> SecurityOf(const std::wstring& folder) {
  DWORD size = 0;
  (void)GetFileSecurityW(folder.c_str(), kWanted, nullptr, 0, &size);
  std::vector<std::byte> descriptor(size);
  EXPECT_NE(GetFileSecurityW(folder.c_str(), kWanted, descriptor.data(), size, &size), 0);
  return descriptor;
}

/// A self-relative descriptor's control word.
unsigned ControlOf(const std::vector<std::byte>& descriptor) {
  return std::to_integer<unsigned>(descriptor.at(2)) | std::to_integer<unsigned>(descriptor.at(3))
                                                           << 8;
}

TEST(FileSecurity, TellsItsSizeFirst) {
  const WindowsApi::ScratchFolder scratch;
  DWORD size = 0;
  EXPECT_EQ(GetFileSecurityW(scratch.Path().c_str(), kWanted, nullptr, 0, &size), 0);
  EXPECT_EQ(LastError(), unsigned{ERROR_INSUFFICIENT_BUFFER});
  const DWORD needed = size;
  ASSERT_GT(needed, 20u);
  std::vector<std::byte> descriptor(needed);
  size = 0;
  EXPECT_EQ(GetFileSecurityW(scratch.Path().c_str(), kWanted, descriptor.data(), needed - 1, &size),
            0);
  EXPECT_EQ(LastError(), unsigned{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_EQ(size, needed);
  EXPECT_NE(GetFileSecurityW(scratch.Path().c_str(), kWanted, descriptor.data(), needed, &size), 0);
  EXPECT_EQ(ControlOf(descriptor) & 0x8004, 0x8004u);
}

TEST(FileSecurity, MissingFolderHasNone) {
  const WindowsApi::ScratchFolder scratch;
  DWORD size = 0;
  EXPECT_EQ(GetFileSecurityW(scratch.In(L"none").c_str(), kWanted, nullptr, 0, &size), 0);
  EXPECT_EQ(LastError(), unsigned{ERROR_FILE_NOT_FOUND});
}

TEST(ThreadToken, ThereIsNoneUntilTheThreadActsForSomebody) {
  HANDLE token = nullptr;
  EXPECT_EQ(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token), 0);
  EXPECT_EQ(LastError(), unsigned{ERROR_NO_TOKEN});
  ASSERT_NE(ImpersonateSelf(SecurityImpersonation), 0);
  EXPECT_NE(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token), 0);
  std::thread([] {
    HANDLE other = nullptr;
    EXPECT_EQ(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &other), 0);
  }).join();
  EXPECT_NE(RevertToSelf(), 0);
  HANDLE again = nullptr;
  EXPECT_EQ(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &again), 0);
  EXPECT_NE(CloseHandle(token), 0);
}

TEST(WellKnownSid, OfTheAdministrators) {
  constexpr unsigned char kAdministrators[] = {1, 2, 0, 0, 0, 0, 0, 5, 32, 0, 0, 0, 32, 2, 0, 0};
  unsigned char sid[64] = {};
  DWORD size = 15;
  EXPECT_EQ(CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid, &size), 0);
  EXPECT_EQ(LastError(), unsigned{ERROR_INSUFFICIENT_BUFFER});
  EXPECT_EQ(size, 16u);
  size = sizeof sid;
  ASSERT_NE(CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid, &size), 0);
  EXPECT_EQ(size, 16u);
  EXPECT_TRUE(std::equal(std::begin(kAdministrators), std::end(kAdministrators), sid));
}

TEST(AllAccesses, AreGrantedWhenNoneIsMissing) {
  EXPECT_NE(AreAllAccessesGranted(0x120089, 0x120089), 0);
  EXPECT_NE(AreAllAccessesGranted(0x1F01FF, 0x120089), 0);
  EXPECT_EQ(AreAllAccessesGranted(0x120088, 0x120089), 0);
  EXPECT_EQ(AreAllAccessesGranted(0x10000000, 0x1), 0);
  EXPECT_NE(AreAllAccessesGranted(0, 0), 0);
}

class ObjectSecurity : public testing::Test {
 protected:
  ObjectSecurity() : parent_(SecurityOf(scratch_.Path())) {
    EXPECT_NE(ImpersonateSelf(SecurityImpersonation), 0);
    EXPECT_NE(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token_), 0);
    EXPECT_NE(RevertToSelf(), 0);
    DWORD size = sizeof administrators_;
    EXPECT_NE(CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, administrators_, &size), 0);
  }
  ~ObjectSecurity() override { CloseHandle(token_); }

  const WindowsApi::ScratchFolder scratch_;
  std::vector<std::byte> parent_;
  HANDLE token_ = nullptr;
  unsigned char administrators_[64] = {};
};

TEST_F(ObjectSecurity, IsMadeForFoldersAndFilesAndGoesWithItsOwner) {
  SKIP_ON_WINE("Wine makes the same descriptor for everything");
  for (const BOOL isContainer : {TRUE, FALSE}) {
    GENERIC_MAPPING mapping = {FILE_GENERIC_READ, FILE_GENERIC_WRITE, FILE_GENERIC_EXECUTE,
                               FILE_ALL_ACCESS};
    PSECURITY_DESCRIPTOR made = nullptr;
    ASSERT_NE(
        CreatePrivateObjectSecurity(parent_.data(), nullptr, &made, isContainer, token_, &mapping),
        0);
    ASSERT_NE(made, nullptr);
    EXPECT_NE(DestroyPrivateObjectSecurity(&made), 0);
    EXPECT_EQ(made, nullptr);
  }
}

TEST_F(ObjectSecurity, AdministratorsAreGrantedAllOfAFolderOfTheirs) {
  SKIP_ON_BARE_WINE("Wine has no Authz");
  AUTHZ_RESOURCE_MANAGER_HANDLE manager = nullptr;
  ASSERT_NE(AuthzInitializeResourceManager(AUTHZ_RM_FLAG_NO_AUDIT, nullptr, nullptr, nullptr,
                                           nullptr, &manager),
            0);
  AUTHZ_CLIENT_CONTEXT_HANDLE context = nullptr;
  ASSERT_NE(AuthzInitializeContextFromSid(AUTHZ_SKIP_TOKEN_GROUPS, administrators_, manager,
                                          nullptr, LUID{}, nullptr, &context),
            0);
  AUTHZ_ACCESS_REQUEST request = {};
  request.DesiredAccess = MAXIMUM_ALLOWED;
  DWORD granted = 0;
  DWORD audit = 0;
  DWORD error = 99;
  AUTHZ_ACCESS_REPLY reply = {};
  reply.ResultListLength = 1;
  reply.GrantedAccessMask = &granted;
  reply.SaclEvaluationResults = &audit;
  reply.Error = &error;
  EXPECT_NE(
      AuthzAccessCheck(0, context, &request, nullptr, parent_.data(), nullptr, 0, &reply, nullptr),
      0);
  EXPECT_EQ(granted, DWORD{FILE_ALL_ACCESS});
  EXPECT_EQ(error, DWORD{ERROR_SUCCESS});
  EXPECT_NE(AuthzFreeContext(context), 0);
  EXPECT_NE(AuthzFreeResourceManager(manager), 0);
}

}  // namespace
