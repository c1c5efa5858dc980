#include "migration_view.h"

#include <sstream>

#include <gtest/gtest.h>

namespace Hvctl {
namespace {

class MigrationViewTest : public testing::Test {
 protected:
  void Make(ProgressForm form) { view_ = MakeMigrationView(form, output_); }
  std::string Taken() {
    const std::string text = output_.str();
    output_.str({});
    return text;
  }

  std::ostringstream output_;
  std::unique_ptr<MigrationView> view_;
};

TEST_F(MigrationViewTest, LinesComeForTenthsForNewMessagesAndForTheEnd) {
  Make(ProgressForm::kLines);
  view_->BeginStep("export", "Export");
  EXPECT_EQ(Taken(), "== Export\n");
  view_->ShowProgress(0, "Writing");
  view_->ShowProgress(9, "Writing");
  EXPECT_EQ(Taken(), "  0 %  Writing\n");
  view_->ShowProgress(10, "Writing");
  view_->ShowProgress(11, "Closing");
  view_->ShowProgress(3, "Closing");
  EXPECT_EQ(Taken(), " 10 %  Writing\n 11 %  Closing\n  3 %  Closing\n");
  view_->ShowProgress(98, "Closing");
  view_->ShowProgress(100, "Closing");
  view_->ShowProgress(100, "Closing");
  EXPECT_EQ(Taken(), " 98 %  Closing\n100 %  Closing\n");
  view_->EndStep();
  view_->ShowProgress(100, "Closing");
  EXPECT_EQ(Taken(), "100 %  Closing\n");
}

TEST_F(MigrationViewTest, BarIsOneLineThatIsLeftBeforeAnyOther) {
  Make(ProgressForm::kBar);
  view_->ShowProgress(50, "Long message");
  EXPECT_EQ(Taken(), "\r[###############...............]  50 %  Long message");
  view_->ShowProgress(100, "Short");
  EXPECT_EQ(Taken(), "\r[##############################] 100 %  Short       ");
  view_->Tell("Asked.");
  EXPECT_EQ(Taken(), "\nAsked.\n");
  view_->EndStep();
  EXPECT_EQ(Taken(), "");
  view_->ShowProgress(0, "");
  view_->EndStep();
  EXPECT_EQ(Taken(), "\r[..............................]   0 %  \n");
  view_->ShowProgress(0, "");
  view_->BeginStep("logs", "Logs");
  EXPECT_EQ(Taken(), "\r[..............................]   0 %  \n== Logs\n");
}

TEST_F(MigrationViewTest, ProgramsGetAnObjectInEachLine) {
  Make(ProgressForm::kJson);
  view_->BeginStep("export", "Export");
  view_->ShowProgress(7, "a\nb");
  view_->Tell("\u00e4\x1b");
  view_->EndStep();
  EXPECT_EQ(Taken(),
            "{\"event\":\"begin\",\"step\":\"export\"}\n"
            "{\"event\":\"progress\",\"percent\":7,\"step\":\"export\",\"text\":\"a\\nb\"}\n"
            "{\"event\":\"text\",\"step\":\"export\",\"text\":\"\u00e4\\u001b\"}\n"
            "{\"event\":\"end\",\"step\":\"export\"}\n");
}

TEST_F(MigrationViewTest, NoTextCommandsTheTerminal) {
  Make(ProgressForm::kLines);
  view_->Tell("a\x1b[2J\r\nb\x7f");
  EXPECT_EQ(Taken(), "a [2J \nb \n");
  view_->ShowProgress(1, "a\nb\x1b");
  EXPECT_EQ(Taken(), "  1 %  a b \n");
}

}  // namespace
}  // namespace Hvctl
