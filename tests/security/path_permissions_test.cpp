#include "security/path_permissions.h"

#include "core/core_test.h"
#include "host/failing_allocation.h"
#include "host/windows_api.h"
#include "machine/handles.h"
#include "security/sddl.h"

namespace Halvard::Security {
namespace {

using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::FailingAllocation;
using Testing::InfoLine;
using Testing::LogLine;
using Testing::OwnLog;
using Testing::WarningLine;

constexpr PathPermissions kAll{true, true, true, true, true, true};

/// As "RWEDCA", with a point for each that isn't granted.
std::string Letters(const PathPermissions& permissions) {
  std::string text;
  text += permissions.read ? 'R' : '.';
  text += permissions.write ? 'W' : '.';
  text += permissions.execute ? 'E' : '.';
  text += permissions.deleteSelf ? 'D' : '.';
  text += permissions.deleteChild ? 'C' : '.';
  text += permissions.acl ? 'A' : '.';
  return text;
}

class PathRights : public CoreTest {
 protected:
  PathRights() : handles_(Lab::Handles().OpenTypes()) { machine_.MakeFolder(L"C:\\x"); }
  ~PathRights() override { EXPECT_EQ(Lab::Handles().OpenTypes(), handles_); }

  void SetRights(const char* folder, const char* rights) {
    Json::Value described;
    described[folder] = rights;
    machine_.Set("/folderRights", described);
  }

  std::string Rights(const std::wstring& path, bool isContainer) {
    PathPermissions permissions;
    return GetPathPermissions(path, permissions, isContainer) ? Letters(permissions) : "failed";
  }

  std::string Access(const std::wstring& path) {
    PathPermissions permissions;
    return GetDirectoryAccess(path, permissions) ? Letters(permissions) : "failed";
  }

  static std::wstring Line(const std::wstring& text) { return L"GetPathPermissions: " + text; }

 private:
  const std::vector<std::string> handles_;
};

struct Mask {
  const wchar_t* rights;
  const char* letters;
};

TEST_F(PathRights, EachFlagNeedsItsWholeMask) {
  constexpr Mask kRows[] = {
      {L"FA", "RWEDCA"},       {L"0x120089", "R....."}, {L"0x120088", "......"},
      {L"0x120116", ".W...."}, {L"0x120016", "......"}, {L"0x1200a1", "..E..."},
      {L"0x1200a0", "......"}, {L"0x10000", "...D.."},  {L"0x40", "....C."},
      {L"0xe0000", ".....A"},  {L"0x60000", "......"},  {L"0x1301bf", "RWED.."},
      {L"GA", "......"}};
  unsigned char sid[64] = {};
  DWORD size = sizeof sid;
  ASSERT_NE(CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid, &size), 0);
  for (const Mask& row : kRows) {
    auto descriptor =
        Lab::SelfRelativeForm(Lab::ParseSddl(std::wstring(L"O:SYD:(A;;") + row.rights + L";;;BA)"));
    PathPermissions permissions;
    EXPECT_TRUE(CheckSidAccess(descriptor.data(), sid, permissions));
    EXPECT_EQ(Letters(permissions), row.letters) << testing::PrintToString(row.rights);
  }
}

TEST_F(PathRights, CheckOnlyEverAdds) {
  unsigned char sid[64] = {};
  DWORD size = sizeof sid;
  ASSERT_NE(CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid, &size), 0);
  auto descriptor = Lab::SelfRelativeForm(Lab::ParseSddl(L"O:SYD:"));
  PathPermissions permissions = kAll;
  EXPECT_TRUE(CheckSidAccess(descriptor.data(), sid, permissions));
  EXPECT_EQ(permissions, kAll);
}

TEST_F(PathRights, OfAnUsualFolderAreWhole) {
  EXPECT_EQ(Access(L"C:\\x"), "RWEDCA");
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(Line(L"Longest existing path for \"C:\\x\" is \"C:\\x\\\"")),
                          InfoLine(Line(L"Dir  \"C:\\x\": R: 1 W: 1 E: 1 D: 1 Dc: 1 ACL: 1")),
                          InfoLine(Line(L"Longest existing path for \"C:\\x\" is \"C:\\x\\\"")),
                          InfoLine(Line(L"File \"C:\\x\": R: 1 W: 1 E: 1 D: 1 Dc: 1 ACL: 1"))));
}

struct Folder {
  const char* rights;
  const char* ofFolders;
  const char* ofFiles;
  const char* together;
};

