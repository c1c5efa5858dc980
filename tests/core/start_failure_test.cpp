#include "core/start_failure.h"

#include "core/messages.h"
#include "core_test.h"
#include "support/console_capture.h"

namespace Halvard {
namespace {

using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using Testing::LogLine;
using Testing::OwnLog;

constexpr unsigned int kPortInUse = 1146;
const std::wstring kEnglish =
    L"Halvard port:9123 is already in use. Relaunch Halvard with a different port.";

/// Of an operator who doesn't speak the language of the log.
class StartFailure : public CoreTest {
 protected:
  StartFailure() {
    constexpr int kGerman = 1031;
    SpeakMachineLanguage(kGerman);
    shown_ = GetLocalizedString(kPortInUse, L"9123") + L"\n";
    EXPECT_NE(shown_, kEnglish + L"\n");
  }
  ~StartFailure() override { EXPECT_EQ(gProperties[L"HV_INIT_ERROR"].Value(), kEnglish); }

  const LogLine inEnglish_ = InfoLine(L"LocaleHandler::SetLocale: Client locale: en is supported");
  std::wstring shown_;
  Testing::ConsoleCapture console_;
};

TEST_F(StartFailure, IsShownInTheOperatorsLanguageAndStoredInEnglish) {
  EXPECT_EQ(ShowAndStoreError(kPortInUse, {L"9123"}), kEnglish);
  EXPECT_EQ(console_.Text(), shown_);
  EXPECT_THAT(OwnLog(), ElementsAre(inEnglish_));
}

TEST_F(StartFailure, IsLoggedAndStoredWithoutAWordToTheOperator) {
  LogAndStoreError(L"PickHVPort: %s", kPortInUse, {L"9123"});
  EXPECT_EQ(console_.Text(), L"");
  EXPECT_THAT(OwnLog(), ElementsAre(inEnglish_, ErrorLine(L"PickHVPort: " + kEnglish)));
}

TEST_F(StartFailure, ReachesOperatorAndLog) {
  ReportFatal(L"PickHVPort: %s", kPortInUse, {L"9123"});
  EXPECT_EQ(console_.Text(), shown_);
  EXPECT_THAT(OwnLog(), ElementsAre(inEnglish_, ErrorLine(L"PickHVPort: " + kEnglish)));
}

}  // namespace
}  // namespace Halvard
