// The system's texts for its error codes.
#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

#include "api/failure.h"
#include "machine/call.h"
#include "windows.h"

namespace {

using Lab::Fail;

struct SystemText {
  DWORD code;
  std::wstring_view text;
};

/// Those that the agent's calls bring about where it asks for a text.
constexpr SystemText kTexts[] = {
    {ERROR_ACCESS_DENIED, L"Access is denied."},
    {ERROR_INVALID_HANDLE, L"The handle is invalid."},
    {ERROR_NOT_ENOUGH_MEMORY,
     L"Not enough memory resources are available to process this command."},
    {ERROR_NO_MORE_FILES, L"There are no more files."},
    {ERROR_GEN_FAILURE, L"A device attached to the system is not functioning."},
    {ERROR_INVALID_PARAMETER, L"The parameter is incorrect."},
};

}  // namespace

DWORD FormatMessageW(DWORD flags, LPCVOID source, DWORD code, DWORD language, LPWSTR buffer,
                     DWORD size, va_list* arguments) {
  const Lab::Call call("FormatMessageW");
  if (call.FailsByPlan()) return 0;
  LAB_SUPPORTS(flags == (FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS));
  LAB_SUPPORTS(source == nullptr && language == 0 && buffer != nullptr && arguments == nullptr);
  const auto* const found = std::ranges::find(kTexts, code, &SystemText::code);
  if (found == std::end(kTexts)) return Fail(ERROR_MR_MID_NOT_FOUND);
  const std::wstring text = std::wstring(found->text) + L"\r\n";
  if (text.size() >= size) return Fail(ERROR_INSUFFICIENT_BUFFER);
  text.copy(buffer, text.size());
  buffer[text.size()] = L'\0';
  return static_cast<DWORD>(text.size());
}
