// Winsock for the time of a test.
#pragma once

#include "support.h"

namespace WindowsApi {

/// Sockets are started as long as the object lives.
class StartedSockets {
 public:
  StartedSockets() {
    constexpr WORD kVersion = 514;  // 2.2
    WSADATA data;
    EXPECT_EQ(WSAStartup(kVersion, &data), 0);
  }
  StartedSockets(const StartedSockets&) = delete;
  StartedSockets& operator=(const StartedSockets&) = delete;
  ~StartedSockets() { WSACleanup(); }
};

}  // namespace WindowsApi
