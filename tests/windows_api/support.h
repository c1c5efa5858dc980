// What the conformance tests share. They say what the Windows API does and run twice: natively
// against the lab, and as a Windows program under Wine. So they include the umbrella of Windows
// headers and nothing of the lab.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "host/windows_api.h"

namespace WindowsApi {

/// \return True when an implementation answers that nobody here wrote.
bool OnWine();

/// Registers an installed product with the installer.
void InstallProduct(const std::wstring& productCode, const std::wstring& upgradeCode,
                    const std::wstring& version);

/// A service that is registered as long as the object lives: stopped, to be started by hand, under
/// the account ".\conformance", and without a program at its place.
struct RegisteredService {
  enum Kind { kUsual, kDisabled };

  explicit RegisteredService(Kind kind = kUsual);
  RegisteredService(const RegisteredService&) = delete;
  RegisteredService& operator=(const RegisteredService&) = delete;
  ~RegisteredService();

  // Other processes test beside this one.
  const std::wstring name = L"ConformanceService" + std::to_wstring(GetCurrentProcessId());
  const std::wstring displayName = L"Service of the conformance tests " + name;
  const std::wstring program = L"C:\\no such program.exe";
};

/// Has DNS servers know kv.example (192.0.2.1 and 2001:db8::1), its alias alias.example,
/// six.example (2001:db8::6), many.example (192.0.2.1 to 192.0.2.100), and no other name below
/// "example". \return False where it takes a network of its own, and the tests weren't started in
/// it.
bool KnowConformanceNames();

/// What waiting answers when the time has run out.
inline constexpr unsigned kTimeout = 258;

/// Others may do with an open file whatever they want.
inline constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// Scripts for the command interpreter: one prints its first two arguments, the other ends with 7.
extern const char kEchoTwoArguments[];
extern const char kExitWithSeven[];

}  // namespace WindowsApi

/// Leaves the test, by name and with the reason in the output, where Wine isn't like Windows.
#define SKIP_ON_WINE(reason)                            \
  do {                                                  \
    if (WindowsApi::OnWine()) GTEST_SKIP() << (reason); \
  } while (false)
