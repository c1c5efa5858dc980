#include "security/firewall.h"

#include <functional>
#include <thread>

#include "com/apartment.h"
#include "com/com_object.h"
#include "core/core_test.h"

namespace Halvard::Security {
namespace {

using Lab::IpProtocol;
using Lab::Opening;
using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::LogLine;
using Testing::OwnLog;

constexpr wchar_t kName[] = L"Ostrel-Halvard (Temporary)";
constexpr std::uint32_t kPort = 9123;

const Opening kOwn{9123, IpProtocol::kTcp, kName, true};

LogLine Info(const std::wstring& operation, const std::wstring& text) {
  return InfoLine(L"TempFirewallException::" + operation + L": " + text);
}
LogLine Error(const std::wstring& operation, const std::wstring& text) {
  return ErrorLine(L"TempFirewallException::" + operation + L": " + text);
}

const LogLine kEnabled = Info(L"IsFirewallTurnedOn", L"Windows firewall is enabled.");
const LogLine kOff = Info(L"TempFirewallException", L"Windows firewall is turned off.");
const LogLine kAbsent =
    Info(L"IsFirewallPortEnabled", L"Firewall exception does not exist for port 9123.");
const LogLine kAdded =
    Info(L"AddFirewallPort", L"Successfully added firewall exception for port 9123.");
const LogLine kRemoved =
    Info(L"RemoveFirewallPort", L"Successfully removed temporary firewall exception.");
const LogLine kNoProfile =
    Error(L"TempFirewallException", L"Failed to initialize windows firewall profile.");

class FirewallException : public CoreTest {
 protected:
  ~FirewallException() override { EXPECT_EQ(Lab::LiveComObjects(), 0u); }

  /// Makes and destroys an exception on a thread that has no COM.
  /// \return The openings while it was there.
  std::vector<Opening> LetLive(
      const std::wstring& name = kName, const std::function<void()>& before = [] {}) {
    std::vector<Opening> openings;
    std::thread([&] {
      before();
      const bool hadCom = Lab::IsInApartment();
      {
        const TempFirewallException exception(kPort, name);
        openings = Openings();
      }
      EXPECT_EQ(Lab::IsInApartment(), hadCom);
    }).join();
    return openings;
  }

  void DescribeOpening(const char* name, bool enabled) {
    Json::Value opening;
    opening["port"] = kPort;
    opening["name"] = name;
    opening["enabled"] = enabled;
    Json::Value openings;
    openings.append(opening);
    machine_.Set("/firewall/openPorts", openings);
  }

