// An upgrade runner that does what a test orders, in the place of the extracted one.
#pragma once

#include <json/value.h>

#include <string>
#include <vector>

#include "support/lab_instance.h"

namespace Halvard::Testing {

class ScriptedRunner {
 public:
  /// Where the runner lies; a value for URExtractDirectory. The name has what paths may have.
  static inline const std::wstring kFolder = L"C:\\Extracted \u00e4\u8a66 \U0001D4BD";

  /// Puts the runner, which does nothing in either phase, and its interpreter on the machine.
  explicit ScriptedRunner(Lab::Instance& machine);

  /// What the runner does in its next requirements and export phases: steps as scripted_runner.py
  /// explains them, such as Step("exit", 1).
  void OrderRequirements(const std::vector<Json::Value>& steps) { Order("requirements", steps); }
  void OrderExport(const std::vector<Json::Value>& steps) { Order("export", steps); }

  // Files beside the runner's output.

  /// Makes an empty file, for which a step waits.
  void Tell(const std::wstring& name);
  /// Waits until the runner has made the file; throws after a minute.
  void WaitFor(const std::wstring& name) const;
  std::string Read(const std::wstring& name) const;
  void Remove(const std::wstring& name);

 private:
  void Order(const char* mode, const std::vector<Json::Value>& steps);

  Lab::Instance& machine_;
  Json::Value orders_;
};

/// \return A step, such as Step("exit", 1).
template <typename... Values>
Json::Value Step(const char* name, const Values&... values) {
  Json::Value step;
  step.append(name);
  (step.append(Json::Value(values)), ...);
  return step;
}

}  // namespace Halvard::Testing
