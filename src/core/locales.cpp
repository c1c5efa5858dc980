#include "core/locales.h"

#include <algorithm>
#include <array>

#include "core/logging.h"
#include "core/property_store.h"
#include "core/text.h"

namespace Halvard {
namespace {

struct Language {
  std::wstring_view name;
  /// The id that a thread gets, and that the string tables carry.
  LANGID threadId;
  /// The id by which a machine reports the language.
  LANGID machineId;
};

// The two ids of Spanish differ: machines report the modern sort order, the tables carry the
// traditional one.
constexpr std::array<Language, 8> kLanguages{{{L"zh_TW", 1028, 1028},
                                              {L"de", 1031, 1031},
                                              {L"en", 1033, 1033},
                                              {L"fr", 1036, 1036},
                                              {L"ja", 1041, 1041},
                                              {L"ko", 1042, 1042},
                                              {L"zh_CN", 2052, 2052},
                                              {L"es", 1034, 3082}}};

const Language* FindByName(std::wstring_view name) {
  const auto* found = std::ranges::find(kLanguages, name, &Language::name);
  return found == kLanguages.end() ? nullptr : found;
}

const Language* FindByMachineId(LANGID id) {
  const auto* found = std::ranges::find(kLanguages, id, &Language::machineId);
  return found == kLanguages.end() ? nullptr : found;
}

}  // namespace

bool IsSupportedLocale(std::wstring_view name) { return FindByName(name) != nullptr; }

bool IsSupportedLanguageId(LANGID id) { return FindByMachineId(id) != nullptr; }

LANGID ToLanguageId(std::wstring_view name) {
  const Language* language = FindByName(name);
  return language == nullptr ? LANGID{0} : language->threadId;
}

std::wstring ToLocaleName(LANGID id) {
  const Language* language = FindByMachineId(id);
  return language == nullptr ? std::wstring() : std::wstring(language->name);
}

void SetHVLocale() {
  LogScope log;
  const LANGID id = GetUserDefaultUILanguage();
  if (IsSupportedLanguageId(id)) {
    log.Info(L"SetHVLocale: UI language id of machine %d is supported.", int{id});
    gProperties[L"HV_LOCALE"] = ToLocaleName(id);
  } else {
    log.Warn(L"SetHVLocale: UI language id of machine %d is not supported.", int{id});
    (void)SetThreadUILanguage(ToLanguageId(L"en"));
    gProperties[L"HV_LOCALE"] = L"en";
    log.Warn(L"SetHVLocale: Halvard will use English locale.");
  }
  gProperties[L"MC_LOCALE"] = gProperties[L"HV_LOCALE"];
}

void SetMCLocale(const std::string& locale) {
  LogScope log;
  const std::wstring name = Utf8ToWide(locale);
  if (gProperties[L"MC_LOCALE"] == name) {
    log.Info(L"SetMCLocale: Client locale is already set to: %s", name.c_str());
    return;
  }
  if (IsSupportedLocale(name)) {
    log.Info(L"SetMCLocale: Client locale: %s is supported", name.c_str());
    gProperties[L"MC_LOCALE"] = name;
  } else {
    log.Warn(L"SetMCLocale: Client locale: %s is not supported.", name.c_str());
    gProperties[L"MC_LOCALE"] = L"en";
  }
}

LocaleHandler::LocaleHandler(const std::string& locale) : name_(Utf8ToWide(locale)) {
  SetLocale(name_);
}

LocaleHandler::~LocaleHandler() { RestoreHVLocale(name_); }

void LocaleHandler::SetLocale(const std::wstring& name) {
  LogScope log;
  // The thread already speaks the operator's language.
  if (gProperties[L"HV_LOCALE"] == name) return;
  if (IsSupportedLocale(name)) {
    log.Info(L"LocaleHandler::SetLocale: Client locale: %s is supported", name.c_str());
    (void)SetThreadUILanguage(ToLanguageId(name));
  } else {
    log.Warn(L"LocaleHandler::SetLocale: Client locale: %s is not supported.", name.c_str());
    (void)SetThreadUILanguage(ToLanguageId(L"en"));
  }
}

void LocaleHandler::RestoreHVLocale(const std::wstring& name) {
  const std::wstring own = gProperties[L"HV_LOCALE"];
  if (own != name) (void)SetThreadUILanguage(ToLanguageId(own));
}

}  // namespace Halvard
