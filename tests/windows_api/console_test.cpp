// The console's functions on what is no console.
#include <gtest/gtest.h>

#include <cerrno>

#include "host/unique_resource.h"
#include "scratch_folder.h"
#include "support.h"

namespace {

using WindowsApi::LastError;
using WindowsApi::SpoilLastError;

class NoConsole : public testing::Test {
 protected:
  NoConsole() { SpoilLastError(); }

  const WindowsApi::ScratchFolder scratch_;
  const Halvard::Host::UniqueFile file_{CreateFileW(scratch_.In(L"file").c_str(),
                                                    GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                                    CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)};
};

TEST_F(NoConsole, HasNoMode) {
  DWORD mode = 77;
  EXPECT_FALSE(GetConsoleMode(file_.Get(), &mode));
  EXPECT_EQ(LastError(), 6u);
  EXPECT_EQ(mode, 77u);
  SpoilLastError();
  EXPECT_FALSE(SetConsoleMode(file_.Get(), 1));
  EXPECT_EQ(LastError(), 6u);
}

TEST_F(NoConsole, ReadsNothing) {
  wchar_t character = L'#';
  DWORD count = 7;
  EXPECT_FALSE(ReadConsoleW(file_.Get(), &character, 1, &count, nullptr));
  EXPECT_EQ(LastError(), 6u);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(character, L'#');
}

TEST_F(NoConsole, HasNoSize) {
  EXPECT_FALSE(SetConsoleScreenBufferSize(file_.Get(), COORD{145, 1000}));
  EXPECT_EQ(LastError(), 6u);
  SpoilLastError();
  const SMALL_RECT window = {0, 0, 144, 49};
  EXPECT_FALSE(SetConsoleWindowInfo(file_.Get(), TRUE, &window));
  EXPECT_EQ(LastError(), 6u);
}

TEST_F(NoConsole, NoWindowCannotBeMoved) {
  EXPECT_FALSE(SetWindowPos(nullptr, HWND_NOTOPMOST, 0, 0, 0, 0, SWP_NOSIZE));
  EXPECT_EQ(LastError(), 1400u);
}

BOOL WINAPI Swallow(DWORD) { return TRUE; }

TEST_F(NoConsole, HandlersCanBeAddedAndRemoved) {
  EXPECT_TRUE(SetConsoleCtrlHandler(Swallow, TRUE));
  EXPECT_TRUE(SetConsoleCtrlHandler(Swallow, FALSE));
  SpoilLastError();
  EXPECT_FALSE(SetConsoleCtrlHandler(Swallow, FALSE));
  EXPECT_EQ(LastError(), 87u);
}

TEST(GetStdHandle, AnswersTheSameHandleEachTime) {
  for (const DWORD stream : {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE}) {
    EXPECT_NE(GetStdHandle(stream), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetStdHandle(stream), GetStdHandle(stream));
  }
  EXPECT_NE(GetStdHandle(STD_OUTPUT_HANDLE), GetStdHandle(STD_INPUT_HANDLE));
}

TEST(GetStdHandle, NoOtherStreamHasOne) {
  SpoilLastError();
  EXPECT_EQ(GetStdHandle(17), INVALID_HANDLE_VALUE);
  EXPECT_EQ(LastError(), 6u);
}

// Whether there is a window depends on how the test was started.
TEST(GetConsoleWindow, StaysTheSame) { EXPECT_EQ(GetConsoleWindow(), GetConsoleWindow()); }

TEST(SetMode, BadDescriptorsAndModes) {
  errno = 0;
  EXPECT_EQ(_setmode(97, 0x40000), -1);
  EXPECT_EQ(errno, EBADF);
  errno = 0;
  EXPECT_EQ(_setmode(_fileno(stderr), 0x123), -1);
  EXPECT_EQ(errno, EINVAL);
}

}  // namespace
