#include "host/system_text.h"

#include <iterator>

namespace Halvard::Host {

std::wstring SystemText(DWORD error) {
  wchar_t buffer[512] = {};
  constexpr DWORD kUsersLanguage = 0;
  const DWORD length =
      FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error,
                     kUsersLanguage, buffer, static_cast<DWORD>(std::size(buffer)), nullptr);
  std::wstring text(buffer, length);
  // The texts end in ".\r\n"; a log line must not.
  text.erase(text.find_last_not_of(L" \t\r\n") + 1);
  return text;
}

}  // namespace Halvard::Host
