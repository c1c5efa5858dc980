#include "runner/precheck_findings.h"

#include "core/core_test.h"
#include "core/startup/process_test.h"
#include "preupgrade_test.h"

namespace Halvard::Runner {
namespace {

using testing::Contains;
using testing::ElementsAre;
using Testing::InfoLine;
using Testing::OwnLog;
using testing::StartsWith;

class PrecheckFindings : public CoreTest {
 protected:
  void Read(const Json::Value& output) {
    ParseErrorsWarningsFromPreUpgradeOutput(output, errors_, warnings_);
  }

  /// Reads one component with these findings, given as JSON.
  void ReadFindings(const std::string& findings) {
    Read(OneComponent("com.ostrel.sso", "{\"requirementMismatchSpecs\": " + findings + "}"));
  }

  std::wstring errors_ = L"before";
  std::wstring warnings_ = L"before";
};

TEST_F(PrecheckFindings, AnErrorHasTextAndResolution) {
  ReadFindings(R"([{"description": {"localized": "Disk is full."}, "severity": "ERROR",
                    "resolution": {"localized": "Free it."}}])");
  EXPECT_EQ(errors_, L"Error: Disk is full.\nResolution: Free it.");
  EXPECT_EQ(warnings_, L"");
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          InfoLine(
              L"ParseErrorsWarningsFromPreUpgradeOutput: Processing pre-upgrade for component com.ostrel.sso"),
          InfoLine(L"ParseErrorsWarningsFromPreUpgradeOutput: Parsed 1 error messages."),
          InfoLine(
              L"ParseErrorsWarningsFromPreUpgradeOutput: Error messages: Error: Disk is full.\nResolution: Free it.")));
}

TEST_F(PrecheckFindings, FindingsOfAllComponentsStandOneAfterTheOther) {
  Read(Parse(R"([
    {"name": "a", "requirements": {"requirementMismatchSpecs": [
      {"description": {"localized": "E1"}, "severity": "ERROR"},
      {"description": {"localized": "W1"}, "resolution": {"localized": "R1"}}]}},
    {"name": "b", "requirements": {}},
    {"name": "c", "requirements": {"requirementMismatchSpecs": [
      {"description": {"localized": "W2"}, "severity": "WARNING"},
      {"description": {"localized": "E2"}, "severity": "ERROR",
       "resolution": {"localized": "R2"}}]}}])"));
  EXPECT_EQ(errors_, L"Error: E1\n\nError: E2\nResolution: R2");
  EXPECT_EQ(warnings_, L"Warning: W1\nResolution: R1\n\nWarning: W2");
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(
          InfoLine(L"ParseErrorsWarningsFromPreUpgradeOutput: Processing pre-upgrade for "
                   L"component a"),
          InfoLine(L"ParseErrorsWarningsFromPreUpgradeOutput: Processing pre-upgrade for "
                   L"component b"),
          InfoLine(L"ParseErrorsWarningsFromPreUpgradeOutput: No mismatch to process."),
          InfoLine(L"ParseErrorsWarningsFromPreUpgradeOutput: Processing pre-upgrade for "
                   L"component c"),
          InfoLine(L"ParseErrorsWarningsFromPreUpgradeOutput: Parsed 2 error messages."),
          InfoLine(L"ParseErrorsWarningsFromPreUpgradeOutput: Error messages: " + errors_),
          InfoLine(L"ParseErrorsWarningsFromPreUpgradeOutput: Parsed 2 warning messages."),
          InfoLine(L"ParseErrorsWarningsFromPreUpgradeOutput: Warning messages: " + warnings_)));
}

struct Form {
  const char* finding;
  const wchar_t* errors;
  const wchar_t* warnings;
};

TEST_F(PrecheckFindings, TakeEachForm) {
  constexpr Form kForms[] = {
      {R"({"description": {"localized": ""}, "text": {"localized": "T"}, "severity": "ERROR"})",
       L"Error: T", L""},
      {R"({"description": {"localized": "D"}, "text": {"localized": "T"}, "severity": "ERROR"})",
       L"Error: D", L""},
      {R"({"text": {"localized": "T"}})", L"", L"Warning: T"},
      {R"({"description": {}, "text": {}, "severity": "ERROR"})", L"Error: ", L""},
      {R"({})", L"", L"Warning: "},
      {"null", L"", L"Warning: "},
      {R"({"severity": null})", L"", L"Warning: "},
      {R"({"severity": "error"})", L"", L"Warning: "},
      {R"({"severity": "ERROR "})", L"", L"Warning: "},
      {R"({"severity": "FATAL"})", L"", L"Warning: "},
      {R"({"severity": 1})", L"", L"Warning: "},
      {R"({"severity": true})", L"", L"Warning: "},
      {R"({"description": {"localized": 5}, "severity": "ERROR"})", L"Error: 5", L""},
      {R"({"resolution": {"localized": ""}})", L"", L"Warning: "},
      {R"({"resolution": {"localized": "R"}})", L"", L"Warning: \nResolution: R"},
      {R"({"description": {"localized": "\u00e4 \u6771\u4eac \ud83d\udd11"}})", L"",
       L"Warning: \u00e4 \u6771\u4eac \U0001F511"},
      {R"({"description": {"localized": "two\nlines %s [0]"}})", L"",
       L"Warning: two\nlines %s [0]"},
  };
  for (const Form& form : kForms) {
    SCOPED_TRACE(form.finding);
    ReadFindings(std::string("[") + form.finding + "]");
    EXPECT_EQ(errors_, form.errors);
    EXPECT_EQ(warnings_, form.warnings);
  }
}

