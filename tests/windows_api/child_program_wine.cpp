// The child as a Windows program.
#include <windows.h>

#include "child_program.h"

namespace WindowsApi {

void StartDetached(const Arguments& arguments) {
  std::wstring line;
  for (const std::filesystem::path& argument : arguments)
    line += L"\"" + argument.wstring() + L"\" ";
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION started = {};
  CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE,
                 DETACHED_PROCESS | CREATE_NEW_PROCESS_GROUP, nullptr, nullptr, &startup, &started);
}

unsigned long OwnProcessId() { return GetCurrentProcessId(); }

int ExitCodeFor(std::uint32_t code) { return static_cast<int>(code); }

std::vector<std::string> OwnVariables() {
  std::vector<std::string> variables;
  const wchar_t* const block = GetEnvironmentStringsW();
  for (const wchar_t* at = block; *at != 0; at += wcslen(at) + 1) {
    const std::u8string text = std::filesystem::path(at).u8string();
    variables.emplace_back(text.begin(), text.end());
  }
  return variables;
}

}  // namespace WindowsApi

int wmain(int argc, wchar_t* argv[]) {
  return WindowsApi::RunChild(WindowsApi::Arguments(argv, argv + argc));
}
