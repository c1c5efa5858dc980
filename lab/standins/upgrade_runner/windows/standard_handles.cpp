#include "standard_handles.h"

#include <windows.h>

#include <array>

namespace Lab::Wine {
namespace {

using Block = std::array<char, 1 << 14>;

bool SendAll(SOCKET connection, const char* data, DWORD size) {
  while (size > 0) {
    const int sent = send(connection, data, static_cast<int>(size), 0);
    if (sent <= 0) return false;
    data += sent;
    size -= static_cast<DWORD>(sent);
  }
  return true;
}

void ForwardInput(SOCKET connection) {
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  Block block;
  DWORD count = 0;
  while (ReadFile(input, block.data(), block.size(), &count, nullptr) && count > 0) {
    if (!SendAll(connection, block.data(), count)) break;
  }
  (void)shutdown(connection, SD_SEND);
}

void ForwardOutput(SOCKET connection, DWORD number) {
  const HANDLE output = GetStdHandle(number);
  Block block;
  for (;;) {
    const int count = recv(connection, block.data(), block.size(), 0);
    if (count <= 0) return;
    // Whoever has closed the handle gets nothing; the interpreter goes on.
    DWORD written = 0;
    (void)WriteFile(output, block.data(), static_cast<DWORD>(count), &written, nullptr);
  }
}

}  // namespace

void StartForwardingInput(SOCKET connection) { std::thread(ForwardInput, connection).detach(); }

std::thread StartForwardingOutput(SOCKET connection, unsigned long number) {
  return std::thread(ForwardOutput, connection, number);
}

}  // namespace Lab::Wine
