#include "standins/host_server/program_end.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <csignal>

namespace Lab {

ProgramEnd::ProgramEnd() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  requests_ = signalfd(-1, &signals, SFD_CLOEXEC);
}

ProgramEnd::~ProgramEnd() { close(requests_); }

void ProgramEnd::Wait(bool untilInputEnds) const {
  pollfd ready[] = {{requests_, POLLIN, 0}, {untilInputEnds ? STDIN_FILENO : -1, POLLIN, 0}};
  std::array<char, 256> ignored;
  while (poll(ready, 2, -1) < 0 || ready[0].revents == 0) {
    if (ready[1].revents != 0 && read(STDIN_FILENO, ignored.data(), ignored.size()) <= 0) return;
  }
}

}  // namespace Lab
