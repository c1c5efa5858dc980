#include "core/text.h"

#include <algorithm>

#include "host/windows_api.h"

namespace Halvard {

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

std::wstring JoinSet(const std::set<std::wstring>& members, std::wstring_view separator) {
  std::wstring joined;
  for (const std::wstring& member : members) {
    if (&member != &*members.begin()) joined += separator;
    joined += member;
  }
  return joined;
}

}  // namespace Halvard
