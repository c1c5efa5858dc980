#include "security/existing_path.h"

#include "core/core_test.h"

namespace Halvard::Security {
namespace {

using testing::ElementsAre;
using Testing::ErrorLine;
using testing::IsEmpty;
using Testing::OwnLog;

class ExistingPath : public CoreTest {
 protected:
  ExistingPath() {
    machine_.MakeFolder(L"C:\\a \u00e4\\b");
    machine_.WriteFile(L"C:\\a \u00e4\\file.txt", "");
  }

  bool Look(const std::wstring& path) { return LongestPathThatExists(path, longest_, whole_); }

  std::wstring longest_ = L"before";
  bool whole_ = true;
};

struct Existing {
  const wchar_t* path;
  const wchar_t* longest;
  bool whole;
};

TEST_F(ExistingPath, IsFoundFromTheLeft) {
  constexpr Existing kRows[] = {
      {L"C:\\", L"C:\\", true},
      {L"C:\\a \u00e4", L"C:\\a \u00e4\\", true},
      {L"C:\\a \u00e4\\", L"C:\\a \u00e4\\", true},
      {L"C:\\A \u00c4\\B", L"C:\\A \u00c4\\B\\", true},
      {L"C:\\a \u00e4\\c", L"C:\\a \u00e4\\", false},
      {L"C:\\a \u00e4\\c\\d\\e", L"C:\\a \u00e4\\", false},
      {L"C:\\new", L"C:\\", false},
  };
  for (const Existing& row : kRows) {
    EXPECT_TRUE(Look(row.path)) << testing::PrintToString(row.path);
    EXPECT_EQ(longest_, row.longest);
    EXPECT_EQ(whole_, row.whole);
  }
  EXPECT_THAT(OwnLog(), IsEmpty());
}

TEST_F(ExistingPath, NothingOfItMayBeThere) {
  EXPECT_FALSE(Look(L"Q:\\a"));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(ErrorLine(L"LongestPathThatExists: Failed to find any part of \"Q:\\a\\\"")));
  EXPECT_EQ(longest_, L"");
  EXPECT_FALSE(whole_);
}

TEST_F(ExistingPath, AFileIsRefused) {
  EXPECT_FALSE(Look(L"C:\\a \u00e4\\file.txt\\below"));
  EXPECT_FALSE(Look(L"C:\\a \u00e4\\file.txt"));
  const auto line = ErrorLine(
      L"LongestPathThatExists: \"C:\\a \u00e4\\file.txt\\\" is not a directory: 0x00000020");
  EXPECT_THAT(OwnLog(), ElementsAre(line, line));
}

TEST_F(ExistingPath, AFolderThatMayNotBeLookedAtIsNamed) {
  machine_.PlanFault({.function = "GetFileAttributesW", .match = L"\\b", .error = 5});
  EXPECT_FALSE(Look(L"C:\\a \u00e4\\b\\c"));
  EXPECT_EQ(longest_, L"C:\\a \u00e4\\b\\");
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"LongestPathThatExists: Lack permission on "
                                              L"directory \"C:\\a \u00e4\\b\\\", failed")));
}

TEST_F(ExistingPath, AnyOtherCodeIsUnexpected) {
  machine_.PlanFault({.function = "GetFileAttributesW", .call = 2, .error = 21});
  EXPECT_FALSE(Look(L"C:\\a \u00e4\\b"));
  EXPECT_FALSE(Look(L"C:\\a|b"));
  EXPECT_FALSE(Look(L"\\\\server\\share"));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          ErrorLine(L"LongestPathThatExists: Unexpected error on directory \"C:\\a \u00e4\\\": 21"),
          ErrorLine(L"LongestPathThatExists: Unexpected error on directory \"C:\\a|b\\\": 123"),
          ErrorLine(L"LongestPathThatExists: Unexpected error on directory \"\\\\\": 53")));
}

TEST_F(ExistingPath, HasRoomForTheBackslash) {
  EXPECT_TRUE(Look(L"C:\\" + std::wstring(255, L'x')));
  EXPECT_TRUE(Look(L"C:\\" + std::wstring(255, L'x') + L"\\"));
  EXPECT_FALSE(Look(L"C:\\" + std::wstring(256, L'x')));
  EXPECT_FALSE(Look(L"C:\\" + std::wstring(257, L'x')));
  EXPECT_FALSE(Look(std::wstring(5'000, L'x')));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          ErrorLine(L"LongestPathThatExists: Failed to add backslash using PathAddBackslash()."),
          ErrorLine(L"LongestPathThatExists: Failed to copy the input string to buffer."),
          ErrorLine(L"LongestPathThatExists: Failed to copy the input string to buffer.")));
}

TEST_F(ExistingPath, ARefusedBackslashIsAFailure) {
  machine_.PlanFault({.function = "PathAddBackslashW", .error = 1});
  EXPECT_FALSE(Look(L"C:\\"));
  EXPECT_THAT(OwnLog(),
              ElementsAre(ErrorLine(
                  L"LongestPathThatExists: Failed to add backslash using PathAddBackslash().")));
}

TEST(NameOfFolder, LosesItsBackslashUnlessItIsARoot) {
  EXPECT_EQ(NameOfFolder(L"C:\\a\\"), L"C:\\a");
  EXPECT_EQ(NameOfFolder(L"C:\\a"), L"C:\\a");
  EXPECT_EQ(NameOfFolder(L"C:\\"), L"C:\\");
  EXPECT_EQ(NameOfFolder(L"\\"), L"\\");
  EXPECT_EQ(NameOfFolder(L"\\\\"), L"\\\\");
  EXPECT_EQ(NameOfFolder(L""), L"");
}

}  // namespace
}  // namespace Halvard::Security
