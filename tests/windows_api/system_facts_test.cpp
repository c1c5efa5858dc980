// The computer's name and versions of files.
#include <cstddef>
#include <vector>

#include "support.h"

namespace {

TEST(GetComputerNameExW, TellsTheSizeWithTheTerminator) {
  DWORD size = 0;
  SetLastError(0);
  EXPECT_FALSE(GetComputerNameExW(ComputerNameDnsFullyQualified, nullptr, &size));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_MORE_DATA});
  ASSERT_GT(size, 1u);
  std::vector<wchar_t> name(size, L'?');
  const DWORD needed = size;
  EXPECT_TRUE(GetComputerNameExW(ComputerNameDnsFullyQualified, name.data(), &size));
  EXPECT_EQ(size, needed - 1);
  EXPECT_EQ(std::wstring(name.data()).size(), size);
}

TEST(GetComputerNameExW, LeavesATooSmallBufferAlone) {
  DWORD size = 0;
  (void)GetComputerNameExW(ComputerNameDnsFullyQualified, nullptr, &size);
  const DWORD needed = size;
  std::vector<wchar_t> name(needed, L'?');
  size = needed - 1;
  EXPECT_FALSE(GetComputerNameExW(ComputerNameDnsFullyQualified, name.data(), &size));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_MORE_DATA});
  EXPECT_EQ(size, needed);
}

DWORD SizeProblem(const wchar_t* path) {
  DWORD handle = 1;
  SetLastError(0);
  EXPECT_EQ(GetFileVersionInfoSizeW(path, &handle), 0u) << path;
  EXPECT_EQ(handle, 0u);
  return GetLastError();
}

TEST(GetFileVersionInfoSizeW, TellsWhyThereIsNone) {
  EXPECT_EQ(SizeProblem(L"C:\\windows\\no_such_file.dll"), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(SizeProblem(L"C:\\no_such_folder\\file.dll"), DWORD{ERROR_PATH_NOT_FOUND});
  EXPECT_EQ(SizeProblem(L"C:\\windows"), DWORD{ERROR_ACCESS_DENIED});
  EXPECT_EQ(SizeProblem(L""), DWORD{ERROR_BAD_PATHNAME});
}

TEST(GetFileVersionInfoW, HoldsAFixedBlockWithItsSignature) {
  PWSTR folder = nullptr;
  ASSERT_EQ(SHGetKnownFolderPath(FOLDERID_System, 0, nullptr, &folder), S_OK);
  const std::wstring path = std::wstring(folder) + L"\\dnsapi.dll";
  CoTaskMemFree(folder);
  DWORD handle = 1;
  const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &handle);
  ASSERT_GT(size, sizeof(VS_FIXEDFILEINFO));
  EXPECT_EQ(handle, 0u);
  std::vector<std::byte> info(size);
  ASSERT_TRUE(GetFileVersionInfoW(path.c_str(), 0, size, info.data()));
  void* place = nullptr;
  UINT length = 0;
  ASSERT_TRUE(VerQueryValueW(info.data(), L"\\", &place, &length));
  EXPECT_EQ(length, sizeof(VS_FIXEDFILEINFO));
  const auto* const begin = static_cast<const std::byte*>(place);
  EXPECT_GE(begin, info.data());
  EXPECT_LE(begin + length, info.data() + size);
  const auto* const fixed = static_cast<const VS_FIXEDFILEINFO*>(place);
  EXPECT_EQ(fixed->dwSignature, 0xFEEF04BDu);
  EXPECT_GE(fixed->dwFileVersionMS >> 16, 5u);
}

}  // namespace
