#include "host/services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "machine/handles.h"
#include "machine/machine.h"
#include "machine/text.h"
#include "support/lab_instance.h"
#include "support/log_lines.h"

namespace {

bool gSizeIsNotAsked = false;

}  // namespace

extern "C" BOOL __real__Z19QueryServiceConfigWP11SC_HANDLE__P21QUERY_SERVICE_CONFIGWjPj(
    SC_HANDLE service, LPQUERY_SERVICE_CONFIGW configuration, DWORD size, LPDWORD needed);
extern "C" BOOL __wrap__Z19QueryServiceConfigWP11SC_HANDLE__P21QUERY_SERVICE_CONFIGWjPj(
    SC_HANDLE service, LPQUERY_SERVICE_CONFIGW configuration, DWORD size, LPDWORD needed);

/// In place of the system's: can succeed without a buffer, which no plan of failures brings about.
BOOL __wrap__Z19QueryServiceConfigWP11SC_HANDLE__P21QUERY_SERVICE_CONFIGWjPj(
    SC_HANDLE service, LPQUERY_SERVICE_CONFIGW configuration, DWORD size, LPDWORD needed) {
  if (gSizeIsNotAsked) return TRUE;
  return __real__Z19QueryServiceConfigWP11SC_HANDLE__P21QUERY_SERVICE_CONFIGWjPj(
      service, configuration, size, needed);
}

namespace Halvard::Host {
namespace {

using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using Testing::InfoLine;
using testing::IsEmpty;
using Testing::LogLine;
using testing::Not;
using Testing::OwnLog;

const wchar_t* const kName = L"J\u00f6rg's \u8a66\u9a13 service";

class Services : public testing::Test {
 protected:
  Services() : handlesBefore_(Lab::Handles().OpenTypes().size()) {}
  ~Services() override { EXPECT_EQ(Lab::Handles().OpenTypes().size(), handlesBefore_); }

  /// Describes a service that is stopped, with what becomes of its start.
  void Describe(const std::wstring& name, const Json::Value& start = Json::objectValue,
                const char* state = "stopped") {
    Json::Value service;
    service["program"] = "C:\\service.exe";
    service["state"] = state;
    service["start"] = start;
    const std::string member = Lab::ToUtf8(name);
    services_[member] = service;
    machine_.Set("/services", services_);
    // Time passes by what is slept alone.
    Lab::TheMachine().Clock().MoveBySleeps();
  }

  /// A start of so many equal steps.
  static Json::Value Steps(int count, unsigned milliseconds, unsigned waitHint,
                           const char* outcome = "runs") {
    Json::Value start;
    start["steps"] = Json::arrayValue;
    for (int i = 0; i < count; ++i) {
      Json::Value step;
      step["milliseconds"] = milliseconds;
      step["waitHint"] = waitHint;
      start["steps"].append(step);
    }
    start["outcome"] = outcome;
    return start;
  }

  void Fail(const char* function, std::uint32_t call, std::uint32_t error) {
    machine_.PlanFault({.function = function, .call = call, .error = error});
    Lab::TheMachine().Clock().MoveBySleeps();
  }

  static std::uint32_t Sleeps() { return Lab::TheMachine().Faults().Calls("Sleep"); }

  Lab::Instance machine_;

 private:
  const std::size_t handlesBefore_;
  Json::Value services_;
};

/// Milliseconds of the machine that pass while one lives.
class Passed {
 public:
  std::uint64_t operator()() const { return Lab::TheMachine().Clock().Ticks() - before_; }

 private:
  const std::uint64_t before_ = Lab::TheMachine().Clock().Ticks();
};

const LogLine kAttempt =
    InfoLine(std::wstring(L"StartServiceW: Attempting to start service '") + kName + L"'...");
const LogLine kPending = InfoLine(L"StartServiceW: Service start pending...");
const LogLine kStarted = InfoLine(L"StartServiceW: Service started successfully");
const LogLine kGivenUp =
    InfoLine(L"StartServiceW: Service did not start within the timeout; breaking");

LogLine NotStarted(int state) {
  return InfoLine(L"StartServiceW: Service not started. Current state: " + std::to_wstring(state));
}

class StartOfService : public Services {};

TEST_F(StartOfService, WaitsUntilTheServiceRuns) {
  Describe(kName, Steps(2, 2'000, 5'000));
  const Passed passed;
  EXPECT_TRUE(StartServiceW(kName));
  EXPECT_THAT(OwnLog(), ElementsAre(kAttempt, kPending, kStarted));
  EXPECT_EQ(passed(), 4'000u);
}

TEST_F(StartOfService, NameHasNoCase) {
  Describe(L"kelvd");
  EXPECT_TRUE(StartServiceW(L"KELVD"));
}

TEST_F(StartOfService, RunningServiceIsNotStarted) {
  Describe(kName, Json::objectValue, "running");
  EXPECT_TRUE(StartServiceW(kName));
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"StartServiceW: Service is already running.")));
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("StartServiceW"), 0u);
}

