// lab-machine as a person runs it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/json.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <sstream>
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

/// The tool on an instance of its own.
class LabMachineServices : public LabMachine {
 protected:
  LabMachineServices() { RunTool("start infrastructure-5.5 " + instance_); }

  Outcome Run(const std::string& command, const std::string& services = "") {
    return RunTool(command + " " + instance_ + " " + services);
  }

  /// Describes one service in place of all others, on a clock that doesn't cost the test its time.
  void Describe(const std::string& start) {
    std::ifstream in(folder_ / "here" / "machine.json");
    Json::Value document;
    in >> document;
    document["clock"]["speed"] = 10'000;
    std::istringstream(R"({"one": {"program": "x", "state": "stopped", "start": )" + start +
                       "}}") >>
        document["services"];
    in.close();
    std::ofstream(folder_ / "here" / "machine.json") << document;
  }

  const std::string instance_ = "'" + (folder_ / "here").string() + "'";
};

TEST_F(LabMachineServices, AreListed) {
  const Outcome list = Run("services");
  EXPECT_EQ(list.exitCode, 0);
  EXPECT_THAT(list.output, HasSubstr("OstrelSTS                    running       LocalSystem\n"));
  EXPECT_THAT(list.output, HasSubstr("Null                         running       (driver)\n"));
  EXPECT_THAT(list.output, HasSubstr("Spooler                      stopped       LocalSystem\n"));
}

TEST_F(LabMachineServices, AreStoppedAndStarted) {
  const Outcome stop = Run("stop-services", "ostrelsts OstrelKdcService");
  EXPECT_EQ(stop.exitCode, 0);
  EXPECT_EQ(stop.output,
            "OstrelSTS                    stopped\nOstrelKdcService             stopped\n");
  EXPECT_THAT(Run("services").output, HasSubstr("OstrelSTS                    stopped "));
  const Outcome start = Run("start-services", "OstrelKdcService EventLog");
  EXPECT_EQ(start.exitCode, 0);
  EXPECT_EQ(start.output,
            "OstrelKdcService             running\nEventLog                     running\n");
  EXPECT_THAT(Run("services").output, HasSubstr("OstrelSTS                    stopped "));
}

TEST_F(LabMachineServices, ThatMakeProgressAreWaitedFor) {
  std::string steps = R"({"milliseconds": 25000})";
  for (int i = 0; i < 3; ++i) steps += R"(, {"milliseconds": 25000})";
  Describe("{\"steps\": [" + steps + "]}");
  EXPECT_EQ(Run("start-services", "one").output, "one                          running\n");
}

TEST_F(LabMachineServices, ThatDoNotComeUpAreAFailure) {
  Describe(R"({"outcome": "hangs"})");
  const Outcome hang = Run("start-services", "one EventLog");
  EXPECT_EQ(hang.exitCode, 1);
  EXPECT_EQ(hang.output, "one                          startPending\n");
  Run("stop-services", "one");
  Describe(R"({"error": 1069})");
  const Outcome error = Run("start-services", "one");
  EXPECT_EQ(error.exitCode, 1);
  EXPECT_EQ(error.output, "one                          fails to start with code 1069\n");
}

TEST_F(LabMachineServices, UnknownOneIsAFault) {
  for (const char* command : {"start-services", "stop-services"}) {
    const Outcome unknown = Run(command, "nobody");
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_THAT(unknown.output, HasSubstr("/services: no service \"nobody\""));
  }
  EXPECT_EQ(Run("start-services").exitCode, 2);
  EXPECT_EQ(Run("resume-services", "one").exitCode, 2);
}

TEST_F(LabMachine, ExplainsItself) {
  EXPECT_EQ(RunTool("--help").exitCode, 0);
  EXPECT_EQ(RunTool("").exitCode, 2);
  EXPECT_EQ(RunTool("start").exitCode, 2);
  EXPECT_THAT(RunTool("").output, HasSubstr("usage: lab-machine list"));
}

}  // namespace
