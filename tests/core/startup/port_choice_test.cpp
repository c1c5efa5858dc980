#include "core/startup/port_choice.h"

#include "core_test.h"
#include "support/console_capture.h"

namespace Halvard {
namespace {

using Testing::ConsoleCapture;
using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using Testing::OwnLog;

class PortChoice : public CoreTest {
 protected:
  /// These ports, in place of others, are in use from now on.
  void Take(const std::string& protocol, const std::vector<int>& ports) {
    Json::Value table(Json::objectValue);
    for (const int port : ports) {
      table["0.0.0.0:" + std::to_string(port)] = protocol == "tcp" ? "listening" : "bound";
    }
    machine_.Set("/ports/" + protocol, table);
    (void)IsPortInUse(0, true);
  }

  UserInput Given(std::uint32_t port) {
    UserInput input;
    input.hvPort = port;
    input.hvPortGiven = true;
    return input;
  }

  bool Pick(UserInput& input) {
    const ConsoleCapture console;
    const bool picked = PickHVPort(input);
    console_ = console.Text();
    return picked;
  }

  std::wstring console_;
};

TEST_F(PortChoice, DefaultPortIsTakenWhenItIsFree) {
  Take("tcp", {80});
  UserInput input;
  EXPECT_TRUE(Pick(input));
  EXPECT_EQ(input.hvPort, 9123u);
  EXPECT_TRUE(gProperties[L"HV_PORT"] == L"9123");
}

TEST_F(PortChoice, NextFreePortIsTakenWithoutAWord) {
  Take("tcp", {9123, 9125});
  Take("udp", {9124});
  UserInput input;
  EXPECT_TRUE(Pick(input));
  EXPECT_EQ(input.hvPort, 9126u);
  EXPECT_EQ(console_, L"");
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"PickHVPort: Port 9123 is already in use."),
                                    InfoLine(L"PickHVPort: Port 9124 is already in use."),
                                    InfoLine(L"PickHVPort: Port 9125 is already in use.")));
}

TEST_F(PortChoice, SearchGoesRoundFromTheFirstPort) {
  std::vector<int> ports{1};
  for (int port = 9123; port <= 65535; ++port) ports.push_back(port);
  Take("udp", ports);
  UserInput input;
  EXPECT_TRUE(Pick(input));
  EXPECT_EQ(input.hvPort, 2u);
}

TEST_F(PortChoice, GivenPortThatIsFreeIsTaken) {
  Take("tcp", {});
  for (const std::uint32_t port : {1u, 8443u, 65535u}) {
    UserInput input = Given(port);
    EXPECT_TRUE(Pick(input));
    EXPECT_TRUE(gProperties[L"HV_PORT"] == std::to_wstring(port));
  }
  EXPECT_THAT(
      OwnLog(),
      Contains(InfoLine(L"PickHVPort: Checking if port 65535 is in legal range [1,65535]")));
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"PickHVPort: Checking if port 65535 is in use")));
  EXPECT_THAT(OwnLog(),
              Contains(InfoLine(L"PickHVPort: Halvard will listen on passed port: 65535.")));
}

TEST_F(PortChoice, GivenPortOutOfRangeIsRefused) {
  for (const std::uint32_t port : {0u, 65536u, 70000u, 4294967295u}) {
    UserInput input = Given(port);
    const std::wstring number = std::to_wstring(port);
    const std::wstring text =
        L"Halvard port:" + number + L" is not in legal range. Relaunch Halvard with a valid port.";
    EXPECT_FALSE(Pick(input));
    EXPECT_EQ(console_, text + L"\n");
    EXPECT_TRUE(gProperties[L"HV_INIT_ERROR"] == text);
    EXPECT_TRUE(gProperties[L"HV_PORT"].empty());
    EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"PickHVPort: Port " + number +
                                             L" is not in legal range [1,65535]")));
  }
}

TEST_F(PortChoice, GivenPortThatIsInUseIsRefused) {
  Take("udp", {9123});
  UserInput input = Given(9123);
  const std::wstring text =
      L"Halvard port:9123 is already in use. Relaunch Halvard with a different port.";
  EXPECT_FALSE(Pick(input));
  EXPECT_EQ(console_, text + L"\n");
  EXPECT_TRUE(gProperties[L"HV_INIT_ERROR"] == text);
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"PickHVPort: Port 9123 is already in use.")));
}

TEST_F(PortChoice, OneSnapshotServesUntilItIsRefreshed) {
  Take("tcp", {9123});
  Json::Value none(Json::objectValue);
  machine_.Set("/ports/tcp", none);
  EXPECT_TRUE(IsPortInUse(9123, false));
  EXPECT_FALSE(IsPortInUse(9123, true));
}

TEST_F(PortChoice, TableThatCannotBeHadAddsNothing) {
  Take("tcp", {80});
  Take("udp", {53});
  machine_.PlanFault({.function = "GetTcpTable", .error = ERROR_NOT_SUPPORTED});
  EXPECT_FALSE(IsPortInUse(80, true));
  EXPECT_TRUE(IsPortInUse(53, false));
  machine_.Remove("/faults");
  machine_.PlanFault({.function = "GetUdpTable", .call = 2, .error = ERROR_NOT_SUPPORTED});
  EXPECT_TRUE(IsPortInUse(80, true));
  EXPECT_FALSE(IsPortInUse(53, false));
}

}  // namespace
}  // namespace Halvard
