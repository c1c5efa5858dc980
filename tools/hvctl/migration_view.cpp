#include "migration_view.h"

#include <algorithm>

#include "api_message.h"

namespace Hvctl {
namespace {

constexpr int kBarWidth = 30;
constexpr int kWholePercent = 100;
constexpr int kLineStepPercent = 10;

std::string OnOneLine(const std::string& text) {
  std::string line = Harmless(text);
  std::ranges::replace(line, '\n', ' ');
  return line;
}

std::string PercentText(int percent) {
  const std::string digits = std::to_string(percent);
  return std::string(digits.size() < 3 ? 3 - digits.size() : 0, ' ') + digits + " %";
}

/// Lines for persons. How progress shows is left open.
class TextView : public MigrationView {
 public:
  explicit TextView(std::ostream& output) : output_(output) {}

  void BeginStep(const std::string&, const std::string& title) override {
    output_ << "== " << title << '\n' << std::flush;
  }
  void Tell(const std::string& text) override {
    output_ << Harmless(text);
    if (!text.ends_with('\n')) output_ << '\n';
    output_ << std::flush;
  }
  void EndStep() override {}

 protected:
  std::ostream& Output() { return output_; }

 private:
  std::ostream& output_;
};

class LineView : public TextView {
 public:
  using TextView::TextView;

  void ShowProgress(int percent, const std::string& message) override {
    const bool isWorthALine = message != message_ || percent < percent_ ||
                              percent >= percent_ + kLineStepPercent ||
                              (percent == kWholePercent && percent_ != kWholePercent);
    if (!isWorthALine) return;
    percent_ = percent;
    message_ = message;
    Output() << PercentText(percent) << "  " << OnOneLine(message) << '\n' << std::flush;
  }
  void EndStep() override {
    percent_ = -kLineStepPercent;
    message_.clear();
  }

 private:
  int percent_ = -kLineStepPercent;
  std::string message_;
};

class BarView : public TextView {
 public:
  using TextView::TextView;

  void BeginStep(const std::string& name, const std::string& title) override {
    LeaveTheBar();
    TextView::BeginStep(name, title);
  }
  void Tell(const std::string& text) override {
    LeaveTheBar();
    TextView::Tell(text);
  }
  void ShowProgress(int percent, const std::string& message) override {
    const int done = percent * kBarWidth / kWholePercent;
    std::string line = "[" + std::string(static_cast<std::size_t>(done), '#') +
                       std::string(static_cast<std::size_t>(kBarWidth - done), '.') + "] " +
                       PercentText(percent) + "  " + OnOneLine(message);
    const std::size_t length = line.size();
    // What is left of a longer line before goes away.
    if (length < shown_) line.append(shown_ - length, ' ');
    shown_ = length;
    Output() << '\r' << line << std::flush;
  }
  void EndStep() override { LeaveTheBar(); }

 private:
  void LeaveTheBar() {
    if (shown_ > 0) Output() << '\n' << std::flush;
    shown_ = 0;
  }

  std::size_t shown_ = 0;  ///< Length of the bar's line; 0 without one.
};

class JsonView : public MigrationView {
 public:
  explicit JsonView(std::ostream& output) : output_(output) {}

  void BeginStep(const std::string& name, const std::string&) override {
    step_ = name;
    Write("begin", {});
  }
  void Tell(const std::string& text) override {
    Json::Value more;
    more["text"] = text;
    Write("text", more);
  }
  void ShowProgress(int percent, const std::string& message) override {
    Json::Value more;
    more["percent"] = percent;
    more["text"] = message;
    Write("progress", more);
  }
  void EndStep() override { Write("end", {}); }

 private:
  void Write(const char* event, Json::Value line) {
    line["event"] = event;
    line["step"] = step_;
    output_ << WriteJson(line) << '\n' << std::flush;
  }

  std::ostream& output_;
  std::string step_;
};

}  // namespace

std::unique_ptr<MigrationView> MakeMigrationView(ProgressForm form, std::ostream& output) {
  if (form == ProgressForm::kJson) return std::make_unique<JsonView>(output);
  if (form == ProgressForm::kBar) return std::make_unique<BarView>(output);
  return std::make_unique<LineView>(output);
}

std::string Harmless(std::string text) {
  for (char& c : text) {
    if ((static_cast<unsigned char>(c) < ' ' && c != '\n') || c == '\x7f') c = ' ';
  }
  return text;
}

}  // namespace Hvctl
