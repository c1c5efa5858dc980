#include "runner/folder_changes.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "host/windows_api.h"

namespace Halvard::Runner {
namespace {

constexpr wchar_t kName[] = L"status.json";

/// One record, as the system writes it.
struct Record {
  DWORD action;
  std::wstring name;
};

/// \param gap  Bytes left free between two records.
std::vector<char> Records(const std::vector<Record>& records, std::size_t gap = 0) {
  std::vector<char> bytes;
  for (const Record& record : records) {
    const std::size_t nameBytes = record.name.size() * sizeof(wchar_t);
    const std::size_t size = 12 + nameBytes + gap;
    const bool last = &record == &records.back();
    const DWORD header[] = {last ? 0 : static_cast<DWORD>(size), record.action,
                            static_cast<DWORD>(nameBytes)};
    const std::size_t start = bytes.size();
    bytes.resize(start + (last ? size - gap : size));
    std::memcpy(bytes.data() + start, header, sizeof header);
    std::memcpy(bytes.data() + start + sizeof header, record.name.data(), nameBytes);
  }
  return bytes;
}

bool Tells(const std::vector<char>& bytes) {
  return TellsOfFile(bytes.data(), bytes.size(), kName);
}

class ActionOfARecord : public testing::TestWithParam<DWORD> {};

TEST_P(ActionOfARecord, CountsWhenItLeavesAFile) {
  const DWORD action = GetParam();
  const bool counts = action == 1 || action == 3 || action == 5;
  EXPECT_EQ(Tells(Records({{action, kName}})), counts);
}

INSTANTIATE_TEST_SUITE_P(Actions, ActionOfARecord, testing::Range(DWORD{0}, DWORD{8}));

TEST(FolderChanges, CompareNamesWithoutCaseOfAsciiLetters) {
  EXPECT_TRUE(Tells(Records({{3, L"STATUS.Json"}})));
  EXPECT_FALSE(Tells(Records({{3, L"status.jsom"}})));
}

TEST(FolderChanges, CompareWholeNames) {
  EXPECT_FALSE(Tells(Records({{3, L"status.json.part"}})));
  EXPECT_FALSE(Tells(Records({{3, L"status"}})));
  EXPECT_FALSE(Tells(Records({{3, L""}})));
}

TEST(FolderChanges, AreWalkedToTheLastRecord) {
  EXPECT_TRUE(Tells(Records({{1, L"other"}, {2, kName}, {4, kName}, {5, kName}})));
  EXPECT_FALSE(Tells(Records({{1, L"other"}, {2, kName}, {4, kName}})));
}

TEST(FolderChanges, MayLieAtAnyAlignment) {
  for (std::size_t gap = 0; gap < 8; ++gap) {
    EXPECT_TRUE(Tells(Records({{1, L"odd"}, {2, L"x"}, {3, kName}}, gap))) << gap;
  }
}

TEST(FolderChanges, EndWithTheBytesThatWereReturned) {
  const std::vector<char> bytes = Records({{1, L"other"}, {3, kName}});
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    // A copy of just that size, so that a look beyond it is found out.
    const std::vector<char> cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_FALSE(Tells(cut)) << size;
  }
}

}  // namespace
}  // namespace Halvard::Runner
