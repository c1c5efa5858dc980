#include <vector>

#include "support.h"

namespace {

constexpr DWORD kAgentFlags = RRF_RT_REG_SZ | RRF_NOEXPAND;
constexpr wchar_t kName[] = L"Name";

/// A key of this test alone, made by the first value.
class Registry : public testing::Test {
 protected:
  Registry() : key_(std::wstring(L"SOFTWARE\\Halvard, Inc.\\Tests\\") + TestName()) {}

  static std::wstring TestName() {
    const std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
    return {name.begin(), name.end()};
  }

  void SetBytes(DWORD type, const void* data, std::size_t bytes) {
    ASSERT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, key_.c_str(), kName, type, data,
                              static_cast<DWORD>(bytes)),
              ERROR_SUCCESS);
  }
  void SetText(DWORD type, const std::wstring& text) {
    SetBytes(type, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
  }
  LSTATUS Get(void* buffer, DWORD* bytes, const wchar_t* name = kName) {
    return RegGetValueW(HKEY_LOCAL_MACHINE, key_.c_str(), name, kAgentFlags, nullptr, buffer,
                        bytes);
  }

  const std::wstring key_;
};

TEST_F(Registry, TextComesWithItsTerminator) {
  SetText(REG_SZ, L"halvard");
  wchar_t buffer[16] = {};
  DWORD bytes = sizeof buffer;
  EXPECT_EQ(Get(buffer, &bytes), ERROR_SUCCESS);
  EXPECT_STREQ(buffer, L"halvard");
  EXPECT_EQ(bytes, 8 * sizeof(wchar_t));
}

TEST_F(Registry, ShortBufferReportsASizeThatWillDo) {
  SetText(REG_SZ, L"halvard");
  wchar_t buffer[16] = {};
  DWORD bytes = 4 * sizeof(wchar_t);
  EXPECT_EQ(Get(buffer, &bytes), ERROR_MORE_DATA);
  ASSERT_LE(bytes, sizeof buffer);
  EXPECT_EQ(Get(buffer, &bytes), ERROR_SUCCESS);
  EXPECT_STREQ(buffer, L"halvard");
}

TEST_F(Registry, NoBufferAsksForTheSize) {
  SetText(REG_SZ, L"443");
  DWORD bytes = 0;
  EXPECT_EQ(Get(nullptr, &bytes), ERROR_SUCCESS);
  EXPECT_EQ(bytes, 4 * sizeof(wchar_t));
}

TEST_F(Registry, LongestTextForABufferOf2048Characters) {
  std::vector<wchar_t> buffer(2048);
  SetText(REG_SZ, std::wstring(2047, L'x'));
  DWORD bytes = static_cast<DWORD>(buffer.size() * sizeof(wchar_t));
  EXPECT_EQ(Get(buffer.data(), &bytes), ERROR_SUCCESS);
  SetText(REG_SZ, std::wstring(2048, L'x'));
  bytes = static_cast<DWORD>(buffer.size() * sizeof(wchar_t));
  EXPECT_EQ(Get(buffer.data(), &bytes), ERROR_MORE_DATA);
  EXPECT_EQ(bytes, 2049 * sizeof(wchar_t));
}

TEST_F(Registry, EmptyTextIsATerminatorAlone) {
  SetText(REG_SZ, L"");
  wchar_t buffer[4] = {L'?'};
  DWORD bytes = sizeof buffer;
  EXPECT_EQ(Get(buffer, &bytes), ERROR_SUCCESS);
  EXPECT_EQ(bytes, sizeof(wchar_t));
  EXPECT_EQ(buffer[0], L'\0');
}

TEST_F(Registry, OtherTypesAreRefusedThoughTheirDataGoesOut) {
  const DWORD number = 443;
  SetBytes(REG_DWORD, &number, sizeof number);
  DWORD out = 0;
  DWORD bytes = sizeof out;
  EXPECT_EQ(Get(&out, &bytes), ERROR_UNSUPPORTED_TYPE);
  EXPECT_EQ(bytes, sizeof number);
  EXPECT_EQ(out, number);
}

TEST_F(Registry, ExpandableTextIsRefused) {
  SetText(REG_EXPAND_SZ, L"%windir%");
  wchar_t buffer[64] = {};
  DWORD bytes = sizeof buffer;
  EXPECT_EQ(Get(buffer, &bytes), ERROR_UNSUPPORTED_TYPE);
}

