// What the tests of the export start from: a runner by order, and the end of all that was started.
#pragma once

#include <string>
#include <vector>

#include "core/property_defaults.h"
#include "runner_test.h"
#include "scripted_services.h"
#include "support/scripted_runner.h"
#include "support/started_threads.h"

namespace Halvard::Runner {

using Testing::Step;

class ExportTest : public RunnerTest {
 protected:
  ExportTest() {
    InitializeProperties();
    gProperties[L"MC_LOCALE"] = L"en";
    gProperties[L"URExtractDirectory"] = Testing::ScriptedRunner::kFolder;
    gProperties[L"SOURCE_VERSION"] = L"5.5";
    gProperties[L"MIGRATION_TYPE"] = L"embedded";
    gProperties[L"SSO_PASSWORD"] = L"secret";
    Testing::ForgetServiceCalls();
  }
  // The threads of an export act on the machine.
  ~ExportTest() override { AwaitThreads(); }

  /// Waits until the threads that the test has started have ended.
  void AwaitThreads() const { threads_.AwaitEnd(); }

  /// \return The messages of the log that begin so.
  static std::vector<Testing::LogLine> LogOf(const std::wstring& function) {
    std::vector<Testing::LogLine> lines = LogWithoutIds();
    std::erase_if(
        lines, [&](const Testing::LogLine& line) { return !line.message.starts_with(function); });
    return lines;
  }

  static std::wstring Status() { return gProperties[L"EXPORT_STATUS"]; }
  static std::wstring Result() { return gProperties[L"EXPORT_RESULT"]; }

  const Lab::StartedThreads threads_;
  Testing::ScriptedRunner runner_{machine_};
  const std::wstring output_ = std::wstring(Lab::Instance::kProfile) +
                               L"\\AppData\\Local\\Temp\\UpgradeRunnerExportOutput.json";
};

}  // namespace Halvard::Runner
