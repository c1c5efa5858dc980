// The machine's Python, started on the host by a Windows program.
#pragma once

#include <winsock2.h>

#include <optional>
#include <string>
#include <vector>

namespace Lab::Wine {

/// One run. Its interpreter doesn't outlive the process that the object is in.
class HostPython {
 public:
  HostPython() = default;
  HostPython(const HostPython&) = delete;
  HostPython& operator=(const HostPython&) = delete;
  ~HostPython();

  /// Starts the interpreter with the arguments, paths of the machine among them.
  /// \return False when Wine can't start it, or it doesn't get as far as to connect.
  bool Start(const std::vector<std::wstring>& arguments);

  /// Hands on standard input and output until the interpreter has ended.
  /// \return Its exit code; nothing when it wasn't told.
  std::optional<unsigned long> Wait();

 private:
  bool Listen();
  bool CreateHostProcess(const std::vector<std::wstring>& arguments) const;
  bool AcceptAll();

  SOCKET listener_ = INVALID_SOCKET;
  unsigned short port_ = 0;
  std::vector<SOCKET> connections_;  ///< Control, then the standard handles in their order.
};

}  // namespace Lab::Wine
