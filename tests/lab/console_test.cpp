// The console over a real terminal, control events, and the start of a program.
#include <gtest/gtest.h>
#include <signal.h>

#include "program_run.h"
#include "support/lab_instance.h"

namespace {

using Lab::ProgramRun;

/// What is left of 0xC000013A in an exit code of the host.
constexpr int kEndedByControlEvent = 0x3A;

class Terminal : public testing::Test {
 protected:
  Lab::Instance machine_;
};

TEST_F(Terminal, WithoutLineInputEachCharacterComesByItself) {
  ProgramRun run(machine_.Folder(), {"masked"}, ProgramRun::Streams::kTerminal);
  ASSERT_EQ(run.ReadLine(), "modes 7 1");
  run.Write("a\xC3\xA4\xE8\xA9\xA6\xF0\x9D\x92\xBD\x7F\r");
  for (const char* character : {"61 ", "e4 ", "8a66 ", "1d4bd ", "8 ", "d "}) {
    EXPECT_EQ(run.ReadLine(), character);
  }
  EXPECT_EQ(run.Wait(), 0);
  EXPECT_TRUE(run.TerminalIsCooked());
}

TEST_F(Terminal, ControlCLeavesTheReadingOfCharactersAlone) {
  ProgramRun run(machine_.Folder(), {"masked-with-handler"}, ProgramRun::Streams::kTerminal);
  ASSERT_EQ(run.ReadLine(), "modes 7 1");
  run.Write("a");
  EXPECT_EQ(run.ReadLine(), "61 ");
  run.Write("\x03");
  EXPECT_EQ(run.ReadLine(), "event 0");
  run.Write("b\r");
  EXPECT_EQ(run.ReadLine(), "62 ");
}

TEST_F(Terminal, ControlBreakEndsTheReadingOfACharacter) {
  ProgramRun run(machine_.Folder(), {"masked-with-handler"}, ProgramRun::Streams::kTerminal);
  ASSERT_EQ(run.ReadLine(), "modes 7 1");
  run.Write("a");
  EXPECT_EQ(run.ReadLine(), "61 ");
  EXPECT_NO_THROW(run.WriteUntilLine("\x1C", "interrupted 995"));
}

TEST_F(Terminal, KilledByControlCItKeepsNoMode) {
  ProgramRun run(machine_.Folder(), {"masked-refusing"}, ProgramRun::Streams::kTerminal);
  ASSERT_EQ(run.ReadLine(), "modes 7 1");
  run.Write("\x03");
  EXPECT_EQ(run.Wait(), kEndedByControlEvent);
  EXPECT_TRUE(run.TerminalIsCooked());
}

TEST_F(Terminal, LineEndsInCarriageReturnAndLineFeed) {
  ProgramRun run(machine_.Folder(), {"line"}, ProgramRun::Streams::kTerminal);
  ASSERT_EQ(run.ReadLine(), "ready");
  run.Write("ab\r");
  EXPECT_EQ(run.ReadLine(), "ab");  // the terminal's echo
  EXPECT_EQ(run.ReadLine(), "61 62 d a ");
  EXPECT_EQ(run.Wait(), 0);
}

TEST_F(Terminal, ControlCEndsTheReadingOfALineWithNothing) {
  ProgramRun run(machine_.Folder(), {"line"}, ProgramRun::Streams::kTerminal);
  ASSERT_EQ(run.ReadLine(), "ready");
  EXPECT_NO_THROW(run.WriteUntilLine("lost\x03", "interrupted 995"));
  EXPECT_NO_THROW(run.WriteUntilLine("kept\r", "6b 65 70 74 d a "));
}

TEST_F(Terminal, SizesAreCheckedAgainstOneAnother) {
  ProgramRun run(machine_.Folder(), {"modes"}, ProgramRun::Streams::kTerminal);
  EXPECT_EQ(run.ReadLine(), "echo alone: 0 87");
  EXPECT_EQ(run.ReadLine(), "window too large: 0");
  EXPECT_EQ(run.ReadLine(), "buffer: 1");
  EXPECT_EQ(run.ReadLine(), "window: 1");
  EXPECT_EQ(run.ReadLine(), "buffer too small: 0");
  EXPECT_EQ(run.ReadLine(), "moved: 1");
}

class ControlEvents : public testing::Test {
 protected:
  Lab::Instance machine_;
};

TEST_F(ControlEvents, LastHandlerIsAskedFirstUntilOneHandles) {
  ProgramRun run(machine_.Folder(), {"events", "0"});
  ASSERT_EQ(run.ReadLine(), "ready");
  run.Send(SIGINT);
  EXPECT_EQ(run.ReadLine(), "second 0");
  EXPECT_EQ(run.ReadLine(), "first 0");
  run.CloseInput();
  EXPECT_EQ(run.Wait(), 0);
}

TEST_F(ControlEvents, UnhandledOneEndsTheProgram) {
  ProgramRun run(machine_.Folder(), {"events"});
  ASSERT_EQ(run.ReadLine(), "ready");
  run.Send(SIGQUIT);
  EXPECT_EQ(run.ReadLine(), "second 1");
  EXPECT_EQ(run.ReadLine(), "first 1");
  EXPECT_EQ(run.Wait(), kEndedByControlEvent);
}

TEST_F(ControlEvents, ClosingEndsTheProgramFiveSecondsLater) {
  machine_.Set("/clock/speed", 200);
  for (const int closing : {SIGHUP, SIGTERM}) {
    ProgramRun run(machine_.Folder(), {"events", "2"});
    ASSERT_EQ(run.ReadLine(), "ready");
    run.Send(closing);
    // This handler doesn't come back.
    EXPECT_EQ(run.ReadLine(), "second 2");
    EXPECT_EQ(run.Wait(), kEndedByControlEvent);
  }
}

class Start : public testing::Test {
 protected:
  Lab::Instance machine_;
};

TEST_F(Start, ArgumentsArriveWhole) {
  ProgramRun run(machine_.Folder(),
                 {"arguments", "", "a b", "\xE8\xA9\xA6\xF0\x9D\x92\xBD", "\"", "\xFF"});
  EXPECT_EQ(run.ReadAll(), "\na b\n\xE8\xA9\xA6\xF0\x9D\x92\xBD\n\"\n\xEF\xBF\xBD\n");
}

TEST_F(Start, ExitCodeIsThatOfTheProgramModulo256) {
  EXPECT_EQ(ProgramRun(machine_.Folder(), {"exit", "7"}).Wait(), 7);
  EXPECT_EQ(ProgramRun(machine_.Folder(), {"exit", "-1"}).Wait(), 255);
}

TEST_F(Start, WithoutAMachineThereIsNoStart) {
  EXPECT_EQ(ProgramRun(machine_.Folder() / "missing", {"exit", "0"}).Wait(), 3);
}

TEST_F(Start, WideTextGoesOutInUtf8AndNarrowTextDoesNot) {
  ProgramRun run(machine_.Folder(), {"wide"});
  EXPECT_EQ(run.ReadAll(), "before\n\xC3\xA4\xE8\xA9\xA6\xF0\x9D\x92\xBD\n4000 -1 40000\n");
}

}  // namespace
