#include "core/messages.h"

#include "core_test.h"

namespace Halvard {
namespace {

using testing::ElementsAre;
using Testing::ErrorLine;
using testing::HasSubstr;
using Testing::OwnLog;

class Messages : public CoreTest {};

TEST_F(Messages, ArgumentsTakeTheirPlaces) {
  EXPECT_EQ(GetLocalizedString(1014), L"Initializing Halvard...");
  EXPECT_EQ(GetLocalizedString(1023, L"9123"), L"Port: 9123");
  EXPECT_EQ(GetLocalizedString(1138, L"6.0.0", L"14510545"),
            L"Halvard v6.0.0 build 14510545 options");
  EXPECT_EQ(GetLocalizedString(1003, std::vector<std::wstring>{L"A", L"B"}),
            L"Note: Your A will be migrated to B.");
}

TEST_F(Messages, PlacesWithoutAnArgumentStay) {
  EXPECT_EQ(
      GetLocalizedString(1002, L"C:\\export"),
      L"Export directory C:\\export does not have enough amount of required disk space. Required: [1] , Found: [2] .");
}

TEST_F(Messages, ArgumentsWithoutAPlaceAreLeftOut) {
  EXPECT_EQ(GetLocalizedString(1014, L"unused"), L"Initializing Halvard...");
}

TEST_F(Messages, PlaceInAnArgumentIsFilledByTheNext) {
  EXPECT_EQ(GetLocalizedString(1003, L"[1]", L"B"), L"Note: Your B will be migrated to [1].");
}

TEST_F(Messages, OnlyTheFirstPlaceOfANumberIsFilled) {
  EXPECT_EQ(GetLocalizedString(1003, L"x[0]", L"B"), L"Note: Your x[0] will be migrated to B.");
}

TEST_F(Messages, UnknownIdGivesNothingAndAnErrorLine) {
  EXPECT_EQ(GetLocalizedString(4711), L"");
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(ErrorLine(L"GetLocalizedString: Failed to load localized string for id '4711'")));
}

TEST_F(Messages, MachinesLanguageIsTheConsoles) {
  const std::wstring english = GetLocalizedString(1014);
  SpeakMachineLanguage(1031);
  EXPECT_NE(GetLocalizedString(1014), english);
  EXPECT_EQ(GetLocalizedStringIn(1014, "en"), english);
}

TEST_F(Messages, UnsupportedMachineLanguageSpeaksEnglish) {
  SpeakMachineLanguage(1049);
  EXPECT_EQ(GetLocalizedString(1014), L"Initializing Halvard...");
}

TEST_F(Messages, AskedForAnotherLanguageTheThreadComesBack) {
  const std::wstring japanese = GetLocalizedStringIn(1023, L"9123", "ja");
  EXPECT_THAT(japanese, HasSubstr(L"9123"));
  EXPECT_NE(japanese, GetLocalizedString(1023, L"9123"));
  EXPECT_EQ(GetLocalizedString(1023, L"9123"), L"Port: 9123");
}

TEST_F(Messages, UnsupportedLocaleSpeaksEnglish) {
  SpeakMachineLanguage(1036);
  EXPECT_EQ(GetLocalizedStringIn(1014, "fr_FR"), L"Initializing Halvard...");
}

TEST_F(Messages, SpanishMachineSpeaksSpanishBeforeAndAfterASwitch) {
  SpeakMachineLanguage(3082);
  const std::wstring before = GetLocalizedString(1014);
  EXPECT_NE(before, L"Initializing Halvard...");
  (void)GetLocalizedStringIn(1014, "en");
  EXPECT_EQ(GetLocalizedString(1014), before);
}

}  // namespace
}  // namespace Halvard
