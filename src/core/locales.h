// The eight languages of the agent: names, language ids, and whose language is in force.
#pragma once

#include <string>
#include <string_view>

#include "host/windows_api.h"

namespace Halvard {

/// \return True when \p name is one of the eight locale names. Case matters.
bool IsSupportedLocale(std::wstring_view name);

/// \return True when the agent speaks a machine's language of this id.
bool IsSupportedLanguageId(LANGID id);

/// \return The language id to give to a thread for a locale name; 0 for an unknown name.
LANGID ToLanguageId(std::wstring_view name);

/// \return The locale name for a machine's language id; empty for an unknown id.
std::wstring ToLocaleName(LANGID id);

/// Takes the machine's language as the operator's, in HV_LOCALE, and for the time being as the
/// client's, in MC_LOCALE. English when the machine's isn't supported.
void SetHVLocale();

/// Takes the client's language, in MC_LOCALE; "en" when it isn't supported.
/// \param locale  As the client sent it, in UTF-8.
void SetMCLocale(const std::string& locale);

/// Switches the calling thread to another language and, at its end, back to the operator's.
class LocaleHandler {
 public:
  /// \param locale  Locale name in UTF-8. The operator's own needs no switch; for an unsupported
  ///                one the thread speaks English.
  explicit LocaleHandler(const std::string& locale);
  LocaleHandler(const LocaleHandler&) = delete;
  LocaleHandler& operator=(const LocaleHandler&) = delete;
  ~LocaleHandler();

 private:
  static void SetLocale(const std::wstring& name);
  static void RestoreHVLocale(const std::wstring& name);

  std::wstring name_;
};

}  // namespace Halvard
