#include "security/security_descriptor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "files/rights.h"
#include "host/failing_allocation.h"
#include "machine/machine.h"
#include "machine/text.h"
#include "support/lab_instance.h"
#include "support/log_lines.h"

namespace {

bool gSizeIsNotAsked = false;

}  // namespace

extern "C" BOOL __real__Z18MakeSelfRelativeSDPvS_Pj(PSECURITY_DESCRIPTOR absolute,
                                                    PSECURITY_DESCRIPTOR selfRelative,
                                                    LPDWORD bytes);
extern "C" BOOL __wrap__Z18MakeSelfRelativeSDPvS_Pj(PSECURITY_DESCRIPTOR absolute,
                                                    PSECURITY_DESCRIPTOR selfRelative,
                                                    LPDWORD bytes);

/// In place of the system's: can succeed without a buffer, which no plan of failures brings about.
BOOL __wrap__Z18MakeSelfRelativeSDPvS_Pj(PSECURITY_DESCRIPTOR absolute,
                                         PSECURITY_DESCRIPTOR selfRelative, LPDWORD bytes) {
  if (gSizeIsNotAsked) return TRUE;
  return __real__Z18MakeSelfRelativeSDPvS_Pj(absolute, selfRelative, bytes);
}

namespace Halvard::Security {
namespace {

using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::OwnLog;

class SecurityDescriptor : public testing::Test {
 protected:
  ~SecurityDescriptor() override {
    // Whatever failed, the list and the identifier are gone.
    const auto calls = [](const char* function) {
      return Lab::TheMachine().Faults().Calls(function);
    };
    EXPECT_EQ(calls("LocalFree"), lists_);
    EXPECT_EQ(calls("FreeSid"), identifiers_);
  }

  void Fail(const char* function, std::uint32_t call, std::uint32_t error) {
    machine_.PlanFault({.function = function, .call = call, .error = error});
  }

  /// Makes a file with the descriptor. \return Its access list.
  std::string ListOfFileMadeWith(const OwnedDescriptor& descriptor) {
    SECURITY_ATTRIBUTES attributes = {sizeof attributes, descriptor.get(), FALSE};
    const std::wstring path = L"C:\\guarded";
    const Host::UniqueFile file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, &attributes,
                                            CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    EXPECT_TRUE(file);
    return Lab::AccessListOf(machine_.HostPath(path));
  }

  Lab::Instance machine_;
  std::uint32_t lists_ = 0;
  std::uint32_t identifiers_ = 0;
};

TEST_F(SecurityDescriptor, AdmitsAdministratorsAlone) {
  lists_ = identifiers_ = 1;
  const OwnedDescriptor descriptor = AllocateAdministratorsDescriptor();
  ASSERT_NE(descriptor, nullptr);
  constexpr unsigned char kExpected[] = {
      1, 0, 4, 0x90, 0,  0, 0, 0, 0, 0,    0, 0, 0, 0, 0, 0, 20, 0, 0,  0, 2, 0, 32, 0, 1, 0,
      0, 0, 0, 0,    24, 0, 0, 0, 0, 0x10, 1, 2, 0, 0, 0, 0, 0,  5, 32, 0, 0, 0, 32, 2, 0, 0};
  static_assert(sizeof kExpected == 52);
  EXPECT_EQ(std::memcmp(descriptor.get(), kExpected, sizeof kExpected), 0);
  EXPECT_EQ(ListOfFileMadeWith(descriptor), "D:P(A;;FA;;;BA)");
  EXPECT_THAT(OwnLog(), IsEmpty());
}

TEST_F(SecurityDescriptor, LetsInWhomTheFolderLetsInUnlessProtected) {
  lists_ = 1;
  EXPLICIT_ACCESS_W entry = {};
  ASSERT_TRUE(InitializeExplicitAccess(1, 18, 0, 0x120089, entry));
  const OwnedDescriptor descriptor = AllocateSecurityDescriptor(1, &entry);
  ASSERT_NE(descriptor, nullptr);
  const std::string user = Lab::ToUtf8(Lab::TheMachine().Describe().userSid);
  EXPECT_EQ(ListOfFileMadeWith(descriptor),
            "D:AI(A;;0x120089;;;SY)(A;ID;FA;;;SY)(A;ID;FA;;;BA)(A;ID;FA;;;" + user + ")");
  FreeSid(entry.Trustee.ptstrName);
  identifiers_ = 1;
}

TEST_F(SecurityDescriptor, DoesNotReachAFileThatIsThere) {
  lists_ = identifiers_ = 1;
  machine_.WriteFile(L"C:\\guarded", "planted");
  const OwnedDescriptor descriptor = AllocateAdministratorsDescriptor();
  EXPECT_EQ(ListOfFileMadeWith(descriptor).substr(0, 4), "D:AI");
}

TEST_F(SecurityDescriptor, EntryNamesAWellKnownGroup) {
  EXPLICIT_ACCESS_W entry = {};
  ASSERT_TRUE(InitializeExplicitAccess(2, 32, 544, 0x10000000, entry));
  EXPECT_EQ(entry.grfAccessPermissions, DWORD{0x10000000});
  EXPECT_EQ(static_cast<int>(entry.grfAccessMode), 2);
  EXPECT_EQ(entry.grfInheritance, DWORD{0});
  EXPECT_EQ(entry.Trustee.pMultipleTrustee, nullptr);
  EXPECT_EQ(static_cast<int>(entry.Trustee.MultipleTrusteeOperation), 0);
  EXPECT_EQ(static_cast<int>(entry.Trustee.TrusteeForm), 0);
  EXPECT_EQ(static_cast<int>(entry.Trustee.TrusteeType), 5);
  constexpr unsigned char kSid[] = {1, 2, 0, 0, 0, 0, 0, 5, 32, 0, 0, 0, 32, 2, 0, 0};
  EXPECT_EQ(std::memcmp(entry.Trustee.ptstrName, kSid, sizeof kSid), 0);
  FreeSid(entry.Trustee.ptstrName);
  identifiers_ = 1;
}

TEST_F(SecurityDescriptor, NeedsAnIdentifier) {
  Fail("AllocateAndInitializeSid", 1, 1337);
  EXPECT_EQ(AllocateAdministratorsDescriptor(), nullptr);
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(L"InitializeExplicitAccess: Unable to alloc SID: 1337")));
}

