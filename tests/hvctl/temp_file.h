#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

namespace Hvctl {

/// \return Path of a file for the running test alone: others run beside it.
inline std::filesystem::path TempFile() {
  const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
  std::string name = std::string("hvctl ") + test->test_suite_name() + " " + test->name();
  std::ranges::replace(name, '/', ' ');
  return std::filesystem::path(testing::TempDir()) / name;
}

}  // namespace Hvctl
