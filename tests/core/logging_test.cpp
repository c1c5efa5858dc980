#include "core/logging.h"

#include <thread>

#include "core/log_file.h"
#include "core_test.h"

namespace Halvard {
namespace {

using testing::Contains;
using Testing::DebugLine;
using testing::ElementsAre;
using testing::EndsWith;
using Testing::ErrorLine;
using Testing::InfoLine;
using Testing::OwnLog;
using testing::SizeIs;
using Testing::WarningLine;

class Logging : public CoreTest {
 protected:
  std::string LogText() { return machine_.ReadFile(L"%TEMP%\\halvard.log").value_or(""); }
};

TEST_F(Logging, LineCarriesTimeNameBuildLevelAndMessage) {
  { LogScope().Info(L"HVInit: %s %d %hs %ws", L"wide", 7, "narrow", L"also wide"); }
  EXPECT_THAT(LogText(),
              testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}"
                                    "\\.[0-9]{3}Z\\| halvard-14510545\\| I: "
                                    "HVInit: wide 7 narrow also wide\n"));
}

TEST_F(Logging, TimeIsUtc) {
  // The clock goes on from there until it is stopped.
  machine_.Set("/clock/startTime", "2026-01-31T12:00:00.123Z");
  Lab::TheMachine().Clock().Stop();
  { LogScope().Info(L"now"); }
  EXPECT_THAT(LogText(), testing::MatchesRegex("2026-01-31 12:00:0[0-9]\\.[0-9]{3}Z\\| "
                                               "halvard-14510545\\| I: now\n"));
}

TEST_F(Logging, EachLevelHasItsLetter) {
  LogScope log;
  log.Info(L"a");
  log.Warn(L"b");
  log.Error(L"c");
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"a"), WarningLine(L"b"), ErrorLine(L"c")));
}

TEST_F(Logging, NamedScopeTellsOfEnteringAndLeaving) {
  { LogScope(L"InvokeExport").Info(L"inside"); }
  EXPECT_THAT(OwnLog(),
              ElementsAre(InfoLine(L"Entering function: InvokeExport"), InfoLine(L"inside"),
                          InfoLine(L"Leaving function: InvokeExport")));
}

TEST_F(Logging, LogNameStandsInThePrefix) {
  { LogScope(L"", L"other").Info(L"x"); }
  EXPECT_THAT(LogText(), testing::HasSubstr("| other-14510545| I: x\n"));
}

TEST_F(Logging, WithoutAScopeNothingIsWritten) {
  gLogFile.Write("lost");
  EXPECT_FALSE(machine_.FileExists(L"%TEMP%\\halvard.log"));
}

TEST_F(Logging, WithoutATempFolderNothingIsWritten) {
  machine_.PlanFault({.function = "GetTempPathW", .error = ERROR_ACCESS_DENIED});
  { LogScope(L"wmain").Error(L"lost"); }
  EXPECT_FALSE(machine_.FileExists(L"%TEMP%\\halvard.log"));
}

TEST_F(Logging, ScopeWithoutAFileDoesNotCloseALaterOnes) {
  machine_.PlanFault({.function = "GetTempPathW", .call = 1, .error = ERROR_ACCESS_DENIED});
  auto without = std::make_unique<LogScope>();
  LogScope with;
  without.reset();
  with.Info(L"kept");
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"kept")));
}

TEST_F(Logging, FileIsOpenWhileAScopeLivesAndClosedAfterTheLast) {
  {
    LogScope outer;
    { LogScope().Info(L"one"); }
    outer.Info(L"two");
    EXPECT_FALSE(DeleteFileW((GetTempDirectory() + L"halvard.log").c_str()));
  }
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"one"), InfoLine(L"two")));
  EXPECT_TRUE(DeleteFileW((GetTempDirectory() + L"halvard.log").c_str()));
}

TEST_F(Logging, LaterScopeAppends) {
  { LogScope().Info(L"first"); }
  { LogScope().Info(L"second"); }
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(L"first"), InfoLine(L"second")));
}

TEST_F(Logging, OpenLogCanBeCopied) {
  LogScope log;
  log.Info(L"x");
  const std::wstring path = GetTempDirectory() + L"halvard.log";
  EXPECT_TRUE(CopyFileW(path.c_str(), (path + L".copy").c_str(), FALSE));
}

