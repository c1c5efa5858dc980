#include "core/console.h"

#include "core_test.h"
#include "support/console_capture.h"

namespace Halvard {
namespace {

using Testing::ConsoleCapture;
using Testing::PipedInput;
using Testing::TerminalInput;

class Console : public CoreTest {
 protected:
  ConsoleCapture console_;
};

TEST_F(Console, PrintsTextsAndLines) {
  Print(L"Z\u00fcrich ");
  PrintLine(L"\u6771\u4eac");
  PrintLine();
  Print(L"\U0001F511");
  EXPECT_EQ(console_.Text(), L"Z\u00fcrich \u6771\u4eac\n\n\U0001F511");
}

TEST_F(Console, ReadsLineAfterLineFromAPipe) {
  const PipedInput input("C:\\export\r\n\nZ\xC3\xBCrich");
  EXPECT_EQ(ReadLine(), L"C:\\export");
  EXPECT_EQ(ReadLine(), L"");
  EXPECT_EQ(ReadLine(), L"Z\u00fcrich");
  EXPECT_EQ(ReadLine(), L"");
}

TEST_F(Console, ReadsALineFromATerminal) {
  TerminalInput terminal;
  terminal.Type("n\u00e4chste\r");
  EXPECT_EQ(ReadLine(), L"n\u00e4chste");
}

TEST_F(Console, LineOutlastsCtrlC) {
  TerminalInput terminal;
  machine_.PlanFault({.function = "ReadConsoleW", .call = 1, .error = ERROR_OPERATION_ABORTED});
  terminal.Type("still here\r");
  EXPECT_EQ(ReadLine(), L"still here");
}

TEST_F(Console, MaskedLineShowsOneStarForEachCharacter) {
  TerminalInput terminal;
  terminal.Type("p\u00e4ss\r");
  EXPECT_EQ(ReadMaskedLine(), L"p\u00e4ss");
  EXPECT_EQ(console_.Text(), L"****\n");
}

TEST_F(Console, BackspaceTakesBackACharacterAndItsStar) {
  TerminalInput terminal;
  terminal.Type("ax\bb\r");
  EXPECT_EQ(ReadMaskedLine(), L"ab");
  EXPECT_EQ(console_.Text(), L"**\b \b*\n");
}

TEST_F(Console, BackspaceAtTheStartPrintsNothing) {
  TerminalInput terminal;
  terminal.Type("\b\ba\r");
  EXPECT_EQ(ReadMaskedLine(), L"a");
  EXPECT_EQ(console_.Text(), L"*\n");
}

TEST_F(Console, MaskedLineOutlastsCtrlC) {
  TerminalInput terminal;
  machine_.PlanFault({.function = "ReadConsoleW", .call = 2, .error = ERROR_OPERATION_ABORTED});
  terminal.Type("ab\r");
  EXPECT_EQ(ReadMaskedLine(), L"ab");
}

TEST_F(Console, MaskedLineEndsWhereReadingFails) {
  TerminalInput terminal;
  machine_.PlanFault({.function = "ReadConsoleW", .call = 3, .error = ERROR_INVALID_HANDLE});
  terminal.Type("abc\r");
  EXPECT_EQ(ReadMaskedLine(), L"ab");
}

TEST_F(Console, MaskedLineWithoutAConsoleIsEmpty) {
  const PipedInput input("secret\r\n");
  EXPECT_EQ(ReadMaskedLine(), L"");
  EXPECT_EQ(console_.Text(), L"\n");
}

TEST_F(Console, MaskingGivesTheConsoleItsModeBack) {
  TerminalInput terminal;
  DWORD before = 0;
  ASSERT_TRUE(GetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), &before));
  terminal.Type("a\r");
  (void)ReadMaskedLine();
  DWORD after = 0;
  ASSERT_TRUE(GetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), &after));
  EXPECT_EQ(after, before);
}

}  // namespace
}  // namespace Halvard