TEST_F(Registry, ReferencesInATextStayAsTheyAre) {
  SetText(REG_SZ, L"%windir%");
  wchar_t buffer[64] = {};
  DWORD bytes = sizeof buffer;
  EXPECT_EQ(Get(buffer, &bytes), ERROR_SUCCESS);
  EXPECT_STREQ(buffer, L"%windir%");
}

TEST_F(Registry, MissingValueAndMissingKeyAreOneCode) {
  SetText(REG_SZ, L"x");
  wchar_t buffer[4];
  DWORD bytes = sizeof buffer;
  EXPECT_EQ(Get(buffer, &bytes, L"Another"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Halvard, Inc.\\Nowhere", kName,
                         kAgentFlags, nullptr, buffer, &bytes),
            ERROR_FILE_NOT_FOUND);
}

TEST_F(Registry, KeysAndNamesIgnoreCaseAndABackslashAtTheEnd) {
  SetText(REG_SZ, L"found");
  std::wstring key = key_ + L"\\";
  for (wchar_t& c : key) {
    if (c >= L'a' && c <= L'z') c = static_cast<wchar_t>(c - L'a' + L'A');
  }
  wchar_t buffer[16] = {};
  DWORD bytes = sizeof buffer;
  EXPECT_EQ(
      RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), L"NAME", kAgentFlags, nullptr, buffer, &bytes),
      ERROR_SUCCESS);
  EXPECT_STREQ(buffer, L"found");
}

TEST_F(Registry, BackslashAtTheBeginningOfAKeyIsABadPath) {
  wchar_t buffer[4];
  DWORD bytes = sizeof buffer;
  EXPECT_EQ(
      RegGetValueW(HKEY_LOCAL_MACHINE, L"\\SOFTWARE", kName, kAgentFlags, nullptr, buffer, &bytes),
      ERROR_BAD_PATHNAME);
}

TEST_F(Registry, ReadingLeavesTheLastErrorAlone) {
  DWORD bytes = 0;
  SetLastError(4711);
  EXPECT_EQ(Get(nullptr, &bytes), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(GetLastError(), 4711u);
}

TEST_F(Registry, WritesThroughAKeyThatIsOpenForIt) {
  SetText(REG_SZ, L"before");
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, key_.c_str(), 0, KEY_SET_VALUE, &key), ERROR_SUCCESS);
  const std::wstring text = L"caf\u00E9 \u8A66\u9A13";
  EXPECT_EQ(RegSetKeyValueW(key, nullptr, kName, REG_SZ, text.c_str(),
                            static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))),
            ERROR_SUCCESS);
  wchar_t buffer[16] = {};
  DWORD bytes = sizeof buffer;
  EXPECT_EQ(RegGetValueW(key, nullptr, kName, kAgentFlags, nullptr, buffer, &bytes),
            ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
  bytes = sizeof buffer;
  EXPECT_EQ(Get(buffer, &bytes), ERROR_SUCCESS);
  EXPECT_EQ(buffer, text);
}

TEST_F(Registry, OpeningAMissingKeyGivesNoHandle) {
  HKEY key = HKEY_LOCAL_MACHINE;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Halvard, Inc.\\Nowhere", 0, KEY_SET_VALUE,
                          &key),
            ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(key, nullptr);
}

TEST_F(Registry, ClosingTwiceIsAnInvalidHandle) {
  SetText(REG_SZ, L"x");
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, key_.c_str(), 0, KEY_SET_VALUE, &key), ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
  EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegCloseKey(nullptr), ERROR_INVALID_HANDLE);
}

TEST_F(Registry, The32BitHalfIsReachedByItsLiteralPath) {
  const wchar_t key[] = L"SOFTWARE\\Wow6432Node\\Halvard, Inc.\\Tests";
  ASSERT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, kName, REG_SZ, L"half", 5 * sizeof(wchar_t)),
            ERROR_SUCCESS);
  wchar_t buffer[8] = {};
  DWORD bytes = sizeof buffer;
  EXPECT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, key, kName, kAgentFlags, nullptr, buffer, &bytes),
            ERROR_SUCCESS);
  EXPECT_STREQ(buffer, L"half");
  EXPECT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Halvard, Inc.\\Tests", kName, kAgentFlags,
                         nullptr, buffer, &bytes),
            ERROR_FILE_NOT_FOUND);
}

}  // namespace
