#include <string_view>

#include "api/failure.h"
#include "api/thread_language.h"
#include "machine/call.h"
#include "machine/handles.h"
#include "machine/string_tables.h"
#include "winerror.h"
#include "winnt.h"
#include "winuser.h"

namespace {

constexpr LANGID kEnglish = 0x0409;

/// The language is chosen for a block of 16 ids as a whole, whether or not it has the very id.
/// \return 0 when no language has the block.
LANGID ChooseLanguage(std::uint16_t id) {
  const LANGID exact = Lab::ThreadLanguage();
  for (const LANGID language : {exact, PRIMARYLANGID(exact), kEnglish, PRIMARYLANGID(kEnglish)}) {
    if (Lab::HasStringBlock(language, id)) return language;
  }
  return Lab::FirstLanguageOfBlock(id);
}

}  // namespace

int WINAPI LoadStringW(HINSTANCE module, UINT id, LPWSTR buffer, int bufferLength) {
  const Lab::Call call("LoadStringW");
  if (call.FailsByPlan()) return 0;
  LAB_SUPPORTS(module == nullptr || module == Lab::ProgramModule());
  LAB_SUPPORTS(buffer != nullptr && bufferLength > 0);
  // The upper half of an id is no part of it.
  const auto shortId = static_cast<std::uint16_t>(id & 0xFFFF);
  const LANGID language = ChooseLanguage(shortId);
  if (language == 0) return Lab::Fail(ERROR_RESOURCE_NAME_NOT_FOUND);
  const std::wstring_view text = Lab::FindString(language, shortId);
  const std::size_t copied = text.copy(buffer, static_cast<std::size_t>(bufferLength) - 1);
  buffer[copied] = L'\0';
  return static_cast<int>(copied);
}
