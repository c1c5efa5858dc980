// What the tests of zip files start from.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <thread>
#include <vector>

#include "com/com_object.h"
#include "machine/handles.h"
#include "machine/modules.h"
#include "shell/zip_copies.h"
#include "support/lab_instance.h"
#include "support/log_lines.h"
#include "support/zip_contents.h"
#include "transfer/shell_zip.h"

namespace Halvard::Transfer {

/// A folder to be zipped and an empty zip beside it. Nothing of the shell may be left in the end.
class ZipTest : public testing::Test {
 protected:
  ZipTest() {
    machine_.WriteFile(source_ + L"\\one.txt", "one");
    MakeEmptyZip();
  }
  ~ZipTest() override {
    Lab::TheZipCopies().EndAll();
    EXPECT_EQ(Lab::LiveComObjects(), 0u);
    EXPECT_FALSE(Lab::Modules().Snapshot().contains(L"zipfldr.dll"));
    EXPECT_EQ(Lab::Handles().OpenTypes().size(), handlesBefore_);
  }

  void MakeEmptyZip() { machine_.WriteFile(zip_, std::string("PK\5\6", 4) + std::string(18, 0)); }

  /// Calls ZipDirectory on a thread that has no COM yet.
  bool Zip(bool includeFolder = false) {
    bool result = false;
    std::thread([&] { result = ZipDirectory(source_, zip_, includeFolder); }).join();
    return result;
  }

  /// The lines of a function, of all that were logged.
  static std::vector<Testing::LogLine> LinesOf(const std::wstring& function) {
    std::vector<Testing::LogLine> lines = Testing::OwnLog();
    std::erase_if(lines, [&](const Testing::LogLine& line) {
      return !line.message.starts_with(function + L": ");
    });
    return lines;
  }

  std::map<std::string, std::string> Contents() const {
    return Testing::ReadZip(machine_.HostPath(zip_));
  }

  std::size_t ZipSize() const { return machine_.ReadFile(zip_)->size(); }

  Lab::Instance machine_;
  const std::wstring parent_ = L"C:\\Migration \u00e4\u8a66 \U0001D4BD";
  const std::wstring source_ = parent_ + L"\\export \u6771\u4eac";
  const std::wstring zip_ = parent_ + L"\\export \u6771\u4eac.zip";
  const std::size_t handlesBefore_ = Lab::Handles().OpenTypes().size();
};

}  // namespace Halvard::Transfer
