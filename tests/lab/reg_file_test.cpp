#include "machine/reg_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "machine/utf16.h"

namespace Lab {
namespace {

using testing::HasSubstr;

constexpr std::uint32_t kSz = 1, kExpandSz = 2, kBinary = 3, kDword = 4, kMultiSz = 7;
constexpr wchar_t kOstrelKey[] = L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Ostrel, Inc.";

RegistryTree Read(const std::string& entries) {
  RegistryTree tree;
  ReadRegFile(std::string(kRegFileHeader) + "\r\n\r\n" + entries, tree);
  return tree;
}

/// The value "v" of a key of its own that an entry describes.
RegistryValue Value(const std::string& entry) {
  return Read("[HKEY_LOCAL_MACHINE\\SOFTWARE\\Ostrel, Inc.]\r\n" + entry +
              "\r\n")[kOstrelKey][L"v"];
}

std::string RegFileFault(const std::string& contents) {
  RegistryTree tree;
  try {
    ReadRegFile(contents, tree);
  } catch (const RegFileError& fault) {
    return fault.what();
  }
  return {};
}

std::string FaultOfEntry(const std::string& entry) {
  return RegFileFault(std::string(kRegFileHeader) + "\n[HKEY_LOCAL_MACHINE\\A]\n" + entry + "\n");
}

TEST(ReadRegFile, KeysAboveAreThereToo) {
  const RegistryTree tree = Read("[HKEY_LOCAL_MACHINE\\SOFTWARE\\Ostrel, Inc.]\n");
  EXPECT_EQ(tree.size(), 3u);
  EXPECT_TRUE(tree.contains(L"hkey_local_machine\\software"));
}

TEST(ReadRegFile, TextHasItsTerminatorAndEscapes) {
  const RegistryValue value = Value("\"v\"=\"C:\\\\Program \\\"Files\\\"\"");
  EXPECT_EQ(value.type, kSz);
  EXPECT_EQ(value.text, std::wstring(L"C:\\Program \"Files\"") + L'\0');
}

TEST(ReadRegFile, NumbersAreStoredLowByteFirst) {
  const RegistryValue value = Value("\"v\"=dword:000001bB");
  EXPECT_EQ(value.type, kDword);
  EXPECT_EQ(value.bytes, (std::vector<std::uint8_t>{0xBB, 1, 0, 0}));
}

TEST(ReadRegFile, BytesGoOnBehindABackslash) {
  const RegistryValue value = Value("\"v\"=hex:01,ff,\\\r\n  7f");
  EXPECT_EQ(value.type, kBinary);
  EXPECT_EQ(value.bytes, (std::vector<std::uint8_t>{1, 0xFF, 0x7F}));
}

TEST(ReadRegFile, TextsOfOtherTypesComeAsBytes) {
  const RegistryValue expand = Value("\"v\"=hex(2):25,00,61,00,00,00");
  EXPECT_EQ(expand.type, kExpandSz);
  EXPECT_EQ(expand.text, std::wstring(L"%a") + L'\0');
  EXPECT_EQ(Value("\"v\"=hex(7):61,00,00,00,00,00").type, kMultiSz);
  EXPECT_EQ(Value("\"v\"=hex(1):61,00").text, L"a");  // A text without terminator.
  EXPECT_TRUE(Value("\"v\"=hex(1):").text.empty());
}

TEST(ReadRegFile, AtIsTheValueWithoutName) {
  RegistryTree tree = Read("[HKEY_LOCAL_MACHINE\\A]\n@=\"x\"\n");
  EXPECT_EQ(tree[L"HKEY_LOCAL_MACHINE\\A"][L""].text, std::wstring(L"x") + L'\0');
}

TEST(ReadRegFile, MinusRemoves) {
  RegistryTree tree = Read(
      "[HKEY_LOCAL_MACHINE\\A\\B]\n\"x\"=\"1\"\n\"y\"=\"2\"\n[HKEY_LOCAL_MACHINE\\AB]\n"
      "[HKEY_LOCAL_MACHINE\\A\\B]\n\"X\"=-\n");
  EXPECT_EQ(tree[L"HKEY_LOCAL_MACHINE\\A\\B"].size(), 1u);
  ReadRegFile(std::string(kRegFileHeader) + "\n[-HKEY_LOCAL_MACHINE\\a]\n", tree);
  EXPECT_FALSE(tree.contains(L"HKEY_LOCAL_MACHINE\\A"));
  EXPECT_FALSE(tree.contains(L"HKEY_LOCAL_MACHINE\\A\\B"));
  EXPECT_TRUE(tree.contains(L"HKEY_LOCAL_MACHINE\\AB"));
}

TEST(ReadRegFile, CommentsAndMarksAreSkipped) {
  RegistryTree tree;
  ReadRegFile("\xEF\xBB\xBF" + std::string(kRegFileHeader) + "\n; a, \\\n;b,\\\n[HKEY_USERS]\n",
              tree);
  EXPECT_TRUE(tree.contains(L"HKEY_USERS"));
}

TEST(ReadRegFile, TakesTheEncodingOfTheEditor) {
  const std::string plain = std::string(kRegFileHeader) + "\r\n[HKEY_LOCAL_MACHINE\\A]\r\n\"v\"=\"";
  std::wstring text(plain.begin(), plain.end());
  text += L"\u8A66\U0001D4BD\"\r\n";
  const std::vector<std::uint8_t> bytes = EncodeUtf16(text);
  RegistryTree tree;
  ReadRegFile("\xFF\xFE" + std::string(bytes.begin(), bytes.end()), tree);
  EXPECT_EQ(tree[L"HKEY_LOCAL_MACHINE\\A"][L"v"].text, std::wstring(L"\u8A66\U0001D4BD") + L'\0');
}

TEST(ReadRegFile, FaultsNameTheLineAndWhatWasExpected) {
  EXPECT_THAT(RegFileFault("REGEDIT4\n"), HasSubstr("line 1: expected \"Windows Registry Editor"));
  EXPECT_THAT(RegFileFault(""), HasSubstr("line 1: expected"));
  EXPECT_THAT(RegFileFault(std::string(kRegFileHeader) + "\n\"a\"=\"b\"\n"),
              HasSubstr("line 2: expected a key in brackets before"));
  EXPECT_THAT(RegFileFault(std::string(kRegFileHeader) + "\n[HKEY_LOCAL_MACHINE\n"),
              HasSubstr("line 2: expected ] at the end"));
  EXPECT_THAT(RegFileFault(std::string(kRegFileHeader) + "\n[HKLM\\A]\n"),
              HasSubstr("expected a key that begins with its hive"));
  EXPECT_THAT(FaultOfEntry("\"a\"=\"b"), HasSubstr("line 3: expected a quote at the end"));
  EXPECT_THAT(FaultOfEntry("\"a\"=\"b\\"), HasSubstr("expected a quote at the end"));
  EXPECT_THAT(FaultOfEntry("\"a\"=\"b\"c"), HasSubstr("expected nothing behind the text"));
  EXPECT_THAT(FaultOfEntry("\"a\"\"b\""), HasSubstr("expected = behind the name"));
  EXPECT_THAT(FaultOfEntry("a=\"b\""), HasSubstr("expected a key in brackets, a value's name"));
  EXPECT_THAT(FaultOfEntry("\"a\"=443"), HasSubstr("expected \"text\", dword:"));
  EXPECT_THAT(FaultOfEntry("\"a\"=dword:"), HasSubstr("expected hexadecimal digits"));
  EXPECT_THAT(FaultOfEntry("\"a\"=dword:123456789"), HasSubstr("expected hexadecimal digits"));
  EXPECT_THAT(FaultOfEntry("\"a\"=hex:0g"), HasSubstr("expected hexadecimal digits"));
  EXPECT_THAT(FaultOfEntry("\"a\"=hex(2:00"), HasSubstr("expected the number of a type"));
  EXPECT_THAT(FaultOfEntry("\"a\"=hex(2)00"), HasSubstr("expected a colon behind the type"));
  EXPECT_THAT(FaultOfEntry("\"a\"=hex(1):61"), HasSubstr("expected an even number of bytes"));
}

/// Characters that matter to the form, and some that don't.
rc::Gen<std::wstring> AnyText() {
  return rc::gen::container<std::wstring>(rc::gen::element<wchar_t>(
      L'a', L'Z', L' ', L'"', L'\\', L'=', L'[', L']', L'@', L'-', L';', L',', L'%', L'\t',
      wchar_t{0xE9}, wchar_t{0x8A66}, wchar_t{0x1D4BD}));
}

rc::Gen<RegistryValue> AnyValue() {
  return rc::gen::oneOf(
      rc::gen::map(AnyText(),
                   [](std::wstring text) {
                     return RegistryValue{kSz, std::move(text) + L'\0', {}};
                   }),
      rc::gen::map(rc::gen::pair(rc::gen::element(kSz, kExpandSz, kMultiSz),
                                 rc::gen::container<std::wstring>(rc::gen::element<wchar_t>(
                                     L'a', L'\0', L'\r', L'\n', wchar_t{0x1D4BD}))),
                   [](std::pair<std::uint32_t, std::wstring> pair) {
                     return RegistryValue{pair.first, std::move(pair.second), {}};
                   }),
      rc::gen::map(rc::gen::pair(rc::gen::element(kBinary, kDword, 0u, 11u),
                                 rc::gen::arbitrary<std::vector<std::uint8_t>>()),
                   [](std::pair<std::uint32_t, std::vector<std::uint8_t>> pair) {
                     return RegistryValue{pair.first, {}, std::move(pair.second)};
                   }));
}

RC_GTEST_PROP(WriteRegFile, ReadsBackToAnEqualTree, ()) {
  RegistryTree tree{{L"HKEY_LOCAL_MACHINE", {}}};
  const auto values = *rc::gen::container<std::vector<std::pair<std::wstring, RegistryValue>>>(
      rc::gen::pair(AnyText(), AnyValue()));
  for (const auto& [name, value] : values) tree[L"HKEY_LOCAL_MACHINE\\K[]"][name] = value;
  RegistryTree again;
  ReadRegFile(WriteRegFile(tree), again);
  RC_ASSERT(again == tree);
}

RC_GTEST_PROP(ReadRegFile, AnyBytesAreReadOrRefused, (const std::string& bytes)) {
  RegistryTree tree;
  try {
    ReadRegFile(std::string(kRegFileHeader) + "\n[HKEY_LOCAL_MACHINE\\A]\n" + bytes, tree);
  } catch (const RegFileError& fault) {
    RC_ASSERT(std::string_view(fault.what()).starts_with("line "));
  }
  RC_ASSERT(tree.contains(L"HKEY_LOCAL_MACHINE\\A"));
}

}  // namespace
}  // namespace Lab
