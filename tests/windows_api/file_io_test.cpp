#include <gtest/gtest.h>

#include <string>

#include "host/unique_resource.h"
#include "scratch_folder.h"
#include "support.h"

namespace {

using Halvard::Host::UniqueFile;
using Halvard::Host::UniqueHandle;
using WindowsApi::kSpoiled;
using WindowsApi::LastError;
using WindowsApi::SpoilLastError;

class FileIo : public testing::Test {
 protected:
  UniqueFile Open(const std::wstring& name, DWORD access, DWORD disposition = OPEN_EXISTING) {
    UniqueFile file(CreateFileW(scratch_.In(name).c_str(), access, FILE_SHARE_READ, nullptr,
                                disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
    SpoilLastError();
    return file;
  }
  const WindowsApi::ScratchFolder scratch_;
};

TEST_F(FileIo, ReadsGoOnWhereTheLastEnded) {
  scratch_.Write(L"file", "abcdef");
  const UniqueFile file = Open(L"file", GENERIC_READ);
  char bytes[4] = {};
  DWORD count = 0;
  EXPECT_TRUE(ReadFile(file.Get(), bytes, 4, &count, nullptr));
  EXPECT_EQ(std::string(bytes, count), "abcd");
  EXPECT_TRUE(ReadFile(file.Get(), bytes, 4, &count, nullptr));
  EXPECT_EQ(std::string(bytes, count), "ef");
}

TEST_F(FileIo, EndOfTheFileIsNoFailure) {
  scratch_.Write(L"file", "");
  const UniqueFile file = Open(L"file", GENERIC_READ);
  char byte = 0;
  DWORD count = 7;
  EXPECT_TRUE(ReadFile(file.Get(), &byte, 1, &count, nullptr));
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(LastError(), kSpoiled);
}

TEST_F(FileIo, WritingNothingSucceeds) {
  const UniqueFile file = Open(L"file", GENERIC_WRITE, CREATE_ALWAYS);
  DWORD count = 7;
  EXPECT_TRUE(WriteFile(file.Get(), "", 0, &count, nullptr));
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(LastError(), kSpoiled);
}

TEST_F(FileIo, AccessDecides) {
  scratch_.Write(L"file");
  DWORD count = 7;
  char byte = 0;
  {
    const UniqueFile reader = Open(L"file", GENERIC_READ);
    EXPECT_FALSE(WriteFile(reader.Get(), "x", 1, &count, nullptr));
    EXPECT_EQ(LastError(), 5u);
    EXPECT_EQ(count, 0u);
  }
  const UniqueFile writer = Open(L"file", GENERIC_WRITE);
  EXPECT_FALSE(ReadFile(writer.Get(), &byte, 1, &count, nullptr));
  EXPECT_EQ(LastError(), 5u);
}

TEST_F(FileIo, BadHandles) {
  DWORD count = 0;
  char byte = 0;
  EXPECT_FALSE(ReadFile(nullptr, &byte, 1, &count, nullptr));
  EXPECT_EQ(LastError(), 6u);
  SpoilLastError();
  EXPECT_FALSE(WriteFile(nullptr, &byte, 1, &count, nullptr));
  EXPECT_EQ(LastError(), 6u);
  SpoilLastError();
  EXPECT_EQ(GetFileSize(nullptr, nullptr), 0xFFFFFFFFu);
  EXPECT_EQ(LastError(), 6u);
  LARGE_INTEGER size = {};
  SpoilLastError();
  EXPECT_FALSE(GetFileSizeEx(nullptr, &size));
  EXPECT_EQ(LastError(), 6u);
}

TEST_F(FileIo, Sizes) {
  scratch_.Write(L"file", "12345");
  const UniqueFile file = Open(L"file", GENERIC_READ);
  DWORD high = 7;
  EXPECT_EQ(GetFileSize(file.Get(), &high), 5u);
  EXPECT_EQ(high, 0u);
  LARGE_INTEGER size = {};
  EXPECT_TRUE(GetFileSizeEx(file.Get(), &size));
  EXPECT_EQ(size.QuadPart, 5);
}

TEST_F(FileIo, EmptyFileHasSizeZeroWithoutAnError) {
  scratch_.Write(L"file", "");
  const UniqueFile file = Open(L"file", GENERIC_READ);
  EXPECT_EQ(GetFileSize(file.Get(), nullptr), 0u);
  EXPECT_EQ(LastError(), kSpoiled);
}

TEST_F(FileIo, MappedFileIsReadInPlace) {
  scratch_.Write(L"file", "mapped");
  const UniqueFile file = Open(L"file", GENERIC_READ);
  const UniqueHandle mapping(CreateFileMappingW(file.Get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
  ASSERT_TRUE(mapping);
  const void* const view = MapViewOfFile(mapping.Get(), FILE_MAP_READ, 0, 0, 0);
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(std::string(static_cast<const char*>(view), 6), "mapped");
  EXPECT_TRUE(UnmapViewOfFile(view));
}

TEST_F(FileIo, ViewOutlivesItsHandles) {
  scratch_.Write(L"file", "mapped");
  UniqueFile file = Open(L"file", GENERIC_READ);
  UniqueHandle mapping(CreateFileMappingW(file.Get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
  const void* const view = MapViewOfFile(mapping.Get(), FILE_MAP_READ, 0, 0, 0);
  mapping.Reset();
  file.Reset();
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(std::string(static_cast<const char*>(view), 6), "mapped");
  EXPECT_TRUE(UnmapViewOfFile(view));
}

TEST_F(FileIo, EmptyFileCannotBeMapped) {
  scratch_.Write(L"file", "");
  const UniqueFile file = Open(L"file", GENERIC_READ);
  EXPECT_EQ(CreateFileMappingW(file.Get(), nullptr, PAGE_READONLY, 0, 0, nullptr), nullptr);
  EXPECT_EQ(LastError(), 1006u);
}

TEST_F(FileIo, MappingNeedsReadAccess) {
  scratch_.Write(L"file");
  const UniqueFile file = Open(L"file", GENERIC_WRITE);
  EXPECT_EQ(CreateFileMappingW(file.Get(), nullptr, PAGE_READONLY, 0, 0, nullptr), nullptr);
  EXPECT_EQ(LastError(), 5u);
}

TEST_F(FileIo, BadMappings) {
  const auto closed = reinterpret_cast<HANDLE>(std::uintptr_t{0x7FFC});
  EXPECT_EQ(CreateFileMappingW(closed, nullptr, PAGE_READONLY, 0, 0, nullptr), nullptr);
  EXPECT_EQ(LastError(), 6u);
  // Null would mean memory without a file, which needs a size.
  SpoilLastError();
  EXPECT_EQ(CreateFileMappingW(nullptr, nullptr, PAGE_READONLY, 0, 0, nullptr), nullptr);
  EXPECT_EQ(LastError(), 87u);
  SpoilLastError();
  EXPECT_EQ(MapViewOfFile(nullptr, FILE_MAP_READ, 0, 0, 0), nullptr);
  EXPECT_EQ(LastError(), 6u);
  SpoilLastError();
  EXPECT_FALSE(UnmapViewOfFile(&scratch_));
  EXPECT_EQ(LastError(), 487u);
}

TEST_F(FileIo, FileToDeleteGoesAfterItsView) {
  const std::wstring path = scratch_.Write(L"file");
  UniqueFile file(CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                              FILE_FLAG_DELETE_ON_CLOSE, nullptr));
  UniqueHandle mapping(CreateFileMappingW(file.Get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
  const void* const view = MapViewOfFile(mapping.Get(), FILE_MAP_READ, 0, 0, 0);
  ASSERT_NE(view, nullptr);
  EXPECT_TRUE(UnmapViewOfFile(view));
  mapping.Reset();
  EXPECT_TRUE(WindowsApi::Exists(path));
  file.Reset();
  EXPECT_FALSE(WindowsApi::Exists(path));
}

}  // namespace
