// What the tests of the agent's ground floor start from.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/locales.h"
#include "core/property_store.h"
#include "support/lab_instance.h"
#include "support/log_lines.h"

namespace Halvard {

/// A machine of its own, an English operator, and no property left over from another test.
class CoreTest : public testing::Test {
 protected:
  CoreTest() {
    for (const auto& [name, value] : gProperties.Snapshot()) gProperties[name] = L"";
    gPrivateProperties.clear();
    SpeakMachineLanguage();
  }

  /// As at the start of the process, on a machine of this language.
  void SpeakMachineLanguage(int language = 1033) {
    (void)SetThreadUILanguage(static_cast<LANGID>(language));
    machine_.Set("/computer/uiLanguage", language);
    SetHVLocale();
    machine_.RemoveFile(L"%TEMP%\\halvard.log");
  }

  Lab::Instance machine_;
};

}  // namespace Halvard
