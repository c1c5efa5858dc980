// What a program of the lab and the keeper of one of its child processes say to each other.
//
//   lab-keeper CONTROL STATUS FOLDER PROGRAM ARGUMENT...
//
// starts PROGRAM in FOLDER with the keeper's own environment, suspended. CONTROL and STATUS are the
// numbers of two inherited sockets (SOCK_SEQPACKET), the only descriptors that the keeper leaves
// open. On CONTROL the keeper first sends one reply with the child's process id, or with the
// host's error; then each request gets a reply. The end of CONTROL ends the keeper. On STATUS it
// sends the exit code, a DWORD, once the child has ended.
#pragma once

#include <cstdint>

namespace Lab {

enum class KeeperOrder : std::uint32_t {
  kResume,       ///< Starts the suspended program. Value of the reply: how often it was suspended.
  kTerminate,    ///< Ends the child alone. Value of the reply: 1 if it ran, 0 if it had ended.
  kTerminateAll  ///< Ends the child and all its descendants; the reply comes when all are gone.
};

struct KeeperRequest {
  KeeperOrder order;
  std::uint32_t exitCode;  ///< Of those who are ended.
};

struct KeeperReply {
  std::int32_t value;
  std::int32_t hostError;
};

}  // namespace Lab
