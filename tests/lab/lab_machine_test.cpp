// lab-machine as a person runs it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

using testing::HasSubstr;

struct Outcome {
  int exitCode;
  std::string output;  ///< Standard output and standard error.
};

Outcome RunTool(const std::string& arguments) {
  FILE* pipe = popen((std::string("'" LAB_MACHINE "' ") + arguments + " 2>&1").c_str(), "r");
  std::string output;
  char buffer[4096];
  for (std::size_t got; (got = fread(buffer, 1, sizeof buffer, pipe)) != 0;) {
    output.append(buffer, got);
  }
  return {WEXITSTATUS(pclose(pipe)), output};
}

class LabMachine : public testing::Test {
 protected:
  LabMachine() {
    std::string folder = testing::TempDir() + "tool-XXXXXX";
    folder_ = mkdtemp(folder.data());
  }
  ~LabMachine() override { std::filesystem::remove_all(folder_); }
  std::filesystem::path folder_;
};

TEST_F(LabMachine, ListsNamesWithSummaries) {
  const Outcome list = RunTool("list");
  EXPECT_EQ(list.exitCode, 0);
  EXPECT_THAT(list.output, HasSubstr("embedded-5.5                 Kelvane Server 5.5 with"));
}

TEST_F(LabMachine, StartsAnInstanceAndRefusesTheSameFolder) {
  const std::string instance = (folder_ / "here").string();
  const Outcome start = RunTool("start embedded-5.5 '" + instance + "'");
  EXPECT_EQ(start.exitCode, 0);
  EXPECT_EQ(start.output, instance + "\n");
  EXPECT_TRUE(std::filesystem::exists(folder_ / "here" / "registry.reg"));
  const Outcome again = RunTool("start embedded-5.5 '" + instance + "'");
  EXPECT_EQ(again.exitCode, 1);
  EXPECT_THAT(again.output, HasSubstr("expected a folder that is empty"));
}

TEST_F(LabMachine, ValidatesByNameFolderAndFile) {
  std::ofstream(folder_ / "machine.json") << R"({"summary": 1})";
  EXPECT_EQ(RunTool("validate sso-5.1 kelvane-5.1").exitCode, 0);
  const Outcome faulty = RunTool("validate '" + (folder_ / "machine.json").string() + "' sso-5.1");
  EXPECT_EQ(faulty.exitCode, 1);
  EXPECT_THAT(faulty.output, HasSubstr("/machine.json: /"));
  EXPECT_THAT(faulty.output, HasSubstr("sso-5.1: well described"));
}

TEST_F(LabMachine, UnknownNameIsAFault) {
  const Outcome faulty = RunTool("validate nobody");
  EXPECT_EQ(faulty.exitCode, 1);
  EXPECT_THAT(faulty.output, HasSubstr("nobody/machine.json: can't be read"));
}

TEST_F(LabMachine, ExplainsItself) {
  EXPECT_EQ(RunTool("--help").exitCode, 0);
  EXPECT_EQ(RunTool("").exitCode, 2);
  EXPECT_EQ(RunTool("start").exitCode, 2);
  EXPECT_THAT(RunTool("").output, HasSubstr("usage: lab-machine list"));
}

}  // namespace
