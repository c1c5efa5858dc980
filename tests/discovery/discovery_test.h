// What the tests of discovery share: a machine, its language, and properties that nothing has
// touched yet.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "core/automated_tum_upgrade.h"
#include "core/locales.h"
#include "core/property_store.h"
#include "core/temp_directory.h"
#include "discovery/installed_products.h"
#include "support/lab_instance.h"

namespace Halvard::Discovery {

inline constexpr wchar_t kKelvaneKey[] =
    L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Ostrel, Inc.\\Ostrel Kelvane";
inline constexpr wchar_t kSingleSignOnKey[] =
    L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Ostrel, Inc.\\Ostrel Infrastructure\\SSOServer";
inline constexpr wchar_t kServerKey[] =
    L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Ostrel, Inc.\\Kelvane Server";
inline constexpr wchar_t kUpdateManagerKey[] =
    L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Wow6432Node\\Ostrel, Inc.\\Ostrel Update Manager";
inline constexpr wchar_t kConfiguration[] = L"C:\\ProgramData\\Ostrel\\KelvaneServer\\cfg\\";

/// A process that has come as far as discovery on a machine of the lab, with an empty log.
class StartedMachine {
 public:
  /// \param name      A machine of the lab.
  /// \param language  Language id of the operator.
  explicit StartedMachine(const std::string& name, LANGID language = 1033) : lab(name) {
    // The tables of properties and the thread's language outlive a test.
    for (const auto& [property, value] : gProperties.Snapshot()) gProperties[property] = L"";
    localTumInstalled = false;
    automatedTumUpgrade = false;
    lab.Set("/computer/uiLanguage", language);
    SetThreadUILanguage(language);
    SetHVLocale();
    lab.RemoveFile(GetTempDirectory() + L"halvard.log");
    gProperties[L"TARGET_VERSION"] = L"6.0";
    gProperties[L"KV_URL"] = L"default";
    gProperties[L"SSO_URL"] = L"default";
  }
  ~StartedMachine() { automatedTumUpgrade = false; }
  StartedMachine(const StartedMachine&) = delete;
  StartedMachine& operator=(const StartedMachine&) = delete;

  Lab::Instance lab;
};

inline std::wstring PropertyValue(const std::wstring& name) { return gProperties[name]; }

}  // namespace Halvard::Discovery
