// UTF-8 and wide text. A wide character has 32 bits here, so there are no pairs of surrogates: a
// lone surrogate and a value beyond Unicode are what can't be converted.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "api/failure.h"
#include "errhandlingapi.h"
#include "machine/call.h"
#include "stringapiset.h"
#include "winerror.h"

namespace {

using Lab::Fail;

constexpr wchar_t kReplacement = 0xFFFD;

bool IsCharacter(wchar_t character) {
  const auto value = static_cast<std::uint32_t>(character);
  return value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
}

void AppendUtf8(wchar_t character, std::string& text) {
  const auto value = static_cast<std::uint32_t>(character);
  const auto tail = [&](int shift) { text += static_cast<char>(0x80 | (value >> shift & 0x3F)); };
  if (value < 0x80) {
    text += static_cast<char>(value);
  } else if (value < 0x800) {
    text += static_cast<char>(0xC0 | value >> 6);
    tail(0);
  } else if (value < 0x10000) {
    text += static_cast<char>(0xE0 | value >> 12);
    tail(6);
    tail(0);
  } else {
    text += static_cast<char>(0xF0 | value >> 18);
    tail(12);
    tail(6);
    tail(0);
  }
}

/// What the first byte of a sequence tells: how many follow, and the range of the second one, which
/// keeps out overlong forms, surrogates and values beyond Unicode.
struct Lead {
  int following;  // -1: can't begin a sequence
  unsigned char low;
  unsigned char high;
};

Lead LeadOf(unsigned char byte) {
  if (byte < 0x80) return {0, 0, 0};
  if (byte < 0xC2 || byte > 0xF4) return {-1, 0, 0};
  if (byte < 0xE0) return {1, 0x80, 0xBF};
  if (byte < 0xF0) {
    const auto low = static_cast<unsigned char>(byte == 0xE0 ? 0xA0 : 0x80);
    return {2, low, static_cast<unsigned char>(byte == 0xED ? 0x9F : 0xBF)};
  }
  const auto low = static_cast<unsigned char>(byte == 0xF0 ? 0x90 : 0x80);
  return {3, low, static_cast<unsigned char>(byte == 0xF4 ? 0x8F : 0xBF)};
}

/// Takes one character. A broken sequence is taken up to the byte that can't belong to it.
/// \return False, with the replacement in \p character, for a broken one.
bool NextCharacter(std::string_view& text, wchar_t& character) {
  const auto first = static_cast<unsigned char>(text[0]);
  text.remove_prefix(1);
  character = kReplacement;
  Lead lead = LeadOf(first);
  if (lead.following < 0) return false;
  if (lead.following == 0) {
    character = first;
    return true;
  }
  std::uint32_t value = first & (0x3F >> lead.following);
  for (; lead.following > 0; --lead.following) {
    const auto next = static_cast<unsigned char>(text.empty() ? 0 : text[0]);
    if (next < lead.low || next > lead.high) return false;
    value = value << 6 | (next & 0x3F);
    text.remove_prefix(1);
    lead.low = 0x80;
    lead.high = 0xBF;
  }
  character = static_cast<wchar_t>(value);
  return true;
}

/// \return True when each character is a byte in UTF-8, of the same number. So is nearly all text
/// of
///         the agent, and nothing has to be converted.
template <typename Character>
bool IsAscii(std::basic_string_view<Character> text) {
  std::uint32_t bits = 0;
  for (const Character character : text) bits |= static_cast<std::uint32_t>(character);
  return bits < 0x80;
}

/// Copies the result out, or only counts it when there is no room asked for.
template <typename Text, typename Character>
int Deliver(const Text& result, Character* buffer, int bufferSize) {
  const int size = static_cast<int>(result.size());
  if (bufferSize == 0) return size;
  if (size > bufferSize) return Fail(ERROR_INSUFFICIENT_BUFFER);
  std::copy(result.begin(), result.end(), buffer);
  return size;
}

}  // namespace

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCCH text, int textSize, LPWSTR buffer,
                        int bufferSize) {
  LAB_SUPPORTS(codePage == CP_UTF8 && (flags == 0 || flags == MB_ERR_INVALID_CHARS));
  if (text == nullptr || textSize == 0 || textSize < -1 || bufferSize < 0 ||
      (buffer == nullptr && bufferSize != 0)) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  // Without a size the terminator is converted too.
  std::string_view rest = textSize < 0
                              ? std::string_view(text, std::char_traits<char>::length(text) + 1)
                              : std::string_view(text, static_cast<std::size_t>(textSize));
  if (IsAscii(rest)) return Deliver(rest, buffer, bufferSize);
  std::wstring wide;
  while (!rest.empty()) {
    wchar_t character = 0;
    if (!NextCharacter(rest, character) && flags == MB_ERR_INVALID_CHARS) {
      return Fail(ERROR_NO_UNICODE_TRANSLATION);
    }
    wide += character;
  }
  return Deliver(wide, buffer, bufferSize);
}

int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWCH text, int textSize, LPSTR buffer,
                        int bufferSize, LPCCH defaultCharacter, LPBOOL usedDefault) {
  LAB_SUPPORTS(codePage == CP_UTF8 && (flags == 0 || flags == WC_ERR_INVALID_CHARS));
  if (text == nullptr || textSize == 0 || textSize < -1 || bufferSize < 0 ||
      (buffer == nullptr && bufferSize != 0) || defaultCharacter != nullptr ||
      usedDefault != nullptr) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  const std::wstring_view wide =
      textSize < 0 ? std::wstring_view(text, std::char_traits<wchar_t>::length(text) + 1)
                   : std::wstring_view(text, static_cast<std::size_t>(textSize));
  if (IsAscii(wide)) return Deliver(wide, buffer, bufferSize);
  std::string utf8;
  for (const wchar_t character : wide) {
    if (!IsCharacter(character) && flags == WC_ERR_INVALID_CHARS) {
      return Fail(ERROR_NO_UNICODE_TRANSLATION);
    }
    AppendUtf8(IsCharacter(character) ? character : kReplacement, utf8);
  }
  return Deliver(utf8, buffer, bufferSize);
}
