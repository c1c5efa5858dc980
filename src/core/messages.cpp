#include "core/messages.h"

#include <cstddef>

#include "core/locales.h"
#include "core/logging.h"
#include "host/windows_api.h"

namespace Halvard {
namespace {

constexpr int kMessageSize = 2048;

}  // namespace

std::wstring GetLocalizedString(unsigned int id) {
  return GetLocalizedString(id, std::vector<std::wstring>());
}

std::wstring GetLocalizedString(unsigned int id, const std::wstring& argument) {
  return GetLocalizedString(id, std::vector<std::wstring>{argument});
}

std::wstring GetLocalizedString(unsigned int id, const std::wstring& first,
                                const std::wstring& second) {
  return GetLocalizedString(id, std::vector<std::wstring>{first, second});
}

std::wstring GetLocalizedString(unsigned int id, const std::vector<std::wstring>& arguments) {
  LogScope log;
  wchar_t buffer[kMessageSize] = {};
  const int length = LoadStringW(GetModuleHandleW(nullptr), id, buffer, kMessageSize);
  if (length == 0) {
    log.Error(L"GetLocalizedString: Failed to load localized string for id '%d'", id);
    return {};
  }
  std::wstring text(buffer, static_cast<std::size_t>(length));
  log.Debug(L"GetLocalizedString: String to be formatted is: %s", text.c_str());
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::wstring token = L"[" + std::to_wstring(i) + L"]";
    const std::size_t place = text.find(token);
    if (place == std::wstring::npos) continue;
    log.Debug(L"GetLocalizedString: Replacing %s with %s", token.c_str(), arguments[i].c_str());
    text.replace(place, token.size(), arguments[i]);
  }
  log.Debug(L"GetLocalizedString: Formatted string is: %s", text.c_str());
  return text;
}

std::wstring GetLocalizedStringIn(unsigned int id, const std::string& locale) {
  return GetLocalizedStringIn(id, std::vector<std::wstring>(), locale);
}

std::wstring GetLocalizedStringIn(unsigned int id, const std::wstring& argument,
                                  const std::string& locale) {
  return GetLocalizedStringIn(id, std::vector<std::wstring>{argument}, locale);
}

std::wstring GetLocalizedStringIn(unsigned int id, const std::vector<std::wstring>& arguments,
                                  const std::string& locale) {
  const LocaleHandler handler(locale);
  return GetLocalizedString(id, arguments);
}

}  // namespace Halvard