TEST_F(PathRights, OwnAndInheritedOnesBothCount) {
  constexpr Folder kRows[] = {
      // Passes itself, and hands nothing on to administrators.
      {"O:BAD:(A;;FA;;;BA)(A;OICI;FA;;;SY)", "......", "......", "......"},
      // Hands everything on, and lets nobody in itself but its owner to its list.
      {"O:BAD:(A;OICIIO;FA;;;BA)", "......", "......", "......"},
      // Nothing is handed on to files: they get the user's default.
      {"O:BAD:(A;CI;FA;;;BA)", "RWEDCA", "RWEDCA", "RWEDCA"},
      // Generic rights are mapped in what is handed on, and not in the folder's own entry.
      {"O:BAD:(A;OICI;GA;;;BA)", "......", "......", "......"},
      {"O:SYD:(A;OICI;0x1301ff;;;BA)", "RWEDC.", "RWEDC.", "RWEDC."},
      // The right to delete children counts for folders alone.
      {"O:SYD:(A;;FA;;;BA)(A;CI;FA;;;BA)(A;OI;0x1f01bf;;;BA)", "RWEDCA", "RWED.A", "RWEDCA"},
      {"O:SYD:(A;;FA;;;BA)(A;CI;0x1f01bf;;;BA)(A;OI;FA;;;BA)", "RWED.A", "RWEDCA", "RWED.A"},
      {"O:SYD:(D;OICI;0x10000;;;BA)(A;OICI;FA;;;BA)", "RWE.CA", "RWE.CA", "RWE.CA"},
      // What everyone may do isn't asked.
      {"O:SYD:(A;OICI;FA;;;WD)", "......", "......", "......"},
      {"O:SYD:NO_ACCESS_CONTROL", "RWEDCA", "RWEDCA", "RWEDCA"},
  };
  for (const Folder& row : kRows) {
    SCOPED_TRACE(row.rights);
    SetRights("C:\\x", row.rights);
    EXPECT_EQ(Rights(L"C:\\x", true), row.ofFolders);
    EXPECT_EQ(Rights(L"C:\\x", false), row.ofFiles);
    EXPECT_EQ(Access(L"C:\\x"), row.together);
  }
}

TEST_F(PathRights, OfAFolderToComeAreWhatItsParentHandsOn) {
  SetRights("C:\\x", "O:BAD:(A;OICIIO;FA;;;BA)");
  EXPECT_EQ(Rights(L"C:\\x\\new\\newer", true), "RWEDCA");
  EXPECT_EQ(Rights(L"C:\\x\\new\\newer", false), "RWEDCA");
  EXPECT_THAT(
      OwnLog(),
      Contains(InfoLine(Line(L"Longest existing path for \"C:\\x\\new\\newer\" is \"C:\\x\\\""))));
}

TEST_F(PathRights, KindsOfFoldersAreWarnedOf) {
  Json::Value attributes;
  for (const char* name : {"compressed", "system", "encrypted"}) attributes["C:\\x"].append(name);
  machine_.Set("/folderAttributes", attributes);
  EXPECT_EQ(Rights(L"C:\\x", true), "RWEDCA");
  std::vector<LogLine> log = OwnLog();
  log.erase(log.begin());
  log.pop_back();
  EXPECT_THAT(log, ElementsAre(WarningLine(Line(L"\"C:\\x\\\" is compressed: 0x00004814")),
                               WarningLine(Line(L"\"C:\\x\\\" is system: 0x00004814")),
                               WarningLine(Line(L"\"C:\\x\\\" is encrypted: 0x00004814"))));
}

TEST_F(PathRights, TheRootOfADriveIsTheSystems) {
  EXPECT_EQ(Rights(L"C:\\new", true), "RWEDCA");
  EXPECT_THAT(OwnLog(), Contains(WarningLine(Line(L"\"C:\\\" is system: 0x00000016"))));
}

TEST_F(PathRights, NeedAPathThatCanBeLookedAt) {
  machine_.WriteFile(L"C:\\file", "");
  EXPECT_EQ(Rights(L"C:\\file\\x", true), "failed");
  EXPECT_EQ(OwnLog().back(), ErrorLine(Line(L"Failed to get existing path for \"C:\\file\\x\"")));
  EXPECT_EQ(Access(L"C:\\file"), "failed");
}

struct Failure {
  const char* function;
  unsigned call;
  unsigned error;
  wchar_t level;
  const wchar_t* line;
};

class FailingCall : public PathRights, public testing::WithParamInterface<Failure> {};

