// Who may open what while somebody else has it open.
#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "host/unique_resource.h"
#include "scratch_folder.h"
#include "support.h"

namespace {

using Halvard::Host::UniqueFile;
using Halvard::Host::UniqueHandle;
using WindowsApi::kShareAll;
using WindowsApi::LastError;
using WindowsApi::SpoilLastError;

constexpr DWORD kRead = GENERIC_READ;
constexpr DWORD kWrite = GENERIC_WRITE;
constexpr DWORD kShareRead = FILE_SHARE_READ;
constexpr DWORD kShareReadWrite = FILE_SHARE_READ | FILE_SHARE_WRITE;

struct Opening {
  DWORD access;
  DWORD share;
  DWORD disposition = OPEN_EXISTING;
  DWORD flags = FILE_ATTRIBUTE_NORMAL;
};

struct SharingCase {
  const char* name;
  Opening held;
  Opening asked;
  unsigned error;
};

void PrintTo(const SharingCase& row, std::ostream* stream) { *stream << row.name; }

constexpr DWORD kDeleteOnClose = FILE_FLAG_DELETE_ON_CLOSE;

constexpr SharingCase kCases[] = {
    {"ExclusiveWriterKeepsReadersOut", {kWrite, 0}, {kRead, kShareAll}, 32},
    {"ExclusiveWriterKeepsWritersOut", {kWrite, 0}, {kWrite, kShareAll}, 32},
    {"NoAccessAlwaysPasses", {kWrite, 0}, {0, 0}, 0},
    {"HolderWithoutAccessAllowsAll", {0, 0}, {kRead | kWrite, 0}, 0},
    {"ReaderMayNotDenyAReader", {kRead, kShareReadWrite}, {kRead, 0}, 32},
    {"ReadersShare", {kRead, kShareRead}, {kRead, kShareRead}, 0},
    {"ReaderDeniesWriters", {kRead, kShareRead}, {kWrite, kShareAll, CREATE_ALWAYS}, 32},
    {"ReaderAllowsWriters", {kRead, kShareReadWrite}, {kWrite, kShareAll}, 0},
    {"WriterNeedsToBeAllowedByTheSecond", {kWrite, kShareAll}, {kRead, kShareRead}, 32},
    {"WriterIsAllowedByTheSecond", {kWrite, kShareAll}, {kRead, kShareReadWrite}, 0},
    {"DeletionNeedsSharing",
     {kRead, kShareReadWrite},
     {kRead, kShareAll, OPEN_EXISTING, kDeleteOnClose},
     32},
    {"DeletionIsShared", {kRead, kShareAll}, {kRead, kShareAll, OPEN_EXISTING, kDeleteOnClose}, 0},
    {"WhoeverComesAfterADeleterHasToShare",
     {kRead, kShareAll, OPEN_EXISTING, kDeleteOnClose},
     {kRead, kShareReadWrite},
     32},
    {"WhoeverSharesComesAfterADeleter",
     {kRead, kShareAll, OPEN_EXISTING, kDeleteOnClose},
     {kRead, kShareAll},
     0},
};

class Sharing : public testing::TestWithParam<SharingCase> {
 protected:
  static UniqueFile Open(const std::wstring& path, const Opening& opening) {
    return UniqueFile(CreateFileW(path.c_str(), opening.access, opening.share, nullptr,
                                  opening.disposition, opening.flags, nullptr));
  }
  const WindowsApi::ScratchFolder scratch_;
};

TEST_P(Sharing, FollowsTheTable) {
  const std::wstring path = scratch_.Write(L"file");
  const UniqueFile held = Open(path, GetParam().held);
  ASSERT_TRUE(held);
  const UniqueFile asked = Open(path, GetParam().asked);
  const unsigned error = LastError();
  EXPECT_EQ(static_cast<bool>(asked), GetParam().error == 0);
  EXPECT_EQ(error, GetParam().error);
}

TEST_P(Sharing, EndsWithTheHandle) {
  const std::wstring path = scratch_.Write(L"file");
  { const UniqueFile held = Open(path, GetParam().held); }
  // A holder may have deleted the file. What it denied isn't left to the next one of that name.
  if (!WindowsApi::Exists(path)) scratch_.Write(L"file");
  EXPECT_TRUE(Open(path, GetParam().asked));
}

INSTANTIATE_TEST_SUITE_P(Table, Sharing, testing::ValuesIn(kCases),
                         [](const auto& row) { return std::string(row.param.name); });

class HeldFile : public testing::Test {
 protected:
  void Hold(DWORD access, DWORD share) {
    held_.Reset();
    held_.Reset(CreateFileW(path_.c_str(), access, share, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(held_);
    SpoilLastError();
  }
  const WindowsApi::ScratchFolder scratch_;
  const std::wstring path_ = scratch_.Write(L"file");
  UniqueFile held_;
};

TEST_F(HeldFile, IsDeletedOnlyWhenThatIsShared) {
  Hold(kRead, kShareReadWrite);
  EXPECT_FALSE(DeleteFileW(path_.c_str()));
  EXPECT_EQ(LastError(), 32u);
  Hold(kRead, kShareAll);
  EXPECT_TRUE(DeleteFileW(path_.c_str()));
}

TEST_F(HeldFile, IsCopiedOnlyWhenReadingIsShared) {
  Hold(kWrite, 0);
  EXPECT_FALSE(CopyFileW(path_.c_str(), scratch_.In(L"copy").c_str(), FALSE));
  EXPECT_EQ(LastError(), 32u);
  Hold(kWrite, kShareRead);
  EXPECT_TRUE(CopyFileW(path_.c_str(), scratch_.In(L"copy").c_str(), FALSE));
}

TEST_F(HeldFile, TellsItsAttributesToAnyone) {
  Hold(kWrite, 0);
  EXPECT_NE(GetFileAttributesW(path_.c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(HeldFile, MappedFileCannotBeEmptied) {
  Hold(kRead, kShareAll);
  const UniqueHandle mapping(
      CreateFileMappingW(held_.Get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
  const void* const view = MapViewOfFile(mapping.Get(), FILE_MAP_READ, 0, 0, 0);
  ASSERT_NE(view, nullptr);
  const UniqueFile other(CreateFileW(path_.c_str(), kWrite, kShareAll, nullptr, CREATE_ALWAYS,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
  const unsigned error = LastError();
  EXPECT_FALSE(other);
  EXPECT_EQ(error, 1224u);
  EXPECT_TRUE(UnmapViewOfFile(view));
}

TEST_F(HeldFile, IsNotRemovedByTheShell) {
  Hold(kRead, kShareRead);
  std::wstring list = scratch_.Path() + std::wstring(2, L'\0');
  SHFILEOPSTRUCTW operation = {};
  operation.wFunc = FO_DELETE;
  operation.pFrom = list.c_str();
  operation.fFlags = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI;
  EXPECT_NE(SHFileOperationW(&operation), 0);
  EXPECT_TRUE(WindowsApi::Exists(path_));
}

TEST(HeldFolder, StaysUnlessDeletionIsShared) {
  const WindowsApi::ScratchFolder scratch;
  const std::wstring path = scratch.MakeFolder(L"sub");
  UniqueFile held(CreateFileW(path.c_str(), FILE_LIST_DIRECTORY, kShareReadWrite, nullptr,
                              OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  ASSERT_TRUE(held);
  EXPECT_FALSE(RemoveDirectoryW(path.c_str()));
  EXPECT_EQ(LastError(), 32u);
  held.Reset(CreateFileW(path.c_str(), FILE_LIST_DIRECTORY, kShareAll, nullptr, OPEN_EXISTING,
                         FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  EXPECT_TRUE(RemoveDirectoryW(path.c_str()));
}

class Streams : public testing::Test {
 protected:
  const WindowsApi::ScratchFolder scratch_;
  const std::wstring path_ = scratch_.In(L"log");
};

TEST_F(Streams, ShareReadingAndWritingButNotDeletion) {
  std::FILE* const stream = _wfsopen(path_.c_str(), L"a", _SH_DENYNO);
  ASSERT_NE(stream, nullptr);
  EXPECT_TRUE(CopyFileW(path_.c_str(), scratch_.In(L"copy").c_str(), FALSE));
  EXPECT_FALSE(DeleteFileW(path_.c_str()));
  EXPECT_EQ(LastError(), 32u);
  std::fclose(stream);
  EXPECT_TRUE(DeleteFileW(path_.c_str()));
}

TEST_F(Streams, CanDenyWriters) {
  std::FILE* const first = _wfsopen(path_.c_str(), L"a", _SH_DENYNO);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(_wfsopen(path_.c_str(), L"r", _SH_DENYWR), nullptr);
  EXPECT_EQ(errno, EACCES);
  std::fclose(first);
}

TEST_F(Streams, AppendAddsToWhatIsThere) {
  for (const char* text : {"one ", "two"}) {
    std::FILE* const stream = _wfsopen(path_.c_str(), L"a", _SH_DENYNO);
    ASSERT_NE(stream, nullptr);
    std::fputs(text, stream);
    std::fclose(stream);
  }
  EXPECT_EQ(WindowsApi::Contents(path_), "one two");
}

TEST_F(Streams, WriteBeginsAnew) {
  scratch_.Write(L"log", "old text");
  std::FILE* const stream = _wfopen(path_.c_str(), L"wb");
  ASSERT_NE(stream, nullptr);
  std::fputs("new", stream);
  std::fclose(stream);
  EXPECT_EQ(WindowsApi::Contents(path_), "new");
}

std::string ReadAll(const std::wstring& path, const wchar_t* mode) {
  std::string text;
  std::FILE* const stream = _wfopen(path.c_str(), mode);
  EXPECT_NE(stream, nullptr);
  if (stream == nullptr) return text;
  for (int next = std::fgetc(stream); next != EOF; next = std::fgetc(stream)) {
    text += static_cast<char>(next);
  }
  std::fclose(stream);
  return text;
}

TEST_F(Streams, ReadTextWithoutCarriageReturnsAtLineEnds) {
  scratch_.Write(L"log", "one\r\ntwo\rthree\r\r\nfour\nfive\r");
  EXPECT_EQ(ReadAll(path_, L"r"), "one\ntwo\rthree\r\nfour\nfive\r");
  EXPECT_EQ(ReadAll(path_, L"rt"), "one\ntwo\rthree\r\nfour\nfive\r");
}

TEST_F(Streams, ReadTextAcrossBlocks) {
  // A carriage return at every place near the end of a buffer.
  for (std::size_t length = 4090; length < 4100; ++length) {
    const std::string line(length, 'x');
    scratch_.Write(L"log", line + "\r\n" + line + "\r");
    EXPECT_EQ(ReadAll(path_, L"r"), line + "\n" + line + "\r") << length;
  }
}

TEST_F(Streams, ReadTextUpToItsEndCharacter) {
  scratch_.Write(L"log", "one\n\x1Atwo\n");
  EXPECT_EQ(ReadAll(path_, L"r"), "one\n");
}

TEST_F(Streams, ReadBinaryAsItIs) {
  scratch_.Write(L"log", "one\r\n\x1Atwo");
  EXPECT_EQ(ReadAll(path_, L"rb"), "one\r\n\x1Atwo");
}

TEST_F(Streams, ReadNeedsAFile) {
  EXPECT_EQ(_wfopen(path_.c_str(), L"r"), nullptr);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(_wfopen(scratch_.Path().c_str(), L"r"), nullptr);
  EXPECT_EQ(errno, EACCES);
}

}  // namespace
