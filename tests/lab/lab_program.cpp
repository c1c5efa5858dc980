// A Windows program for tests: does what its first argument names and tells about it in lines.
//
//   arguments ...            prints them, one in a line
//   exit CODE                ends with that code
//   open PATH ACCESS SHARE   opens a file, prints the error, keeps it until its input ends
//   delete-at-end PATH       opens a file that goes on close, and ends without closing it
//   mutex NAME               creates it, prints the error, keeps it until its input ends
//   masked                   reads characters without line input and echo up to Enter;
//   masked-with-handler      the same with a handler that swallows events,
//   masked-refusing          and with one that doesn't
//   line                     reads a line, again after an interruption
//   modes                    what the console's functions answer
//   events [HANDLED]         waits for control events; the first handler swallows type HANDLED
//   census                   leaves three events of four open, and Winsock started
//   wide                     prints wide text in UTF-8, then tries narrow text
#include <cstdio>
#include <string>

#include "windows.h"
#include "winsock2.h"

#include "io.h"

namespace {

/// One line on standard output at once, since the test waits for it.
void Say(const char* format, auto... values) {
  std::printf(format, values...);
  std::puts("");
  std::fflush(stdout);
}

void WaitForEndOfInput() {
  char byte = 0;
  DWORD count = 0;
  while (ReadFile(GetStdHandle(STD_INPUT_HANDLE), &byte, 1, &count, nullptr) && count == 1) {
  }
}

int Arguments(int argc, wchar_t* argv[]) {
  for (int i = 2; i < argc; ++i) {
    char text[512];
    WideCharToMultiByte(CP_UTF8, 0, argv[i], -1, text, sizeof(text), nullptr, nullptr);
    Say("%s", text);
  }
  return 0;
}

int Open(wchar_t* argv[]) {
  const auto access = static_cast<DWORD>(std::wcstoul(argv[3], nullptr, 16));
  const auto share = static_cast<DWORD>(_wtoi(argv[4]));
  const HANDLE file = CreateFileW(argv[2], access, share, nullptr, OPEN_EXISTING, 0, nullptr);
  Say("%u", GetLastError());
  WaitForEndOfInput();
  return file == INVALID_HANDLE_VALUE ? 1 : 0;
}

int DeleteAtEnd(wchar_t* argv[]) {
  const HANDLE file = CreateFileW(argv[2], GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  return file == INVALID_HANDLE_VALUE ? 1 : 0;
}

int Census() {
  WSADATA data;
  (void)WSAStartup(514, &data);
  const volatile int count = 3;  // A loop that no compiler rolls out.
  for (int i = 0; i < count; ++i) (void)CreateEventW(nullptr, TRUE, FALSE, nullptr);
  CloseHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  return 0;
}

int Mutex(wchar_t* argv[]) {
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, argv[2]);
  Say("%u", GetLastError());
  WaitForEndOfInput();
  return mutex == nullptr ? 1 : 0;
}

void SayCharacters(const wchar_t* text, DWORD count) {
  for (DWORD i = 0; i < count; ++i) std::printf("%x ", static_cast<unsigned>(text[i]));
  Say("");
}

BOOL Swallow(DWORD type) {
  Say("event %u", type);
  return TRUE;
}

BOOL Refuse(DWORD) { return FALSE; }

int Masked() {
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  DWORD saved = 0;
  GetConsoleMode(input, &saved);
  SetConsoleMode(input, saved & ~DWORD{ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT});
  DWORD mode = 0;
  GetConsoleMode(input, &mode);
  Say("modes %u %u", saved, mode);
  wchar_t character = 0;
  while (character != L'\r') {
    DWORD count = 0;
    SetLastError(0);
    if (!ReadConsoleW(input, &character, 1, &count, nullptr)) return 1;
    if (count == 0) Say("interrupted %u", GetLastError());
    SayCharacters(&character, count);
  }
  SetConsoleMode(input, saved);
  return 0;
}

BOOL SwallowInSilence(DWORD) { return TRUE; }

int Line() {
  SetConsoleCtrlHandler(SwallowInSilence, TRUE);
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  Say("ready");
  for (;;) {
    wchar_t text[64] = {};
    DWORD count = 0;
    SetLastError(0);
    if (!ReadConsoleW(input, text, 64, &count, nullptr)) return 1;
    if (count > 0) {
      SayCharacters(text, count);
      return 0;
    }
    Say("interrupted %u", GetLastError());
  }
}

int Modes() {
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  const BOOL echo = SetConsoleMode(input, ENABLE_ECHO_INPUT);
  Say("echo alone: %d %u", echo, GetLastError());
  const SMALL_RECT agent = {0, 0, 144, 49};
  SetLastError(0);
  Say("window too large: %d", SetConsoleWindowInfo(output, TRUE, &agent));
  Say("buffer: %d", SetConsoleScreenBufferSize(output, COORD{145, 1000}));
  Say("window: %d", SetConsoleWindowInfo(output, TRUE, &agent));
  Say("buffer too small: %d", SetConsoleScreenBufferSize(output, COORD{144, 1000}));
  const HWND window = GetConsoleWindow();
  Say("moved: %d", SetWindowPos(window, HWND_NOTOPMOST, 0, 0, 0, 0, SWP_NOSIZE));
  return 0;
}

DWORD gHandledType = 0;

BOOL FirstHandler(DWORD type) {
  Say("first %u", type);
  return type == gHandledType;
}

BOOL SecondHandler(DWORD type) {
  Say("second %u", type);
  if (type == CTRL_CLOSE_EVENT) Sleep(3'600'000);
  return FALSE;
}

int Events(int argc, wchar_t* argv[]) {
  gHandledType = argc > 2 ? static_cast<DWORD>(_wtoi(argv[2])) : 99;
  SetConsoleCtrlHandler(FirstHandler, TRUE);
  SetConsoleCtrlHandler(SecondHandler, TRUE);
  Say("ready");
  WaitForEndOfInput();
  return 0;
}

int Wide() {
  std::fputs("before\n", stdout);
  const int before = _setmode(_fileno(stdout), _O_U8TEXT);
  std::fputws(L"\u00E4\u8A66\U0001D4BD\n", stdout);
  const int narrow = std::fputs("narrow\n", stdout);
  const int again = _setmode(_fileno(stdout), _O_U8TEXT);
  _setmode(_fileno(stdout), _O_TEXT);
  Say("%x %d %x", static_cast<unsigned>(before), narrow, static_cast<unsigned>(again));
  return 0;
}

}  // namespace

extern "C" int wmain(int argc, wchar_t* argv[]) {
  const std::wstring action = argc > 1 ? argv[1] : L"";
  if (action == L"arguments") return Arguments(argc, argv);
  if (action == L"exit") return _wtoi(argv[2]);
  if (action == L"open") return Open(argv);
  if (action == L"delete-at-end") return DeleteAtEnd(argv);
  if (action == L"mutex") return Mutex(argv);
  if (action == L"masked-with-handler") SetConsoleCtrlHandler(Swallow, TRUE);
  if (action == L"masked-refusing") SetConsoleCtrlHandler(Refuse, TRUE);
  if (action.starts_with(L"masked")) return Masked();
  if (action == L"line") return Line();
  if (action == L"modes") return Modes();
  if (action == L"events") return Events(argc, argv);
  if (action == L"wide") return Wide();
  if (action == L"census") return Census();
  return 9;
}