TEST_F(PrecheckFindings, SpeakTheOperatorsLanguage) {
  SpeakMachineLanguage(1031);
  gProperties[L"MC_LOCALE"] = L"ja";
  ReadFindings(R"([{"description": {"localized": "D"}, "resolution": {"localized": "R"},
                    "severity": "ERROR"}, {}])");
  EXPECT_EQ(errors_, Message(1031, 1133) + L"D\n" + Message(1031, 1054) + L"R");
  EXPECT_EQ(warnings_, Message(1031, 1055));
}

TEST_F(PrecheckFindings, AnEmptyOutputIsToldOf) {
  for (const char* text : {"null", "[]", "{}"}) {
    errors_ = warnings_ = L"before";
    Read(Parse(std::string("[") + text + "]")[0]);
    EXPECT_EQ(errors_ + warnings_, L"");
    EXPECT_EQ(OwnLog().back(),
              InfoLine(L"ParseErrorsWarningsFromPreUpgradeOutput: Empty json object passed."));
  }
  EXPECT_EQ(OwnLog().size(), 3u);
}

TEST_F(PrecheckFindings, ComponentsWithoutFindingsAreToldOf) {
  for (const char* requirements :
       {"null", "{}", R"({"requirementMismatchSpecs": null})",
        R"({"requirementMismatchSpecs": []})", R"({"requirementMismatchSpecs": {}})"}) {
    machine_.RemoveFile(L"%TEMP%\\halvard.log");
    Read(OneComponent("x", requirements));
    EXPECT_EQ(errors_ + warnings_, L"");
    EXPECT_EQ(OwnLog().back(),
              InfoLine(L"ParseErrorsWarningsFromPreUpgradeOutput: No mismatch to process."));
  }
}

TEST_F(PrecheckFindings, TenThousandAreAllThere) {
  Json::Value output = OneComponent("x", R"({"requirementMismatchSpecs": []})");
  Json::Value& specs = output[0]["requirements"]["requirementMismatchSpecs"];
  for (int i = 0; i < 10'000; ++i) {
    Json::Value spec;
    spec["description"]["localized"] = std::to_string(i);
    spec["severity"] = i % 2 == 0 ? "ERROR" : "WARNING";
    specs.append(spec);
  }
  Read(output);
  EXPECT_THAT(errors_, StartsWith(L"Error: 0\n\nError: 2\n\n"));
  EXPECT_THAT(errors_, testing::EndsWith(L"\n\nError: 9998"));
  EXPECT_THAT(warnings_, testing::EndsWith(L"\n\nWarning: 9999"));
  EXPECT_THAT(
      OwnLog(),
      Contains(InfoLine(L"ParseErrorsWarningsFromPreUpgradeOutput: Parsed 5000 error messages.")));
}

TEST_F(PrecheckFindings, DocumentsOfOtherKindsHaveNone) {
  for (const char* text : {"5", "true", "\"text\"", R"({"a": {}})"}) {
    Read(Parse(std::string("[") + text + "]")[0]);
    EXPECT_EQ(errors_ + warnings_, L"") << text;
  }
}

TEST_F(PrecheckFindings, WhatCannotBeConvertedThrows) {
  for (const char* text :
       {"[5]", "[[]]", R"(["x"])", R"([{"name": []}])", R"([{"requirements": []}])",
        R"([{"requirements": {"requirementMismatchSpecs": ["x"]}}])",
        R"([{"requirements": {"requirementMismatchSpecs": [[]]}}])",
        R"([{"requirements": {"requirementMismatchSpecs": {"a": 1}}}])",
        R"([{"requirements": {"requirementMismatchSpecs": [{"description": "text"}]}}])",
        R"([{"requirements": {"requirementMismatchSpecs": [{"description": {"localized": []}}]}}])",
        R"([{"requirements": {"requirementMismatchSpecs": [{"text": 1}]}}])",
        R"([{"requirements": {"requirementMismatchSpecs": [{"resolution": []}]}}])",
        R"([{"requirements": {"requirementMismatchSpecs": [{"severity": {}}]}}])",
        R"({"name": "com.ostrel.sso"})"}) {
    EXPECT_THROW(Read(Parse(text)), Json::Exception) << text;
  }
}

}  // namespace
}  // namespace Halvard::Runner