TEST_F(SecurityDescriptor, RefusesAListWithoutEntries) {
  EXPECT_EQ(AllocateSecurityDescriptor(0, nullptr), nullptr);
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"AllocateSecurityDescriptor: Unable to set security "
                                              L"entries in ACL: 87")));
}

struct FailureCase {
  const char* function;
  std::uint32_t call;
  std::uint32_t error;
  Testing::LogLine line;
  std::uint32_t lists;
};

class DescriptorFailure : public SecurityDescriptor,
                          public testing::WithParamInterface<FailureCase> {};

TEST_P(DescriptorFailure, IsLoggedWithItsOwnCode) {
  const FailureCase& row = GetParam();
  Fail(row.function, row.call, row.error);
  // A code from elsewhere, which none of the lines may show.
  SetLastError(4711);
  EXPECT_EQ(AllocateAdministratorsDescriptor(), nullptr);
  EXPECT_THAT(OwnLog(), ElementsAre(row.line));
  lists_ = row.lists;
  identifiers_ = 1;
}

INSTANTIATE_TEST_SUITE_P(
    Calls, DescriptorFailure,
    testing::Values(
        FailureCase{
            "SetEntriesInAclW", 1, 8,
            ErrorLine(L"AllocateSecurityDescriptor: Unable to set security entries in ACL: 8"), 0},
        FailureCase{
            "InitializeSecurityDescriptor", 1, 1305,
            InfoLine(L"AllocateSecurityDescriptor: Unable to initialize security descriptor: 1305"),
            1},
        FailureCase{
            "SetSecurityDescriptorDacl", 1, 1338,
            InfoLine(
                L"AllocateSecurityDescriptor: Unable to set DACL in security descriptor: 1338"),
            1},
        FailureCase{
            "MakeSelfRelativeSD", 1, 1361,
            ErrorLine(L"AllocateSecurityDescriptor: Unable to determine relative SD length: 1361"),
            1},
        FailureCase{"MakeSelfRelativeSD", 2, 1340,
                    InfoLine(L"AllocateSecurityDescriptor: Unable to make relative SD: 1340"), 1},
        FailureCase{"SetSecurityDescriptorControl", 1, 1336,
                    ErrorLine(L"AllocateAdministratorsDescriptor: Unable to protect DACL: 1336"),
                    1}),
    [](const auto& row) {
      return std::string(row.param.function) + std::to_string(row.param.call);
    });

TEST_F(SecurityDescriptor, ConversionMayNotSucceedWithoutABuffer) {
  gSizeIsNotAsked = true;
  EXPECT_EQ(AllocateAdministratorsDescriptor(), nullptr);
  gSizeIsNotAsked = false;
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"AllocateSecurityDescriptor: MakeSelfRelativeSD "
                                             L"succeeded with a zero length buffer.")));
  lists_ = identifiers_ = 1;
}

TEST_F(SecurityDescriptor, NeedsMemory) {
  const Testing::FailingAllocation failing;
  EXPECT_EQ(AllocateAdministratorsDescriptor(), nullptr);
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"AllocateSecurityDescriptor: Unable to allocate "
                                             L"relative security descriptor.")));
  lists_ = identifiers_ = 1;
}

}  // namespace
}  // namespace Halvard::Security
