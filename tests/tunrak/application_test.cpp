#include "tunrak/application.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "tunrak/exception.h"

namespace Tunrak::Service {
namespace {

/// There is one application in a process, so each of these tests has a process of its own: it ends
/// with 0 if the body says that all is well.
template <typename Body>
void InOwnProcess(Body body, const std::string& errorOutput = "^$") {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::exit(body() ? 0 : 1), testing::ExitedWithCode(0), errorOutput);
}

template <typename Call>
bool Throws(Call call) {
  try {
    call();
  } catch (const Exception&) {
    return true;
  }
  return false;
}

TEST(ApplicationDeathTest, ThereIsNoneBeforeInitApp) {
  InOwnProcess([] { return Throws([] { GetApp(); }) && Throws([] { GetDefaultLogger(); }); });
}

TEST(ApplicationDeathTest, ThereIsOneForTheWholeProcess) {
  InOwnProcess([] {
    const auto config = CreateScratchConfig();
    InitApp(*config);
    Application* const first = &GetApp();
    return Throws([&] { InitApp(*config); }) && &GetApp() == first &&
           GetDefaultLogger() == &first->GetLogger() &&
           first->GetThreadFacility().CountInside() == 0;
  });
}

TEST(ApplicationDeathTest, ThreadsOfTheApplicationAreCounted) {
  InOwnProcess([] {
    InitApp(*CreateScratchConfig());
    ProcessThreads& threads = GetApp().GetThreadFacility();
    threads.EnterThread();
    const int inside = GetApp().GetThreadFacility().CountInside();
    threads.LeaveThread();
    threads.ReleaseThread();
    return inside == 1;
  });
}

TEST(ApplicationDeathTest, LogGoesToTheConsoleUpToItsLevel) {
  InOwnProcess(
      [] {
        const auto config = CreateScratchConfig();
        config->Set("log/level", "warning");
        InitApp(*config);
        GetDefaultLogger()->Write(LogLevel::kError, "one");
        GetDefaultLogger()->Write(LogLevel::kWarning, "two");
        GetDefaultLogger()->Write(LogLevel::kInfo, "three");
        GetDefaultLogger()->Write(LogLevel::kVerbose, "four");
        return true;
      },
      "^tunrak error: one\ntunrak warning: two\n$");
}

TEST(ApplicationDeathTest, LogIsSilentWithoutTheConsole) {
  InOwnProcess([] {
    const auto config = CreateScratchConfig();
    config->Set("log/outputToConsole", false);
    config->Set("log/outputToSyslog", false);
    config->Set("log/level", "error");
    InitApp(*config);
    GetDefaultLogger()->Write(LogLevel::kError, "one");
    return true;
  });
}

TEST(InitApp, BadSettingsAreRefused) {
  const std::pair<const char*, const char*> kSettings[] = {
      {"log/level", "loud"}, {"log/outputToConsole", "maybe"}, {"log/outputToSyslog", "true"}};
  for (const auto& [name, value] : kSettings) {
    const auto config = CreateScratchConfig();
    config->Set(name, value);
    EXPECT_THROW(InitApp(*config), Exception) << name;
  }
}

TEST(Config, SettingThatIsNotThereReadsAsTold) {
  const auto config = CreateScratchConfig();
  EXPECT_EQ(config->Get("a", "otherwise"), "otherwise");
  config->Set("a", true);
  EXPECT_EQ(config->Get("a", "otherwise"), "true");
  config->Set("a", "text");
  EXPECT_EQ(config->Get("a", "otherwise"), "text");
}

TEST(Exception, TextIsOneLine) {
  EXPECT_STREQ(Exception("a\r\nb\x7f\xC3\xA4").what(), "a  b \xC3\xA4");
  EXPECT_STREQ(TypeMismatchException("Folder", "Datacenter").what(),
               "Type mismatch: expected Folder, found Datacenter.");
}

}  // namespace
}  // namespace Tunrak::Service