TEST_F(StartOfService, EmptyNameIsNone) {
  EXPECT_FALSE(StartServiceW(L""));
  EXPECT_THAT(OwnLog(), IsEmpty());
  EXPECT_EQ(Lab::TheMachine().Faults().Calls("OpenSCManagerW"), 0u);
}

struct Poll {
  const char* name;
  unsigned waitHint;
  std::uint64_t sleep;
};

class PollInterval : public StartOfService, public testing::WithParamInterface<Poll> {};

TEST_P(PollInterval, IsATenthOfTheWaitHintWithinItsBounds) {
  // The first look comes after a second, whatever the service will tell.
  Describe(kName, Steps(1, 1'001, GetParam().waitHint));
  const Passed passed;
  EXPECT_TRUE(StartServiceW(kName));
  EXPECT_EQ(Sleeps(), 2u);
  EXPECT_EQ(passed(), 1'000 + GetParam().sleep);
}

INSTANTIATE_TEST_SUITE_P(
    WaitHints, PollInterval,
    testing::Values(Poll{"None", 0, 1'000}, Poll{"FiveSeconds", 5'000, 1'000},
                    Poll{"LowerBound", 10'000, 1'000}, Poll{"AboveLowerBound", 10'010, 1'001},
                    Poll{"Between", 45'678, 4'567}, Poll{"BelowUpperBound", 99'990, 9'999},
                    Poll{"UpperBound", 100'000, 10'000}, Poll{"TwoHundredSeconds", 200'000, 10'000},
                    Poll{"Most", 4'294'967'295u, 10'000}),
    [](const auto& row) { return row.param.name; });

TEST_F(StartOfService, ProgressForAMinuteThenAHangIsGivenUpThirtySecondsLater) {
  Describe(kName, Steps(13, 5'000, 5'000, "hangs"));
  const Passed passed;
  EXPECT_FALSE(StartServiceW(kName));
  EXPECT_THAT(OwnLog(), ElementsAre(kAttempt, kPending, kGivenUp, NotStarted(2)));
  // The last new check point shows after a minute, and is given more than 30 seconds.
  EXPECT_EQ(passed(), 60'000u + 31'000u);
}

TEST_F(StartOfService, ThirtySecondsWithoutProgressAreNotYetTooMany) {
  Describe(kName, Steps(2, 29'500, 0));
  EXPECT_TRUE(StartServiceW(kName));
  EXPECT_THAT(OwnLog(), Not(Contains(kGivenUp)));
}

TEST_F(StartOfService, HangIsWatchedInLongStepsByItsWaitHint) {
  Describe(kName, Steps(1, 0, 200'000, "hangs"));
  const Passed passed;
  EXPECT_FALSE(StartServiceW(kName));
  // The first look brings the check point; then three sleeps of 10 seconds are 30 and a fourth is
  // more.
  EXPECT_EQ(Sleeps(), 5u);
  EXPECT_EQ(passed(), 41'000u);
}

TEST_F(StartOfService, CheckPointThatFallsBackIsNoProgress) {
  Json::Value start = Steps(2, 20'000, 0, "hangs");
  start["steps"][0]["checkPoint"] = 7;
  start["steps"][1]["checkPoint"] = 6;
  Describe(kName, start);
  const Passed passed;
  EXPECT_FALSE(StartServiceW(kName));
  EXPECT_EQ(passed(), 32'000u);
}

TEST_F(StartOfService, FallenServiceIsWatchedToTheEnd) {
  Json::Value start = Steps(1, 2'500, 0, "stops");
  start["exitCode"] = 1067;
  Describe(kName, start);
  const Passed passed;
  EXPECT_FALSE(StartServiceW(kName));
  EXPECT_THAT(OwnLog(), ElementsAre(kAttempt, kPending, kGivenUp, NotStarted(1)));
  EXPECT_EQ(passed(), 32'000u);
}

TEST_F(StartOfService, ServiceThatComesUpAtTheVeryEndCounts) {
  // Without a check point, and seen to run 31 seconds after the start only.
  Json::Value start = Steps(1, 30'500, 0);
  start["steps"][0]["checkPoint"] = 0;
  Describe(kName, start);
  EXPECT_TRUE(StartServiceW(kName));
  EXPECT_THAT(OwnLog(), ElementsAre(kAttempt, kPending, kGivenUp, kStarted));
}

TEST_F(StartOfService, TicksMayWrapMeanwhile) {
  Describe(kName, Steps(40, 1'000, 0));
  Lab::Clock& clock = Lab::TheMachine().Clock();
  clock.Advance(0x1'0000'0000 - (clock.Ticks() & 0xFFFF'FFFF) - 5'000);
  EXPECT_TRUE(StartServiceW(kName));
}

TEST_F(StartOfService, PendingServiceCantBeStarted) {
  Describe(kName, Json::objectValue, "startPending");
  EXPECT_FALSE(StartServiceW(kName));
  EXPECT_THAT(OwnLog(),
              ElementsAre(kAttempt, InfoLine(L"StartServiceW: StartService failed (1056)")));
}

TEST_F(StartOfService, FailedStartIsLoggedWithItsCode) {
  Json::Value start;
  start["error"] = 1069;
  Describe(kName, start);
  EXPECT_FALSE(StartServiceW(kName));
  EXPECT_THAT(OwnLog(),
              ElementsAre(kAttempt, InfoLine(L"StartServiceW: StartService failed (1069)")));
  EXPECT_EQ(Sleeps(), 0u);
}

TEST_F(StartOfService, ManagerThatIsRefusedIsLogged) {
  Describe(kName);
  machine_.Set("/user/elevated", false);
  EXPECT_FALSE(StartServiceW(kName));
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"StartServiceW: OpenSCManager failed. Error: 5")));
}

TEST_F(StartOfService, ServiceThatIsNotThereIsSaidToBeNone) {
  EXPECT_FALSE(StartServiceW(L"nobody"));
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"StartServiceW: OpenService failed. Error: 1060"),
                                    InfoLine(L"StartServiceW: Service does not exist")));
}

TEST_F(StartOfService, ServiceThatIsRefusedIsLogged) {
  Describe(kName);
  Fail("OpenServiceW", 1, 5);
  EXPECT_FALSE(StartServiceW(kName));
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"StartServiceW: OpenService failed. Error: 5")));
}

TEST_F(StartOfService, StateThatCantBeAskedForEndsIt) {
  Describe(kName);
  Fail("QueryServiceStatusEx", 1, 77);
  EXPECT_FALSE(StartServiceW(kName));
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(L"StartServiceW: QueryServiceStatusEx failed. Error: 77")));
}

TEST_F(StartOfService, StateThatCantBeAskedForLaterLeavesTheLastOne) {
  Describe(kName, Steps(1, 10'000, 0));
  Fail("QueryServiceStatusEx", 3, 77);
  EXPECT_FALSE(StartServiceW(kName));
  EXPECT_THAT(OwnLog(),
              ElementsAre(kAttempt, kPending,
                          InfoLine(L"StartServiceW: QueryServiceStatusEx failed. Error: 77"),
                          NotStarted(2)));
}

class StartOfServices : public Services {};

TEST_F(StartOfServices, GoesInOrderAndSkipsEmptyNames) {
  for (const wchar_t* name : {L"a", L"b"}) Describe(name);
  EXPECT_THAT(StartServices({L"b", L"", L"a"}), ElementsAre(L"b", L"a"));
  const LogLine attemptA = InfoLine(L"StartServiceW: Attempting to start service 'a'...");
  const LogLine attemptB = InfoLine(L"StartServiceW: Attempting to start service 'b'...");
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(L"StartServices: Starting service 'b'"), attemptB, kPending,
                          kStarted, InfoLine(L"StartServices: Successfully started service 'b'"),
                          InfoLine(L"StartServices: Starting service 'a'"), attemptA, kPending,
                          kStarted, InfoLine(L"StartServices: Successfully started service 'a'")));
}

TEST_F(StartOfServices, EndsAtTheFirstThatFails) {
  Describe(L"first");
  Describe(L"last");
  EXPECT_THAT(StartServices({L"first", L"nobody", L"last"}), ElementsAre(L"first"));
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"StartServices: Failed to start service 'nobody'")));
  EXPECT_THAT(OwnLog(), Not(Contains(InfoLine(L"StartServices: Starting service 'last'"))));
}

TEST_F(StartOfServices, OfNoneDoesNothing) {
  EXPECT_THAT(StartServices({}), IsEmpty());
  EXPECT_THAT(OwnLog(), IsEmpty());
}

class Configuration : public Services {
 protected:
  Configuration() {
    Json::Value service;
    service["program"] = "\"C:\\Program Files\\x y.exe\" --service";
    service["account"] = ".\\J\u00f6rg \U0001D4BD";
    service["displayName"] = "Shown";
    machine_.Set("/services/Some", service);
    service.removeMember("account");
    service["driver"] = true;
    machine_.Set("/services/Driver", service);
  }
  ~Configuration() override { gSizeIsNotAsked = false; }

  ServiceConfiguration configuration_;
};

TEST_F(Configuration, HoldsWhatTheServiceManagerTells) {
  ASSERT_TRUE(QueryServiceConfigW(L"some", configuration_));
  EXPECT_STREQ(configuration_->lpServiceStartName, L".\\J\u00f6rg \U0001D4BD");
  EXPECT_STREQ(configuration_->lpBinaryPathName, L"\"C:\\Program Files\\x y.exe\" --service");
  EXPECT_STREQ(configuration_->lpDisplayName, L"Shown");
  EXPECT_EQ(configuration_->dwStartType, 2u);
  EXPECT_THAT(
      OwnLog(),
      Contains(InfoLine(
          L"QueryServiceConfigW: Successfully retrieved the Service Config for some service")));
}

TEST_F(Configuration, OfADriverHasNoAccount) {
  ASSERT_TRUE(QueryServiceConfigW(L"Driver", configuration_));
  EXPECT_EQ(configuration_->lpServiceStartName, nullptr);
}

TEST_F(Configuration, IsAskedForWithoutABufferFirst) {
  gSizeIsNotAsked = true;
  EXPECT_FALSE(QueryServiceConfigW(L"Some", configuration_));
  EXPECT_FALSE(configuration_);
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(L"QueryServiceConfigW: QueryServiceConfig call "
                                              L"passed with NULL buffer.")));
}

struct ConfigurationFailure {
  const char* function;
  std::uint32_t call;
  std::wstring line;
};

class CallForConfiguration : public Configuration,
                             public testing::WithParamInterface<ConfigurationFailure> {};

TEST_P(CallForConfiguration, IsLoggedWithItsCodeWhenItFails) {
  Fail(GetParam().function, GetParam().call, 77);
  EXPECT_FALSE(QueryServiceConfigW(L"Some", configuration_));
  EXPECT_FALSE(configuration_);
  EXPECT_THAT(OwnLog(), ElementsAre(ErrorLine(GetParam().line)));
}

INSTANTIATE_TEST_SUITE_P(
    Calls, CallForConfiguration,
    testing::Values(
        ConfigurationFailure{"OpenSCManagerW", 1,
                             L"QueryServiceConfigW: OpenSCManager failed. Error code: 77."},
        ConfigurationFailure{
            "OpenServiceW", 1,
            L"QueryServiceConfigW: OpenService failed for Some service. Error code: 77."},
        ConfigurationFailure{"QueryServiceConfigW", 1,
                             L"QueryServiceConfigW: Failed to get the size of the buffer required "
                             L"to retrieve the service config for Some service. Error code: 77."},
        ConfigurationFailure{"QueryServiceConfigW", 2,
                             L"QueryServiceConfigW: Failed to retrieve the service config for Some "
                             L"service. Error code: 77."}),
    [](const auto& row) {
      return std::string(row.param.function) + std::to_string(row.param.call);
    });

}  // namespace
}  // namespace Halvard::Host
