#include "core/text.h"

#include <algorithm>

#include "host/windows_api.h"

namespace Halvard {
namespace {

template <typename Texts>
std::wstring Join(const Texts& texts, std::wstring_view separator) {
  std::wstring joined;
  for (auto text = texts.begin(); text != texts.end(); ++text) {
    if (text != texts.begin()) joined += separator;
    joined += *text;
  }
  return joined;
}

}  // namespace

std::string WideToUtf8(std::wstring_view text) {
  // The conversion calls a length of zero a wrong argument.
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  const int needed =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<std::size_t>(needed), '\0');
  (void)WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(), needed, nullptr, nullptr);
  return utf8;
}

std::wstring Utf8ToWide(std::string_view text) {
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  const int needed = MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(needed), L'\0');
  (void)MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), needed);
  return wide;
}

std::vector<std::wstring> SplitString(std::wstring_view text, wchar_t separator) {
  std::vector<std::wstring> pieces;
  while (!text.empty()) {
    const std::wstring_view piece = text.substr(0, text.find(separator));
    if (!piece.empty()) pieces.emplace_back(piece);
    text.remove_prefix(std::min(piece.size() + 1, text.size()));
  }
  return pieces;
}

std::set<std::wstring> SplitToSet(std::wstring_view text, wchar_t separator) {
  const std::vector<std::wstring> pieces = SplitString(text, separator);
  return {pieces.begin(), pieces.end()};
}

std::wstring JoinStrings(const std::vector<std::wstring>& texts, std::wstring_view separator) {
  return Join(texts, separator);
}

std::wstring JoinSet(const std::set<std::wstring>& texts, std::wstring_view separator) {
  return Join(texts, separator);
}

}  // namespace Halvard
