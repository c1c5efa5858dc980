// A machine on which the agent's Python tool runs.
#pragma once

#include <json/json.h>

#include <fstream>
#include <iterator>
#include <string>

#include "core/core_test.h"

namespace Halvard::Transfer {

class ArchiveToolTest : public CoreTest {
 protected:
  ArchiveToolTest() {
    machine_.Set("/programs/python.exe", "/usr/bin/python3");
    machine_.WriteFile(extracted_ + L"\\PFiles\\Ostrel\\Rimsa\\python\\python.exe", "");
    gProperties[L"PYTHON_EXTRACT_PATH"] = extracted_;
    gProperties[L"SOURCE_DIRECTORY"] = programFolder_;
    std::ifstream tool(HV_UTIL, std::ios::binary);
    InstallTool({std::istreambuf_iterator<char>(tool), {}});
  }
  ~ArchiveToolTest() override {
    // No link is left in the drive's root.
    EXPECT_THAT(machine_.ListFolder(L"C:\\"),
                testing::Not(testing::Contains(testing::HasSubstr(L"mig"))));
  }

  void InstallTool(const std::string& script) {
    machine_.WriteFile(programFolder_ + L"hv_util.py", script);
  }

  /// A tool that leaves this document and ends with the code.
  void InstallToolThatSays(const std::string& document, int code = 0) {
    InstallTool(
        "import sys\nwith open(sys.argv[sys.argv.index('--result') + 1], 'w') as file:\n"
        "    file.write('''" +
        document + "''')\nsys.exit(" + std::to_string(code) + ")\n");
  }

  void WriteExport() {
    machine_.WriteFile(folder_ + L"\\data\\a.bin", std::string(100'000, 'a'));
    machine_.WriteFile(folder_ + L"\\\u00e4\u8a66.txt", "");
  }

  /// Packs the export as a person would, under its own name.
  void Pack() const {
    const std::string command = "cd '" + machine_.HostPath(folder_).parent_path().string() +
                                "' && python3 -m zipfile -c '" +
                                machine_.HostPath(zipFile_).string() + "' export";
    ASSERT_EQ(std::system(command.c_str()), 0);
  }

  const std::wstring extracted_ = L"C:\\Extracted \u00e4\u8a66";
  const std::wstring programFolder_ = L"C:\\Program files \u00e4\\";
  const std::wstring folder_ = L"C:\\Export of J\u00f6rg\\export";
  const std::wstring zipFile_ = folder_ + L".zip";
};

}  // namespace Halvard::Transfer