TEST_P(FailingCall, IsToldAndEndsTheCheck) {
  const auto& [function, call, error, level, line] = GetParam();
  machine_.PlanFault({.function = function, .call = call, .error = error});
  EXPECT_EQ(Rights(L"C:\\x", true), "failed");
  EXPECT_EQ(OwnLog().back(), level == L'E' ? ErrorLine(Line(line)) : InfoLine(Line(line)));
  // Whatever failed, the thread acts for itself again.
  HANDLE token = nullptr;
  if (std::string(function) != "RevertToSelf") {
    EXPECT_EQ(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token), 0);
  }
  (void)RevertToSelf();
}

INSTANTIATE_TEST_SUITE_P(
    Calls, FailingCall,
    testing::Values(
        // The walk along the path has asked twice.
        Failure{"GetFileAttributesW", 3, 5, L'E', L"Failed to query attrs of \"C:\\x\\\": 5"},
        Failure{"OpenThreadToken", 1, 6, L'I', L"Failed to open thread token: 6"},
        Failure{"OpenThreadToken", 2, 7, L'I', L"Failed to open thread token: 7"},
        Failure{"ImpersonateSelf", 1, 8, L'I', L"Failed to impersonate self: 8"},
        Failure{"RevertToSelf", 1, 9, L'I', L"Failed to revert: 9"},
        Failure{"GetFileSecurityW", 1, 5, L'E', L"Failed to get sd size of \"C:\\x\\\": 5"},
        Failure{"GetFileSecurityW", 2, 5, L'E', L"Failed to get sd of \"C:\\x\\\": 5"},
        Failure{"CreatePrivateObjectSecurity", 1, 87, L'E',
                L"Failed to create private container object security: 87"},
        Failure{"CreateWellKnownSid", 1, 87, L'I',
                L"Failed to check inherited Halvard permissions"},
        Failure{"CreateWellKnownSid", 2, 87, L'I', L"Failed to check Halvard permissions"},
        Failure{"AuthzInitializeResourceManager", 1, 5, L'I',
                L"Failed to check inherited Halvard permissions"},
        Failure{"AuthzAccessCheck", 2, 5, L'I', L"Failed to check Halvard permissions"}),
    [](const auto& row) {
      return std::string(row.param.function) + std::to_string(row.param.call);
    });

struct CheckFailure {
  const char* function;
  unsigned error;
  LogLine line;
};

TEST_F(PathRights, FailedAccessChecksTellTheirStep) {
  const CheckFailure rows[] = {
      {"AuthzInitializeResourceManager", 5,
       ErrorLine(L"CheckSidAccess: Failed to init manager: 5")},
      {"AuthzInitializeContextFromSid", 1332,
       WarningLine(L"CheckSidAccess: Couldn't init context for sid (none mapped)")},
      {"AuthzInitializeContextFromSid", 1355,
       ErrorLine(L"CheckSidAccess: Failed to init context from sid: 1355")},
      {"AuthzAccessCheck", 87, ErrorLine(L"CheckSidAccess: AuthzAccessCheck failed: 87")}};
  for (const CheckFailure& row : rows) {
    machine_.Remove("/faults");
    machine_.PlanFault({.function = row.function, .call = 1, .error = row.error});
    EXPECT_EQ(Rights(L"C:\\x", true), "failed");
    EXPECT_THAT(OwnLog(), Contains(row.line));
  }
}

TEST_F(PathRights, MissingMemoryIsToldAndEndsTheCheck) {
  const FailingAllocation noMemory;
  EXPECT_EQ(Rights(L"C:\\x", true), "failed");
  EXPECT_EQ(OwnLog().back(), ErrorLine(Line(L"Failed to allocate memory for the SD")));
}

TEST_F(PathRights, AThreadThatActsForSomebodyGoesOnDoingSo) {
  ASSERT_NE(ImpersonateSelf(SecurityImpersonation), 0);
  EXPECT_EQ(Rights(L"C:\\x", true), "RWEDCA");
  HANDLE token = nullptr;
  EXPECT_NE(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token), 0);
  CloseHandle(token);
  (void)RevertToSelf();
}

TEST(Permissions, AreCommonWhereBothGrantThem) {
  const PathPermissions some{true, false, true, false, true, false};
  EXPECT_EQ(Common(kAll, some), some);
  EXPECT_EQ(Common(some, kAll), some);
  EXPECT_EQ(Common(kAll, kAll), kAll);
  EXPECT_EQ(Common({}, kAll), PathPermissions());
}

}  // namespace
}  // namespace Halvard::Security
