#include "process/child_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <utility>

#include "machine/call.h"

namespace Lab {
namespace {

/// A pair of connected sockets: one end for this process, one for the keeper.
class Channel {
 public:
  Channel() {
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends_) != 0) ends_[0] = ends_[1] = -1;
  }
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;
  ~Channel() {
    if (ends_[0] >= 0) close(ends_[0]);
    if (ends_[1] >= 0) close(ends_[1]);
  }
  bool Open() const { return ends_[0] >= 0; }
  int Ours() const { return ends_[0]; }
  int Keepers() const { return ends_[1]; }
  /// Gives our end away and closes the other.
  int Split() {
    close(ends_[1]);
    ends_[1] = -1;
    return std::exchange(ends_[0], -1);
  }

 private:
  int ends_[2] = {-1, -1};
};

/// What posix_spawn is told: a hidden console is none, so the standard streams lead nowhere, and
/// the keeper's session is its own, so that no key at our terminal reaches the child.
class SpawnSettings {
 public:
  SpawnSettings(int control, int status) {
    posix_spawn_file_actions_init(&actions_);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
      posix_spawn_file_actions_addopen(&actions_, stream, "/dev/null", O_RDWR, 0);
    }
    // Onto itself: that alone makes it one that the new program inherits.
    for (const int end : {control, status}) posix_spawn_file_actions_adddup2(&actions_, end, end);
    posix_spawnattr_init(&attributes_);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    posix_spawnattr_setflags(&attributes_,
                             POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
  ~SpawnSettings() {
    posix_spawnattr_destroy(&attributes_);
    posix_spawn_file_actions_destroy(&actions_);
  }
  const posix_spawn_file_actions_t* Actions() const { return &actions_; }
  const posix_spawnattr_t* Attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
};

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// Takes the keeper's exit status, so that nothing is left of it.
void AwaitKeeper(pid_t keeper) {
  while (waitpid(keeper, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace

ChildProcess::Result ChildProcess::Start(const Request& request) {
  Channel control;
  Channel status;
  if (!control.Open() || !status.Open()) return {nullptr, errno};
  std::vector<std::string> arguments = {LAB_KEEPER, std::to_string(control.Keepers()),
                                        std::to_string(status.Keepers()), request.folder.string()};
  arguments.insert(arguments.end(), request.command.begin(), request.command.end());
  std::vector<std::string> variables = request.variables;
  const SpawnSettings settings(control.Keepers(), status.Keepers());
  pid_t keeper = -1;
  const int error = posix_spawn(&keeper, LAB_KEEPER, settings.Actions(), settings.Attributes(),
                                Pointers(arguments).data(), Pointers(variables).data());
  if (error == ENOENT) RefuseCall("CreateProcessW", "lab-keeper lies where it was built");
  if (error != 0) return {nullptr, error};
  const int ourControl = control.Split();
  const int ourStatus = status.Split();
  KeeperReply reply = {0, EIO};
  (void)!recv(ourControl, &reply, sizeof reply, 0);
  auto process = std::make_shared<ChildProcess>(keeper, ourControl, ourStatus, reply.value);
  if (reply.hostError != 0) return {nullptr, reply.hostError};
  return {std::move(process), 0};
}

ChildProcess::ChildProcess(pid_t keeper, int control, int status, pid_t process)
    : keeper_(keeper), control_(control), status_(status), process_(process) {}

ChildProcess::~ChildProcess() {
  close(control_);
  AwaitKeeper(keeper_);
  close(status_);
}

std::optional<std::uint32_t> ChildProcess::ExitCode() const {
  // The code stays in the socket: it is what makes the descriptor readable.
  std::uint32_t code = 0;
  const ssize_t count = recv(status_, &code, sizeof code, MSG_PEEK | MSG_DONTWAIT);
  if (count == sizeof code) return code;
  // Without its keeper nothing is known of a child, but that somebody ended the two by force.
  if (count == 0) return 1;
  return std::nullopt;
}

std::uint32_t ChildProcess::Resume() {
  const auto suspended = static_cast<std::uint32_t>(Ask(KeeperOrder::kResume));
  const std::lock_guard lock(asking_);
  resumed_ = true;
  return suspended;
}

bool ChildProcess::WasResumed() const {
  const std::lock_guard lock(asking_);
  return resumed_;
}

bool ChildProcess::Terminate(std::uint32_t exitCode) {
  return Ask(KeeperOrder::kTerminate, exitCode) != 0;
}

void ChildProcess::TerminateAll(std::uint32_t exitCode) {
  Ask(KeeperOrder::kTerminateAll, exitCode);
}

std::int32_t ChildProcess::Ask(KeeperOrder order, std::uint32_t exitCode) {
  const std::lock_guard lock(asking_);
  const KeeperRequest request = {order, exitCode};
  KeeperReply reply = {};
  // A keeper that was ended by force answers nothing: there is nobody left to act on.
  if (send(control_, &request, sizeof request, MSG_NOSIGNAL) == sizeof request) {
    while (recv(control_, &reply, sizeof reply, 0) < 0 && errno == EINTR) {
    }
  }
  return reply.value;
}

}  // namespace Lab
