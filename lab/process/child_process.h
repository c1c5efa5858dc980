// A process that this one has started, as seen through its keeper.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "process/keeper_protocol.h"

namespace Lab {

/// The child and all that descends from it. The objects behind its handles (process, thread, job)
/// share it; with the last of them the keeper ends, and whoever still runs goes on without one.
/// Safe under threads.
class ChildProcess {
 public:
  struct Request {
    std::filesystem::path folder;        ///< In which it is to run.
    std::vector<std::string> command;    ///< Program and arguments.
    std::vector<std::string> variables;  ///< "NAME=value"
  };

  struct Result;

  /// Starts a keeper, and by it the suspended child.
  static Result Start(const Request& request);

  ChildProcess(pid_t keeper, int control, int status, pid_t process);
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess();

  pid_t Id() const { return process_; }

  /// \return A descriptor that is readable once the child has ended.
  int EndDescriptor() const { return status_; }

  /// \return The exit code; nothing while the child runs.
  std::optional<std::uint32_t> ExitCode() const;

  /// \return How often the child was suspended: 1, or 0 when it already ran.
  std::uint32_t Resume();
  bool WasResumed() const;

  /// Ends the child alone, soon. \return False when it had ended already.
  bool Terminate(std::uint32_t exitCode);

  /// Ends the child and its descendants, and returns when all are gone.
  void TerminateAll(std::uint32_t exitCode);

 private:
  std::int32_t Ask(KeeperOrder order, std::uint32_t exitCode = 0);

  const pid_t keeper_;
  const int control_;
  const int status_;
  const pid_t process_;
  mutable std::mutex asking_;
  bool resumed_ = false;
};

struct ChildProcess::Result {
  std::shared_ptr<ChildProcess> process;  ///< Null after a failure.
  int hostError = 0;                      ///< Of a failure.
};

}  // namespace Lab
