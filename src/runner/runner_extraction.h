// The upgrade runner and its Python, unpacked from the packages beside the agent's program.
#pragma once

#include <string>

namespace Halvard::Runner {

/// Unpacks both packages into a folder of the user's local application data when it is made, and
/// removes that folder when it ends, extracted or not. Leaves in the properties where the program
/// lies (SOURCE_DIRECTORY), where the interpreter is (PYTHON_EXTRACT_PATH) and, only once
/// everything is there, where the runner is (URExtractDirectory).
///
/// One at a time: all of them use one folder.
class PythonUpgradeRunnerExtractor {
 public:
  /// Shows its progress and a failure on the console. Blocks as long as the installer takes.
  PythonUpgradeRunnerExtractor();
  PythonUpgradeRunnerExtractor(const PythonUpgradeRunnerExtractor&) = delete;
  PythonUpgradeRunnerExtractor& operator=(const PythonUpgradeRunnerExtractor&) = delete;
  ~PythonUpgradeRunnerExtractor();

  /// \return True when both packages are unpacked and what the agent starts was found in them.
  bool Extracted() const { return extracted_; }

 private:
  bool ExtractPythonAndUpgradeRunner();
  bool Prepare();
  bool UnpackPython();
  bool UnpackRunner();
  unsigned int Unpack(const wchar_t* package) const;

  std::wstring extractDirectory_;
  std::wstring programFolder_;
  /// What the installer said last; 0 also where a failure lies elsewhere.
  unsigned int installerCode_ = 0;
  bool extracted_ = false;
};

}  // namespace Halvard::Runner
