#include "scratch_folder.h"
#include "support.h"

namespace {

using WindowsApi::LastError;

TEST(DiskSpace, IsToldForAnyFolder) {
  const WindowsApi::ScratchFolder scratch;
  for (const std::wstring& folder :
       {scratch.Path(), scratch.Path() + L"\\", std::wstring(L"C:\\")}) {
    ULARGE_INTEGER bytes = {};
    EXPECT_NE(GetDiskFreeSpaceExW(folder.c_str(), &bytes, nullptr, nullptr), 0);
    EXPECT_GT(bytes.QuadPart, 0u);
  }
}

TEST(DiskSpace, IsNotToldForFilesAndNothing) {
  const WindowsApi::ScratchFolder scratch;
  ULARGE_INTEGER bytes = {};
  EXPECT_EQ(GetDiskFreeSpaceExW(scratch.Write(L"file").c_str(), &bytes, nullptr, nullptr), 0);
  EXPECT_EQ(LastError(), unsigned{ERROR_DIRECTORY});
  EXPECT_EQ(GetDiskFreeSpaceExW(scratch.In(L"none").c_str(), &bytes, nullptr, nullptr), 0);
  EXPECT_EQ(LastError(), unsigned{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(GetDiskFreeSpaceExW(L"Q:\\", &bytes, nullptr, nullptr), 0);
  EXPECT_EQ(LastError(), unsigned{ERROR_PATH_NOT_FOUND});
}

}  // namespace
