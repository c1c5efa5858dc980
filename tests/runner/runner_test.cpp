#include "runner_test.h"

#include <regex>

#include "machine/handles.h"
#include "support/file_bytes.h"

namespace Halvard::Runner {

RunnerTest::RunnerTest() : handlesBefore_(Lab::Handles().OpenTypes()) {
  for (const auto& [name, value] : gProperties.Snapshot()) gProperties[name] = L"";
  gPrivateProperties.clear();
  machine_.WriteFile(kProgramFolder + L"python.exe", "");
  machine_.WriteFile(kProgramFolder + L"child.py", Lab::FileBytes(RUNNER_CHILD));
}

std::wstring RunnerTest::ChildLine(const std::wstring& orders) {
  return L"\"" + kProgramFolder + L"python.exe\" \"" + kProgramFolder + L"child.py\" " + orders;
}

std::vector<Testing::LogLine> RunnerTest::LogWithoutIds() {
  std::vector<Testing::LogLine> lines = Testing::OwnLog();
  for (Testing::LogLine& line : lines) {
    line.message =
        std::regex_replace(line.message, std::wregex(L"pid \\d+ tid \\d+"), L"pid N tid N");
  }
  return lines;
}

std::vector<std::string> RunnerTest::NewHandles() const {
  std::vector<std::string> types = Lab::Handles().OpenTypes();
  types.erase(types.begin(), types.begin() + static_cast<std::ptrdiff_t>(handlesBefore_.size()));
  return types;
}

}  // namespace Halvard::Runner
