// What the tests of the runner's subsystem start from: a machine on which Python programs run.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/property_store.h"
#include "support/lab_instance.h"
#include "support/log_lines.h"

namespace Halvard::Runner {

/// The folder has what paths may have, and lies where the tests' child programs lie.
inline const std::wstring kProgramFolder = L"C:\\Program files \u00e4\u8a66 \U0001D4BD\\";

class RunnerTest : public testing::Test {
 protected:
  RunnerTest();

  /// \return A command line that has the child of child.py carry out the orders.
  static std::wstring ChildLine(const std::wstring& orders);

  /// \return The log, with "N" in place of each process and thread id.
  static std::vector<Testing::LogLine> LogWithoutIds();

  /// \return Types of the handles that are open now and weren't at the test's start.
  std::vector<std::string> NewHandles() const;

  Lab::Instance machine_;
  std::vector<std::string> handlesBefore_;
};

}  // namespace Halvard::Runner
