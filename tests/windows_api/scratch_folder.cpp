#include "scratch_folder.h"

#include <gtest/gtest.h>

#include "host/unique_resource.h"

namespace WindowsApi {
namespace {

std::wstring NewFolder() {
  static int number = 0;
  std::wstring path;
  do {
    path = ParentOfScratchFolders() + L"\\Prüf \u8A66\u9A13 \U0001D4BD " +
           std::to_wstring(GetCurrentProcessId()) + L" " + std::to_wstring(++number);
  } while (Exists(path));  // An earlier process had the same number and was ended.
  MakeFolderAt(path);
  return path;
}

}  // namespace

ScratchFolder::ScratchFolder() : path_(NewFolder()) {}

ScratchFolder::~ScratchFolder() { RemoveTree(path_); }

std::wstring ScratchFolder::In(std::wstring_view name) const {
  return path_ + L"\\" + std::wstring(name);
}

std::wstring ScratchFolder::Write(std::wstring_view name, std::string_view bytes) const {
  std::wstring path = In(name);
  const Halvard::Host::UniqueFile file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr,
                                                   CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  DWORD written = 0;
  EXPECT_TRUE(file && WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()),
                                &written, nullptr));
  return path;
}

std::wstring ScratchFolder::MakeFolder(std::wstring_view name) const {
  std::wstring path = In(name);
  MakeFolderAt(path);
  return path;
}

std::string Contents(const std::wstring& path) {
  const Halvard::Host::UniqueFile file(CreateFileW(
      path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  EXPECT_TRUE(file);
  std::string bytes(file ? GetFileSize(file.Get(), nullptr) : 0, 0);
  DWORD count = 0;
  EXPECT_TRUE(
      ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr));
  bytes.resize(count);
  return bytes;
}

bool Exists(const std::wstring& path) {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

unsigned LastError() { return static_cast<unsigned>(GetLastError()); }

void SpoilLastError() { SetLastError(kSpoiled); }

}  // namespace WindowsApi
