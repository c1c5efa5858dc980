#include "scripted_runner_input.h"

#include "host/unique_resource.h"
#include "runner/runner_input.h"

namespace Halvard::Runner {

std::string gScriptedInput;

std::wstring CreateUpgradeRunnerInputFile(const std::wstring& directory, RunnerPhase /*phase*/) {
  if (gScriptedInput.empty()) return {};
  std::wstring path = directory + L"UpgradeRunnerInput.json";
  const Host::UniqueFile file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                          FILE_ATTRIBUTE_NORMAL, nullptr));
  DWORD written = 0;
  if (!file || !WriteFile(file.Get(), gScriptedInput.data(),
                          static_cast<DWORD>(gScriptedInput.size()), &written, nullptr)) {
    return {};
  }
  return path;
}

}  // namespace Halvard::Runner
