// Threads of this process, however they were made.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "machine/handles.h"

namespace Lab {

/// \return Ids of the threads that run now.
std::vector<pid_t> OwnThreads();

/// What a handle on a thread names. The host has no descriptor that tells of a thread's end, so a
/// timer has whoever waits look again every few milliseconds.
class HostThread : public Object {
 public:
  /// When a thread began, which tells it from a later one with its id; nothing for one that has
  /// ended or is another process's.
  static std::optional<std::uint64_t> StartOf(pid_t thread);

  /// \throw std::system_error when the host has no more descriptors.
  HostThread(pid_t thread, std::uint64_t start);
  ~HostThread() override;

  const char* TypeName() const override { return "Thread"; }
  int WaitDescriptor() const override { return timer_; }
  bool IsSignalled() const override;
  Acquired TryAcquire() override;

 private:
  const pid_t thread_;
  const std::uint64_t start_;
  const int timer_;
};

}  // namespace Lab
