// python.exe of the interpreter's package on machines of Wine: the host's Python, as far as anybody
// sees from outside. Its exit code has 32 bits, and it ends with this process however that ends.
#include <winsock2.h>

#include <windows.h>

#include <cstdio>

#include "host_python.h"

int wmain(int argc, wchar_t** argv) {
  constexpr UINT kNoInterpreter =
      9009;  // of the command interpreter, for a program that isn't there
  WSADATA data = {};
  Lab::Wine::HostPython python;
  if (WSAStartup(MAKEWORD(2, 2), &data) != 0 || !python.Start({argv + 1, argv + argc})) {
    (void)std::fputs("python: the host's interpreter can't be started\n", stderr);
    return kNoInterpreter;
  }
  // The thread that reads standard input may wait for it for ever.
  ExitProcess(python.Wait().value_or(kNoInterpreter));
}
