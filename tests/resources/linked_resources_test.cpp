// What the resource compiler and the linker made of the scripts, read back from this very program:
// it carries the resources of the product, and beside them the scripts themselves.
#include <gtest/gtest.h>

#include <windows.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "message_script.h"

namespace {

constexpr unsigned int kBlockSize = 16;

std::string_view Resource(const wchar_t* name, const wchar_t* type, WORD language) {
  const HMODULE program = GetModuleHandleW(nullptr);
  const HRSRC place = FindResourceExW(program, type, name, language);
  if (place == nullptr) return {};
  const void* data = LockResource(LoadResource(program, place));
  return {static_cast<const char*>(data), SizeofResource(program, place)};
}

/// A script that this program carries, by its file name.
std::string_view Script(const std::string& name) {
  const std::wstring wide(name.begin(), name.end());
  return Resource(wide.c_str(), RT_RCDATA, MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US));
}

std::wstring Widen(const std::string& text) {
  std::wstring wide(text.size(), L'\0');
  const int length =
      MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), static_cast<int>(text.size()),
                          wide.data(), static_cast<int>(wide.size()));
  EXPECT_GT(length, 0) << text;
  wide.resize(static_cast<std::size_t>(length));
  return wide;
}

/// All texts of one language: a block of 16 holds each text behind its length.
std::map<unsigned int, std::wstring> LinkedTexts(WORD language) {
  std::map<unsigned int, std::wstring> texts;
  for (unsigned int id = 0; id <= 0xFFFF; id += kBlockSize) {
    const std::string_view block =
        Resource(MAKEINTRESOURCEW(id / kBlockSize + 1), RT_STRING, language);
    const auto* next = reinterpret_cast<const wchar_t*>(block.data());
    for (unsigned int i = 0; i < kBlockSize && !block.empty(); ++i) {
      const std::size_t length = static_cast<std::size_t>(*next++);
      if (length != 0) texts[id + i] = std::wstring(next, length);
      next += length;
    }
  }
  return texts;
}

TEST(LinkedStringTables, HoldEveryLanguageToTheLetter) {
  const std::vector<MessageLanguage> languages = ParseMessageLanguages(Script("messages.rc"));
  ASSERT_EQ(languages.size(), 9u);
  for (const MessageLanguage& language : languages) {
    std::map<unsigned int, std::wstring> expected;
    for (const auto& [id, text] : ParseMessageScript(Script(language.script))) {
      expected[id] = Widen(text);
    }
    EXPECT_GE(expected.size(), 184u) << language.script;
    EXPECT_TRUE(LinkedTexts(language.id) == expected) << language.id << " " << language.script;
  }
}

std::wstring Load(LCID locale, unsigned int id) {
  // The thread's language decides on Windows, its locale where that has no effect.
  const LCID before = GetThreadLocale();
  SetThreadUILanguage(LANGIDFROMLCID(locale));
  SetThreadLocale(locale);
  wchar_t text[2048] = {};
  const int length = LoadStringW(GetModuleHandleW(nullptr), id, text, 2048);
  SetThreadLocale(before);
  SetThreadUILanguage(LANGIDFROMLCID(before));
  return {text, static_cast<std::size_t>(length)};
}

TEST(LinkedStringTables, AreReadInTheLanguageOfTheThread) {
  EXPECT_EQ(Load(1031, 1182), L"Quellkonfiguration:");
  EXPECT_EQ(Load(1041, 1182), L"移行元の構成:");
  EXPECT_EQ(Load(1033, 1182), L"Source Configuration:");
}

TEST(LinkedStringTables, SpeakSpanishUnderBothIds) {
  EXPECT_EQ(Load(1034, 1182), L"Configuración de origen:");
  EXPECT_EQ(Load(3082, 1182), L"Configuración de origen:");
}

TEST(LinkedStringTables, FallBackToEnglishForTheLastBlock) {
  EXPECT_EQ(Load(1031, 1232), L"Continue? (Y/n) ");
  EXPECT_EQ(Load(1031, 1237), L"Validated export.zip, continuing ...");
}

TEST(LinkedStringTables, GiveTheEnglishPromptsOfASharedBlock) {
  EXPECT_EQ(Load(1031, 1231),
            L"Press ENTER after you have manually created the export.zip file, or\n"
            L"Enter 'n' if you do not wish to continue.");
}

TEST(LinkedVersion, IsTheProgramsOwn) {
  const std::string_view block = Resource(MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(16),
                                          MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US));
  ASSERT_FALSE(block.empty());
  // The query is documented to read the block in place.
  void* version = const_cast<char*>(block.data());
  void* value = nullptr;
  UINT size = 0;
  ASSERT_TRUE(VerQueryValueW(version, L"\\", &value, &size));
  EXPECT_EQ(static_cast<const VS_FIXEDFILEINFO*>(value)->dwProductVersionMS, 0x60000u);
  EXPECT_EQ(static_cast<const VS_FIXEDFILEINFO*>(value)->dwProductVersionLS, 0u);
  ASSERT_TRUE(
      VerQueryValueW(version, L"\\StringFileInfo\\040904b0\\ProductVersion", &value, &size));
  EXPECT_STREQ(static_cast<const wchar_t*>(value), L"6.0.0 build-14510545");
  ASSERT_TRUE(
      VerQueryValueW(version, L"\\StringFileInfo\\040904b0\\OriginalFilename", &value, &size));
  EXPECT_STREQ(static_cast<const wchar_t*>(value), L"Ostrel-Halvard.exe");
}

TEST(LinkedManifest, AsksForNoMoreRightsThanTheCallerHas) {
  const std::string_view manifest = Resource(MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(24),
                                             MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US));
  EXPECT_NE(manifest.find("level=\"asInvoker\""), std::string_view::npos);
  EXPECT_NE(manifest.find("supportedOS"), std::string_view::npos);
  EXPECT_NE(manifest.find(">true</longPathAware>"), std::string_view::npos);
}

}  // namespace