TEST_F(Logging, LongestMessageThatFitsGoesOutWhole) {
  const std::wstring message(4095, L'x');
  { LogScope().Info(L"%s", message.c_str()); }
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(message)));
}

TEST_F(Logging, LongerMessageIsCut) {
  { LogScope().Info(L"%s", std::wstring(5000, L'x').c_str()); }
  EXPECT_THAT(OwnLog(), ElementsAre(InfoLine(std::wstring(4095, L'x'))));
}

TEST_F(Logging, EmptyMessageWritesNoLine) {
  { LogScope().Info(L"%s", L""); }
  EXPECT_EQ(LogText(), "");
}

TEST_F(Logging, OneLineFeedAtTheEndIsDropped) {
  LogScope log;
  log.Info(L"a\n");
  log.Info(L"b\n\n");
  EXPECT_THAT(LogText(), testing::HasSubstr("I: a\n"));
  EXPECT_THAT(LogText(), testing::EndsWith("I: b\n\n"));
}

TEST_F(Logging, TextIsUtf8) {
  { LogScope().Info(L"Z\u00fcrich \u6771\u4eac \U0001F511"); }
  EXPECT_THAT(LogText(),
              testing::EndsWith("Z\xC3\xBCrich \xE6\x9D\xB1\xE4\xBA\xAC \xF0\x9F\x94\x91\n"));
}

TEST_F(Logging, WithoutAClockTheMessageGoesOutWithoutPrefix) {
  machine_.PlanFault({.function = "FileTimeToSystemTime", .error = ERROR_INVALID_PARAMETER});
  { LogScope().Info(L"bare"); }
  EXPECT_EQ(LogText(), "bare\n");
}

TEST_F(Logging, NameThatIsTooLongCostsThePrefix) {
  { LogScope(L"", std::wstring(48, L'n')).Info(L"bare"); }
  EXPECT_EQ(LogText(), "bare\n");
}

TEST_F(Logging, LongestNameThatFitsLeavesThePrefix) {
  const std::string name(47, 'n');
  { LogScope(L"", std::wstring(47, L'n')).Info(L"whole"); }
  EXPECT_THAT(LogText(), EndsWith("Z| " + name + "-14510545| I: whole\n"));
}

TEST_F(Logging, LinesOfSeveralThreadsStayWhole) {
  constexpr int kLines = 200;
  const auto work = [](wchar_t letter) {
    for (int i = 0; i < kLines; ++i) LogScope().Info(L"%s", std::wstring(500, letter).c_str());
  };
  LogScope keepsTheFileOpen;
  std::thread first(work, L'a');
  std::thread second(work, L'b');
  first.join();
  second.join();
  const auto lines = OwnLog();
  EXPECT_THAT(lines, SizeIs(2 * kLines));
  EXPECT_THAT(lines, testing::Each(testing::AnyOf(InfoLine(std::wstring(500, L'a')),
                                                  InfoLine(std::wstring(500, L'b')))));
}

/// The switch is read once for each process, so each of these tests is one of its own.
class DebugSwitch : public Logging {
 protected:
  DebugSwitch() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  /// Logs a debug line, and ends the process with 1 if it went out, else with 0.
  [[noreturn]] void LogAndExit() {
    { LogScope().Debug(L"detail"); }
    std::_Exit(testing::Matches(Contains(DebugLine(L"detail")))(OwnLog()) ? 1 : 0);
  }
};

TEST_F(DebugSwitch, ValueSwitchesDebugLinesOn) {
  machine_.SetVariable(L"KVS_HV_DEBUG", L"0");
  EXPECT_EXIT(LogAndExit(), testing::ExitedWithCode(1), "");
}

TEST_F(DebugSwitch, WithoutTheVariableDebugLinesAreOff) {
  machine_.RemoveVariable(L"KVS_HV_DEBUG");
  EXPECT_EXIT(LogAndExit(), testing::ExitedWithCode(0), "");
}

TEST_F(DebugSwitch, EmptyValueLeavesDebugLinesOff) {
  machine_.SetVariable(L"KVS_HV_DEBUG", L"");
  EXPECT_EXIT(LogAndExit(), testing::ExitedWithCode(0), "");
}

TEST_F(DebugSwitch, ChangeAfterTheFirstDebugLineHasNoEffect) {
  EXPECT_EXIT(
      {
        LogScope().Debug(L"first");
        machine_.SetVariable(L"KVS_HV_DEBUG", L"1");
        LogAndExit();
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace Halvard
