// The keeper of one child process: a process of its own between a program of the lab and the
// program that it starts. It is what lets a child be suspended, and its whole tree be ended.
//
// The keeper is the reaper of all that the child starts ("subreaper"): a grandchild whose parent
// has ended becomes the keeper's child, whatever process group or session it has moved to. So none
// escapes while the keeper lives.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <optional>

#include "process/descendants.h"
#include "process/exit_codes.h"
#include "process/keeper_protocol.h"

namespace {

using Lab::KeeperOrder;
using Lab::KeeperReply;
using Lab::KeeperRequest;

/// Exit code of a process whose program couldn't be loaded any more.
constexpr std::uint32_t kDllInitFailed = 0xC0000142;

class Keeper {
 public:
  Keeper(int control, int status) : control_(control), status_(status) {}

  /// Starts the child, suspended. \return False after having reported a failure.
  bool Start(const char* folder, char* const command[]);

  /// Serves until the other side has gone.
  void Serve();

 private:
  [[noreturn]] void BecomeChild(int go, int failed, char* const command[]) const;
  /// \return False at the end of the control channel.
  bool ServeRequest();
  KeeperReply Carry(const KeeperRequest& request);
  KeeperReply Resume();
  KeeperReply Terminate(std::uint32_t exitCode);
  KeeperReply TerminateAll(std::uint32_t exitCode);
  /// Takes all that have ended. \return False when no descendant is left.
  bool Reap();
  void Ended(std::uint32_t exitCode);

  const int control_;
  const int status_;
  pid_t child_ = -1;
  int go_ = -1;      ///< A byte here lets the suspended child go on; -1 once it has.
  int failed_ = -1;  ///< Where a child that can't become the program says why.
  bool ended_ = false;
  std::optional<std::uint32_t> forcedExitCode_;  ///< Of a child that was terminated.
};

void Send(int socket, const auto& message) {
  // The other side may have gone already.
  (void)send(socket, &message, sizeof message, MSG_NOSIGNAL);
}

/// The child between fork and exec calls nothing that isn't safe in a signal handler.
void Keeper::BecomeChild(int go, int failed, char* const command[]) const {
  setsid();
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  close(go_);
  char byte = 0;
  if (read(go, &byte, 1) != 1) _exit(1);
  execv(command[0], command);
  const int error = errno;
  (void)!write(failed, &error, sizeof error);
  _exit(1);
}

bool Keeper::Start(const char* folder, char* const command[]) {
  int go[2] = {};
  int failed[2] = {};
  if (chdir(folder) != 0 || pipe2(go, O_CLOEXEC) != 0 || pipe2(failed, O_CLOEXEC) != 0) {
    Send(control_, KeeperReply{0, errno});
    return false;
  }
  go_ = go[1];
  failed_ = failed[0];
  child_ = fork();
  if (child_ == 0) BecomeChild(go[0], failed[1], command);
  Send(control_, KeeperReply{child_, child_ < 0 ? errno : 0});
  close(go[0]);
  close(failed[1]);
  return child_ > 0;
}

void Keeper::Serve() {
  sigset_t childEnds;
  sigemptyset(&childEnds);
  sigaddset(&childEnds, SIGCHLD);
  const int ends = signalfd(-1, &childEnds, SFD_CLOEXEC | SFD_NONBLOCK);
  pollfd watched[] = {{control_, POLLIN, 0}, {ends, POLLIN, 0}};
  for (;;) {
    if (poll(watched, 2, -1) < 0) continue;
    signalfd_siginfo info;
    while (read(ends, &info, sizeof info) > 0) {
    }
    Reap();
    if (watched[0].revents != 0 && !ServeRequest()) break;
  }
  // Who was never resumed can't be by anybody now. All others go on, as on Windows.
  if (go_ >= 0) Terminate(1);
  if (forcedExitCode_ && !ended_) waitpid(child_, nullptr, 0);
}

bool Keeper::ServeRequest() {
  KeeperRequest request = {};
  if (recv(control_, &request, sizeof request, 0) != sizeof request) return false;
  Send(control_, Carry(request));
  return true;
}

KeeperReply Keeper::Carry(const KeeperRequest& request) {
  switch (request.order) {
    case KeeperOrder::kResume:
      return Resume();
    case KeeperOrder::kTerminate:
      return Terminate(request.exitCode);
    case KeeperOrder::kTerminateAll:
      return TerminateAll(request.exitCode);
  }
  return {0, EINVAL};
}

KeeperReply Keeper::Resume() {
  if (go_ < 0) return {0, 0};
  (void)!write(go_, "", 1);
  close(go_);
  go_ = -1;
  // Ends without a byte when the child has become the program.
  int error = 0;
  if (read(failed_, &error, sizeof error) == sizeof error) forcedExitCode_ = kDllInitFailed;
  close(failed_);
  return {1, 0};
}

KeeperReply Keeper::Terminate(std::uint32_t exitCode) {
  if (ended_) return {0, 0};
  forcedExitCode_ = exitCode;
  kill(child_, SIGKILL);
  return {1, 0};
}

KeeperReply Keeper::TerminateAll(std::uint32_t exitCode) {
  if (!ended_) forcedExitCode_ = exitCode;
  // Who starts others faster than they are listed is overtaken: with each round its parents die.
  while (Reap()) {
    for (const pid_t process : Lab::Descendants()) kill(process, SIGKILL);
    usleep(500);
  }
  return {1, 0};
}

bool Keeper::Reap() {
  for (;;) {
    int status = 0;
    const pid_t process = waitpid(-1, &status, WNOHANG);
    if (process <= 0) return process == 0;
    const std::uint32_t exitCode = Lab::ExitCodeOf(process, status);
    if (process == child_) Ended(forcedExitCode_.value_or(exitCode));
  }
}

void Keeper::Ended(std::uint32_t exitCode) {
  ended_ = true;
  Send(status_, exitCode);
}

/// What the program of the lab had open is no business of the child's.
void CloseAllBut(int one, int other) {
  const auto [low, high] = std::minmax(one, other);
  close_range(3, static_cast<unsigned>(low) - 1, 0);
  close_range(static_cast<unsigned>(low) + 1, static_cast<unsigned>(high) - 1, 0);
  close_range(static_cast<unsigned>(high) + 1, ~0U, 0);
  fcntl(one, F_SETFD, FD_CLOEXEC);
  fcntl(other, F_SETFD, FD_CLOEXEC);
}

}  // namespace

int main(int argc, char* argv[]) {
  constexpr int kFixedArguments = 4;
  if (argc <= kFixedArguments) return 2;
  const int control = std::atoi(argv[1]);
  const int status = std::atoi(argv[2]);
  CloseAllBut(control, status);
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  sigset_t childEnds;
  sigemptyset(&childEnds);
  sigaddset(&childEnds, SIGCHLD);
  sigprocmask(SIG_BLOCK, &childEnds, nullptr);
  Keeper keeper(control, status);
  if (!keeper.Start(argv[3], argv + kFixedArguments)) return 1;
  keeper.Serve();
  return 0;
}
