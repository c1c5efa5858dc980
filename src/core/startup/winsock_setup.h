// Winsock for the length of a scope.
#pragma once

namespace Halvard {

/// Starts Winsock 2.2 and, if that worked, gives it back at its end. A failure is logged.
class WSASetup {
 public:
  WSASetup();
  WSASetup(const WSASetup&) = delete;
  WSASetup& operator=(const WSASetup&) = delete;
  ~WSASetup();

  explicit operator bool() const { return started_; }

 private:
  bool started_ = false;
};

}  // namespace Halvard
