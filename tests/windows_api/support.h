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

}  // namespace WindowsApi

/// Leaves the test, by name and with the reason in the output, where Wine isn't like Windows.
#define SKIP_ON_WINE(reason)                            \
  do {                                                  \
    if (WindowsApi::OnWine()) GTEST_SKIP() << (reason); \
  } while (false)