  static std::vector<Opening> Openings() { return Lab::TheMachine().FirewallOpenings().All(); }
};

TEST_F(FirewallException, OpensThePortForItsLifeTime) {
  EXPECT_THAT(LetLive(), ElementsAre(kOwn));
  EXPECT_THAT(Openings(), IsEmpty());
  EXPECT_THAT(OwnLog(), ElementsAre(kEnabled, kAbsent, kAdded, kRemoved));
}

TEST_F(FirewallException, MayOpenAnyPortUnderAnyName) {
  std::thread([&] {
    const TempFirewallException exception(65'535, L"\u6771\u4eac \U0001F511");
    EXPECT_THAT(Openings(),
                ElementsAre(Opening{65'535, IpProtocol::kTcp, L"\u6771\u4eac \U0001F511", true}));
  }).join();
  EXPECT_THAT(Openings(), IsEmpty());
}

TEST_F(FirewallException, OpensNothingInAFirewallThatIsOff) {
  machine_.Set("/firewall/on", false);
  EXPECT_THAT(LetLive(), IsEmpty());
  EXPECT_THAT(OwnLog(),
              ElementsAre(Info(L"IsFirewallTurnedOn", L"Windows firewall is disabled."), kOff));
}

TEST_F(FirewallException, RemovesNothingFromAFirewallThatIsOff) {
  machine_.Set("/firewall/on", false);
  DescribeOpening("theirs", true);
  LetLive();
  EXPECT_EQ(Openings().size(), 1u);
}

TEST_F(FirewallException, LeavesAloneWhatSomebodyElseHasOpened) {
  DescribeOpening("theirs", true);
  const Opening theirs{9123, IpProtocol::kTcp, L"theirs", true};
  EXPECT_THAT(LetLive(), ElementsAre(theirs));
  EXPECT_THAT(Openings(), ElementsAre(theirs));
  EXPECT_THAT(OwnLog(),
              ElementsAre(kEnabled, Info(L"IsFirewallPortEnabled",
                                         L"Firewall exception already exists for port 9123.")));
}

TEST_F(FirewallException, TakesThePlaceOfADisabledOne) {
  DescribeOpening("theirs", false);
  EXPECT_THAT(LetLive(), ElementsAre(kOwn));
  EXPECT_THAT(Openings(), IsEmpty());
  EXPECT_THAT(OwnLog(), ElementsAre(kEnabled,
                                    Info(L"IsFirewallPortEnabled",
                                         L"Firewall exception not enabled for port 9123."),
                                    kAdded, kRemoved));
}

TEST_F(FirewallException, LivesOnAThreadThatHasTheSameCom) {
  EXPECT_THAT(LetLive(kName, [] { (void)CoInitialize(nullptr); }), ElementsAre(kOwn));
  EXPECT_THAT(OwnLog(), ElementsAre(kEnabled, kAbsent, kAdded, kRemoved));
}

TEST_F(FirewallException, LivesOnAThreadThatHasTheOtherComAndLeavesItThere) {
  EXPECT_THAT(LetLive(kName, [] { (void)CoInitializeEx(nullptr, COINIT_MULTITHREADED); }),
              ElementsAre(kOwn));
  EXPECT_THAT(Openings(), IsEmpty());
  EXPECT_THAT(OwnLog(), ElementsAre(kEnabled, kAbsent, kAdded, kRemoved));
}

TEST_F(FirewallException, NeedsAName) {
  EXPECT_THAT(LetLive(L""), IsEmpty());
  EXPECT_THAT(OwnLog(), ElementsAre(kEnabled, kAbsent,
                                    Error(L"AddFirewallPort",
                                          L"Failed to create exception name: 0x80070057")));
}

TEST_F(FirewallException, IsRefusedWhereSomebodyElseManagesTheFirewall) {
  machine_.Set("/firewall/managed", true);
  EXPECT_THAT(LetLive(), IsEmpty());
  EXPECT_THAT(OwnLog(), ElementsAre(kEnabled, kAbsent,
                                    Error(L"AddFirewallPort",
                                          L"Failed to add firewall exception port: 0x80070005")));
}

TEST_F(FirewallException, HasNoFirewallWhileTheServiceIsStopped) {
  machine_.Set("/firewall/serviceRuns", false);
  EXPECT_THAT(LetLive(), IsEmpty());
  EXPECT_THAT(OwnLog(), ElementsAre(Error(L"InitializeFirewallProfile",
                                          L"get_CurrentProfile failed: 0x800706d9"),
                                    kNoProfile));
}

/// A call that fails, and all lines of a life with it.
struct Failure {
  const char* function;
  std::uint32_t call;
  std::uint32_t error;
  std::vector<LogLine> lines;
  bool opened = false;  ///< At the end: what couldn't be removed stays.
};

void PrintTo(const Failure& failure, std::ostream* stream) { *stream << failure.function; }

std::vector<Failure> Failures() {
  const LogLine noList = Error(L"IsFirewallPortEnabled",
                               L"Failed to retrieve a list of globally open firewall ports: "
                               L"0x80070005");
  const LogLine notRemoved =
      Error(L"RemoveFirewallPort",
            L"Failed to retrieve a list of globally open firewall ports: 0x80070005");
  const auto notAdded = [](const std::wstring& text) {
    return std::vector<LogLine>{kEnabled, kAbsent, Error(L"AddFirewallPort", text)};
  };
  return {
      {"CoInitializeEx",
       1,
       0x8007000E,
       {Error(L"TempFirewallException",
              L"Failed to initialize COM to add firewall "
              L"exception.")}},
      {"CoCreateInstance",
       1,
       0x80040154,
       {Error(L"InitializeFirewallProfile", L"CoCreateInstance failed: 0x80040154"), kNoProfile}},
      {"INetFwMgr_get_LocalPolicy",
       1,
       0x80070005,
       {Error(L"InitializeFirewallProfile", L"get_LocalPolicy failed: 0x80070005"), kNoProfile}},
      {"INetFwPolicy_get_CurrentProfile",
       1,
       0x80070005,
       {Error(L"InitializeFirewallProfile", L"get_CurrentProfile failed: 0x80070005"), kNoProfile}},
      {"INetFwProfile_get_FirewallEnabled",
       1,
       0x800706D9,
       {Error(L"IsFirewallTurnedOn", L"Failed to get the Windows firewall state: 0x800706d9"),
        kOff}},
      // The list is asked for three times; the port counts as closed without the first.
      {"INetFwProfile_get_GloballyOpenPorts", 1, 0x80070005, {kEnabled, noList, kAdded, kRemoved}},
      {"INetFwProfile_get_GloballyOpenPorts", 2, 0x80070005,
       notAdded(L"Failed to retrieve a list of globally open firewall ports: 0x80070005")},
      {"INetFwProfile_get_GloballyOpenPorts",
       3,
       0x80070005,
       {kEnabled, kAbsent, kAdded, notRemoved},
       true},
      {"INetFwOpenPorts_Item", 1, 0x80070005, {kEnabled, kAbsent, kAdded, kRemoved}},
      {"CoCreateInstance", 2, 0x80040154,
       notAdded(L"Failed to create a firewall open port instance: 0x80040154")},
      {"INetFwOpenPort_put_Port", 1, 0x80070057,
       notAdded(L"Failed to set port number on firewall open port: 0x80070057")},
      {"INetFwOpenPort_put_Protocol", 1, 0x80070057,
       notAdded(L"Failed to set protocol on firewall open port: 0x80070057")},
      {"SysAllocString", 1, 14, notAdded(L"Failed to create exception name: 0x8007000e")},
      {"INetFwOpenPort_put_Name", 1, 0x80070057,
       notAdded(L"Failed to set friendly name on firewall open port: 0x80070057")},
      {"INetFwOpenPorts_Add", 1, 0x80070005,
       notAdded(L"Failed to add firewall exception port: 0x80070005")},
      {"INetFwOpenPorts_Remove", 1, 0x80070005, {kEnabled, kAbsent, kAdded, notRemoved}, true},
  };
}

class FirewallFailure : public FirewallException, public testing::WithParamInterface<Failure> {};

TEST_P(FirewallFailure, ShowsInTheLogAlone) {
  const Failure& failure = GetParam();
  machine_.PlanFault({.function = failure.function, .call = failure.call, .error = failure.error});
  LetLive();
  EXPECT_EQ(OwnLog(), failure.lines);
  EXPECT_EQ(Openings().size(), failure.opened ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(EachCall, FirewallFailure, testing::ValuesIn(Failures()),
                         [](const auto& row) {
                           return row.param.function + std::string("_") +
                                  std::to_string(row.param.call);
                         });

TEST_F(FirewallException, CountsAnOpeningAsDisabledWhenThatCantBeRead) {
  DescribeOpening("theirs", true);
  machine_.PlanFault({.function = "INetFwOpenPort_get_Enabled", .error = 0x80070005});
  EXPECT_THAT(LetLive(), ElementsAre(kOwn));
  EXPECT_THAT(
      OwnLog(),
      ElementsAre(kEnabled,
                  Error(L"IsFirewallPortEnabled",
                        L"Failed to retrieve if firewall exception is enabled for port: "
                        L"0x80070005"),
                  Info(L"IsFirewallPortEnabled", L"Firewall exception not enabled for port 9123."),
                  kAdded, kRemoved));
}

}  // namespace
}  // namespace Halvard::Security
