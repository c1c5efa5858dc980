#include "runner/precheck_findings.h"

#include "core/logging.h"
#include "core/messages.h"
#include "core/text.h"

namespace Halvard::Runner {
namespace {

struct Finding {
  std::wstring text;
  std::wstring resolution;
  bool isError;
};

Finding ReadFinding(const Json::Value& spec) {
  std::string text = spec["description"]["localized"].asString();
  if (text.empty()) text = spec["text"]["localized"].asString();
  return {Utf8ToWide(text), Utf8ToWide(spec["resolution"]["localized"].asString()),
          spec["severity"].asString() == "ERROR"};
}

/// The findings of one severity, one after the other.
class FindingsText {
 public:
  /// \param heading  What each finding begins with.
  explicit FindingsText(std::wstring heading) : heading_(std::move(heading)) {}

  void Add(const Finding& finding) {
    if (count_ > 0) text_ += L"\n\n";
    text_ += heading_ + finding.text;
    if (!finding.resolution.empty()) {
      text_ += L"\n" + GetLocalizedString(1054) + finding.resolution;
    }
    ++count_;
  }

  int Count() const { return count_; }
  const std::wstring& Text() const { return text_; }

 private:
  const std::wstring heading_;
  std::wstring text_;
  int count_ = 0;
};

void ReadComponent(const Json::Value& component, FindingsText& errors, FindingsText& warnings) {
  LogScope log;
  log.Info(L"ParseErrorsWarningsFromPreUpgradeOutput: Processing pre-upgrade for component %s",
           Utf8ToWide(component["name"].asString()).c_str());
  const Json::Value& specs = component["requirements"]["requirementMismatchSpecs"];
  if (specs.empty()) {
    log.Info(L"ParseErrorsWarningsFromPreUpgradeOutput: No mismatch to process.");
    return;
  }
  for (const Json::Value& spec : specs) {
    const Finding finding = ReadFinding(spec);
    (finding.isError ? errors : warnings).Add(finding);
  }
}

}  // namespace

void ParseErrorsWarningsFromPreUpgradeOutput(const Json::Value& output, std::wstring& errors,
                                             std::wstring& warnings) {
  errors.clear();
  warnings.clear();
  LogScope log;
  if (output.empty()) {
    log.Info(L"ParseErrorsWarningsFromPreUpgradeOutput: Empty json object passed.");
    return;
  }
  FindingsText foundErrors(GetLocalizedString(1133));
  FindingsText foundWarnings(GetLocalizedString(1055));
  for (const Json::Value& component : output) {
    ReadComponent(component, foundErrors, foundWarnings);
  }
  errors = foundErrors.Text();
  warnings = foundWarnings.Text();
  if (foundErrors.Count() > 0) {
    log.Info(L"ParseErrorsWarningsFromPreUpgradeOutput: Parsed %d error messages.",
             foundErrors.Count());
    log.Info(L"ParseErrorsWarningsFromPreUpgradeOutput: Error messages: %s", errors.c_str());
  }
  if (foundWarnings.Count() > 0) {
    log.Info(L"ParseErrorsWarningsFromPreUpgradeOutput: Parsed %d warning messages.",
             foundWarnings.Count());
    log.Info(L"ParseErrorsWarningsFromPreUpgradeOutput: Warning messages: %s", warnings.c_str());
  }
}

}  // namespace Halvard::Runner
