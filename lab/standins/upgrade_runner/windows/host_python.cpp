#include "host_python.h"

#include <windows.h>

#include <cstddef>
#include <thread>

#include "host_paths.h"
#include "standard_handles.h"
#include "supervise.h"

namespace Lab::Wine {
namespace {

constexpr wchar_t kInterpreter[] = L"/usr/bin/python3";
constexpr std::size_t kConnections = 4;
constexpr long kSecondsToConnect = 60;

/// Encloses an argument so that the program finds it whole.
std::wstring Quoted(const std::wstring& argument) {
  std::wstring quoted = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t c : argument) {
    // Backslashes are plain but before a quote.
    if (c == L'"') quoted.append(backslashes + 1, L'\\');
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    quoted += c;
  }
  quoted.append(backslashes, L'\\');
  return quoted + L'"';
}

bool HasCaller(SOCKET listener) {
  fd_set sockets = {};
  FD_ZERO(&sockets);
  FD_SET(listener, &sockets);
  timeval patience = {kSecondsToConnect, 0};
  return select(0, &sockets, nullptr, nullptr, &patience) == 1;
}

/// \return Nothing when the connection has ended before.
std::optional<unsigned long> ReceiveCode(SOCKET connection) {
  unsigned long code = 0;
  for (int shift = 0; shift < 32; shift += 8) {
    unsigned char byte = 0;
    if (recv(connection, reinterpret_cast<char*>(&byte), 1, 0) != 1) return std::nullopt;
    code |= static_cast<unsigned long>(byte) << shift;
  }
  return code;
}

}  // namespace

HostPython::~HostPython() {
  for (const SOCKET connection : connections_) closesocket(connection);
  if (listener_ != INVALID_SOCKET) closesocket(listener_);
}

bool HostPython::Start(const std::vector<std::wstring>& arguments) {
  return Listen() && CreateHostProcess(arguments) && AcceptAll();
}

bool HostPython::Listen() {
  listener_ = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  int size = sizeof address;
  auto* const place = reinterpret_cast<sockaddr*>(&address);
  if (listener_ == INVALID_SOCKET || bind(listener_, place, size) != 0 ||
      listen(listener_, kConnections) != 0 || getsockname(listener_, place, &size) != 0) {
    return false;
  }
  port_ = ntohs(address.sin_port);
  return true;
}

bool HostPython::CreateHostProcess(const std::vector<std::wstring>& arguments) const {
  std::wstring line = std::wstring(kInterpreter) + L" -c " + Quoted(kSupervise) + L" " +
                      std::to_wstring(port_) + L" " + Quoted(ToWide(HostPath(L"C:\\")));
  for (const std::wstring& argument : arguments) {
    line += L" " + Quoted(ToWide(HostArgument(argument)));
  }
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  // Of a program of the host there are no handles to own.
  PROCESS_INFORMATION started = {};
  return CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &started) != FALSE;
}

bool HostPython::AcceptAll() {
  while (connections_.size() < kConnections) {
    if (!HasCaller(listener_)) return false;
    const SOCKET connection = accept(listener_, nullptr, nullptr);
    if (connection == INVALID_SOCKET) return false;
    connections_.push_back(connection);
  }
  return true;
}

std::optional<unsigned long> HostPython::Wait() {
  StartForwardingInput(connections_[1]);
  std::thread output = StartForwardingOutput(connections_[2], STD_OUTPUT_HANDLE);
  std::thread errors = StartForwardingOutput(connections_[3], STD_ERROR_HANDLE);
  const std::optional<unsigned long> code = ReceiveCode(connections_[0]);
  output.join();
  errors.join();
  return code;
}

}  // namespace Lab::Wine
