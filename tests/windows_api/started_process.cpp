#include "started_process.h"

#include <gtest/gtest.h>

namespace WindowsApi {

using Halvard::Host::UniqueHandle;

EnvironmentBlock::EnvironmentBlock() {
  HANDLE token = nullptr;
  EXPECT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token));
  const UniqueHandle owner(token);
  EXPECT_TRUE(CreateEnvironmentBlock(&block_, token, FALSE));
}

EnvironmentBlock::~EnvironmentBlock() { EXPECT_TRUE(DestroyEnvironmentBlock(block_)); }

StartedProcess::StartedProcess(std::wstring commandLine, const std::wstring& folder) {
  const EnvironmentBlock environment;
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = SW_HIDE;
  PROCESS_INFORMATION started = {};
  const BOOL done = CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0x1000414,
                                   environment.Get(), folder.c_str(), &startup, &started);
  error_ = done ? 0 : static_cast<unsigned>(GetLastError());
  process_.Reset(started.hProcess);
  thread_.Reset(started.hThread);
  id_ = static_cast<unsigned>(started.dwProcessId);
}

StartedProcess::~StartedProcess() {
  if (!process_ || WaitForSingleObject(Handle(), 0) == WAIT_OBJECT_0) return;
  TerminateProcess(Handle(), 1);
  WaitForSingleObject(Handle(), INFINITE);
}

void StartedProcess::Resume() { EXPECT_EQ(ResumeThread(Thread()), 1u); }

unsigned StartedProcess::ExitCode() {
  EXPECT_EQ(WaitForSingleObject(Handle(), INFINITE), 0u);
  DWORD code = 0;
  EXPECT_TRUE(GetExitCodeProcess(Handle(), &code));
  return static_cast<unsigned>(code);
}

std::wstring ChildLine(const std::wstring& arguments) {
  return L"\"" + ChildProgram() + L"\" " + arguments;
}

}  // namespace WindowsApi
