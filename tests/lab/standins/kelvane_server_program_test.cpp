// kelvane-server as a program: its start, its end, its errors.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <stdexcept>
#include <string>

#include "support/kelvane_server.h"

namespace Lab::Testing {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

struct Output {
  int exitCode = 0;
  std::string text;  ///< Standard output and standard error.
};

/// Runs a shell command in which PROGRAM stands for the server.
Output RunShell(std::string command) {
  const std::string place = "PROGRAM";
  command.replace(command.find(place), place.size(), KELVANE_SERVER_PROGRAM);
  FILE* pipe = popen(("{ " + command + "; } 2>&1").c_str(), "r");
  Output output;
  std::array<char, 4096> buffer{};
  while (std::fgets(buffer.data(), static_cast<int>(buffer.size()), pipe) != nullptr) {
    output.text += buffer.data();
  }
  const int status = pclose(pipe);
  output.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return output;
}

TEST(KelvaneServerProgram, EndsWithItsInput) {
  const Output output = RunShell("PROGRAM --until-input-ends < /dev/null");

  EXPECT_EQ(output.exitCode, 0);
  EXPECT_THAT(output.text, AllOf(StartsWith("{\"address\":\"127.0.0.1\""), HasSubstr("\"port\":"),
                                 HasSubstr("\"thumbprint\":\""), HasSubstr("\"hosts\":0")));
}

TEST(KelvaneServerProgram, EndsOnSignals) {
  for (const char* signal : {"TERM", "INT"}) {
    // The reader of its announcement sends the signal; the pipe's exit code is the reader's, so
    // that the server's own is printed.
    const Output output =
        RunShell("{ PROGRAM; echo code $?; } | { read -r line; pid=${line##*pid\\\":}; kill -" +
                 std::string(signal) + " ${pid%%,*}; cat; }");
    EXPECT_EQ(output.text, "code 0\n") << signal;
  }
}

TEST(KelvaneServerProgram, WrongDescriptionIsToldByPlace) {
  const Output output = RunShell("echo '{\"port\": -1}' | PROGRAM --config -");

  EXPECT_EQ(output.exitCode, 1);
  EXPECT_THAT(output.text, StartsWith("kelvane-server: standard input: /port: expected the port"));
}

TEST(KelvaneServerProgram, WrongCertificateIsTold) {
  EXPECT_THAT(RunShell("PROGRAM --certificate /dev/null").text,
              "kelvane-server: /dev/null: expected a private key and a certificate in PEM\n");
}

TEST(KelvaneServerProgram, WrongCommandLineHasACodeOfItsOwn) {
  EXPECT_EQ(RunShell("PROGRAM --nothing").exitCode, 2);
  EXPECT_EQ(RunShell("PROGRAM --port 65536").exitCode, 2);
  EXPECT_EQ(RunShell("PROGRAM --help").exitCode, 0);
}

TEST(KelvaneServerProgram, TakenPortIsTold) {
  const KelvaneServer server;

  const Output output = RunShell("PROGRAM --port " + std::to_string(server.Port()));

  EXPECT_EQ(output.exitCode, 1);
  EXPECT_THAT(output.text, HasSubstr("Address already in use"));
}

TEST(KelvaneServerProgram, JournalThatCannotBeWrittenIsTold) {
  EXPECT_EQ(RunShell("PROGRAM --record /nowhere/journal").text,
            "kelvane-server: /nowhere/journal: the journal can't be written\n");
}

TEST(KelvaneServerSupport, TellsWhyAServerDoesNotStart) {
  Json::Value config;
  config["port"] = -1;
  try {
    const KelvaneServer server(config);
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_THAT(error.what(), HasSubstr("/port: expected the port to listen on"));
  }
}

TEST(KelvaneServerSupport, BigInventoryIsThereAtOnce) {
  Json::Value config = KelvaneServer::UsualConfig();
  config["inventory"]["hosts"] = 10'000;
  config["inventory"]["machines"] = 100'000;

  const KelvaneServer server(config);

  EXPECT_EQ(server.Hosts(), 10'000u);
  EXPECT_EQ(server.Machines(), 100'000u);
}

}  // namespace
}  // namespace Lab::Testing
