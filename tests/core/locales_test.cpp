#include "core/locales.h"

#include "core_test.h"

namespace Halvard {
namespace {

using testing::Contains;
using testing::ElementsAre;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::OwnLog;
using Testing::WarningLine;

struct LanguageCase {
  const wchar_t* name;
  LANGID threadId;
  LANGID machineId;
};
constexpr LanguageCase kLanguages[] = {
    {L"zh_TW", 1028, 1028}, {L"de", 1031, 1031}, {L"en", 1033, 1033},    {L"fr", 1036, 1036},
    {L"ja", 1041, 1041},    {L"ko", 1042, 1042}, {L"zh_CN", 2052, 2052}, {L"es", 1034, 3082},
};

class Locales : public CoreTest {
 protected:
  unsigned int LanguageSwitches() {
    return Lab::TheMachine().Faults().Calls("SetThreadUILanguage");
  }
};

TEST_F(Locales, EightLanguagesHaveTheirIds) {
  for (const LanguageCase& row : kLanguages) {
    EXPECT_TRUE(IsSupportedLocale(row.name));
    EXPECT_TRUE(IsSupportedLanguageId(row.machineId));
    EXPECT_EQ(ToLanguageId(row.name), row.threadId);
    EXPECT_EQ(ToLocaleName(row.machineId), row.name);
  }
}

TEST_F(Locales, OtherNamesAndIdsAreUnknown) {
  for (const wchar_t* name : {L"", L"EN", L"fr_FR", L"zh", L"en "}) {
    EXPECT_FALSE(IsSupportedLocale(name));
    EXPECT_EQ(ToLanguageId(name), 0);
  }
  for (const LANGID id : {LANGID{0}, LANGID{1034}, LANGID{1049}, LANGID{3084}}) {
    EXPECT_FALSE(IsSupportedLanguageId(id));
    EXPECT_EQ(ToLocaleName(id), L"");
  }
}

TEST_F(Locales, MachinesLanguageBecomesTheOperatorsAndTheClients) {
  for (const LanguageCase& row : kLanguages) {
    SpeakMachineLanguage(row.machineId);
    EXPECT_TRUE(gProperties[L"HV_LOCALE"] == row.name);
    EXPECT_TRUE(gProperties[L"MC_LOCALE"] == row.name);
  }
}

TEST_F(Locales, SupportedMachineLanguageIsLogged) {
  machine_.Set("/computer/uiLanguage", 3082);
  SetHVLocale();
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(L"SetHVLocale: UI language id of machine 3082 is supported.")));
  EXPECT_EQ(LanguageSwitches(), 0u);
}

TEST_F(Locales, UnsupportedMachineLanguageGivesEnglish) {
  machine_.Set("/computer/uiLanguage", 1049);
  SetHVLocale();
  EXPECT_TRUE(gProperties[L"HV_LOCALE"] == L"en");
  EXPECT_TRUE(gProperties[L"MC_LOCALE"] == L"en");
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(WarningLine(L"SetHVLocale: UI language id of machine 1049 is not supported."),
                  WarningLine(L"SetHVLocale: Halvard will use English locale.")));
}

TEST_F(Locales, ClientsLanguageIsTaken) {
  SetMCLocale("ja");
  EXPECT_TRUE(gProperties[L"MC_LOCALE"] == L"ja");
  SetMCLocale("ja");
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"SetMCLocale: Client locale: ja is supported"),
                                    InfoLine(L"SetMCLocale: Client locale is already set to: ja")));
}

TEST_F(Locales, UnsupportedClientLocaleGivesEnglish) {
  SetMCLocale("ko");
  SetMCLocale("fr_FR");
  EXPECT_TRUE(gProperties[L"MC_LOCALE"] == L"en");
  EXPECT_THAT(OwnLog(),
              Contains(WarningLine(L"SetMCLocale: Client locale: fr_FR is not supported.")));
}

TEST_F(Locales, OperatorsOwnLanguageNeedsNoSwitch) {
  { const LocaleHandler english("en"); }
  EXPECT_EQ(LanguageSwitches(), 0u);
  EXPECT_THAT(OwnLog(), IsEmpty());
}

TEST_F(Locales, AnotherLanguageIsSwitchedToAndBack) {
  { const LocaleHandler german("de"); }
  EXPECT_EQ(LanguageSwitches(), 2u);
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(L"LocaleHandler::SetLocale: Client locale: de is supported")));
}

TEST_F(Locales, UnsupportedLocaleIsToldInTheLog) {
  { const LocaleHandler unknown("xx"); }
  EXPECT_EQ(LanguageSwitches(), 2u);
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(WarningLine(L"LocaleHandler::SetLocale: Client locale: xx is not supported.")));
}

}  // namespace
}  // namespace Halvard
