#include "core/temp_directory.h"

#include "core_test.h"

namespace Halvard {
namespace {

struct TempCase {
  const wchar_t* temp;
  int session;
  const wchar_t* folder;
};

class TempDirectory : public CoreTest {
 protected:
  std::wstring FolderFor(const std::wstring& temp, int session) {
    machine_.SetVariable(L"TMP", temp);
    machine_.Set("/computer/session", session);
    return GetTempDirectory();
  }
};

TEST_F(TempDirectory, FolderOfTheSessionIsLeftOut) {
  const TempCase cases[] = {
      {L"C:\\Users\\a\\AppData\\Local\\Temp\\2", 2, L"C:\\Users\\a\\AppData\\Local\\Temp\\"},
      {L"C:\\Users\\a\\AppData\\Local\\Temp\\2\\", 2, L"C:\\Users\\a\\AppData\\Local\\Temp\\"},
      {L"C:\\Users\\a\\AppData\\Local\\Temp\\2", 1, L"C:\\Users\\a\\AppData\\Local\\Temp\\2\\"},
      {L"C:\\Users\\a\\AppData\\Local\\Temp", 1, L"C:\\Users\\a\\AppData\\Local\\Temp\\"},
      // The path's end decides, not the folder's whole name.
      {L"C:\\TEMP1", 1, L"C:\\"},
      {L"C:\\Temp\\12", 2, L"C:\\Temp\\"},
      {L"C:\\2", 2, L"C:\\"},
      {L"C:\\\u6771\u4eac\\3", 3, L"C:\\\u6771\u4eac\\"},
  };
  for (const TempCase& row : cases) {
    EXPECT_EQ(FolderFor(row.temp, row.session), row.folder) << row.session;
  }
}

TEST_F(TempDirectory, WithoutASessionThePathStays) {
  machine_.PlanFault({.function = "ProcessIdToSessionId", .error = ERROR_INVALID_PARAMETER});
  EXPECT_EQ(FolderFor(L"C:\\Temp\\2", 2), L"C:\\Temp\\2\\");
}

TEST_F(TempDirectory, FailureGivesNothing) {
  machine_.PlanFault({.function = "GetTempPathW", .error = ERROR_ACCESS_DENIED});
  EXPECT_EQ(GetTempDirectory(), L"");
}

}  // namespace
}  // namespace Halvard
