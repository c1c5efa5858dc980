#include "console/control_events.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <thread>

#include "console/console_input.h"
#include "machine/machine.h"

namespace Lab {
namespace {

/// Exit code of a process that a control event ended. The host keeps its last byte.
constexpr DWORD kControlCExit = 0xC000013A;

/// How long the handlers of the closing have before the process is ended.
constexpr DWORD kClosingMilliseconds = 5000;

// Written to by the signal handler, read by the thread that hands the events out.
int gPipe[2] = {-1, -1};

void OnSignal(int number) {
  const int savedErrno = errno;
  const auto byte = static_cast<unsigned char>(number);
  [[maybe_unused]] const ssize_t written = write(gPipe[1], &byte, 1);
  errno = savedErrno;
}

DWORD ControlTypeOf(int number) {
  switch (number) {
    case SIGINT:
      return CTRL_C_EVENT;
    case SIGQUIT:
      return CTRL_BREAK_EVENT;
    default:
      return CTRL_CLOSE_EVENT;
  }
}

/// As Windows ends a process: no destructor runs.
[[noreturn]] void EndProcess() {
  ConsoleInput::Instance().Restore();
  _exit(static_cast<int>(kControlCExit & 0xFF));
}

void CatchSignals() {
  if (pipe2(gPipe, O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "lab: pipe for control events");
  }
  struct sigaction action = {};
  action.sa_handler = OnSignal;
  action.sa_flags = SA_RESTART;
  for (const int number : {SIGINT, SIGQUIT, SIGHUP, SIGTERM}) sigaction(number, &action, nullptr);
}

}  // namespace

ControlEvents& ControlEvents::Instance() {
  static ControlEvents& events = *new ControlEvents;
  return events;
}

ControlEvents::ControlEvents() {
  CatchSignals();
  std::thread([this] {
    unsigned char number = 0;
    while (read(gPipe[0], &number, 1) == 1 || errno == EINTR) {
      // A slow handler doesn't hold up the next event.
      std::thread([this, type = ControlTypeOf(number)] { Handle(type); }).detach();
    }
  }).detach();
}

void ControlEvents::Add(PHANDLER_ROUTINE handler) {
  const std::lock_guard lock(mutex_);
  handlers_.push_back(handler);
}

bool ControlEvents::Remove(PHANDLER_ROUTINE handler) {
  const std::lock_guard lock(mutex_);
  const auto last = std::find(handlers_.rbegin(), handlers_.rend(), handler);
  if (last == handlers_.rend()) return false;
  handlers_.erase(std::next(last).base());
  return true;
}

bool ControlEvents::AnyHandles(DWORD type) {
  std::vector<PHANDLER_ROUTINE> handlers;
  {
    const std::lock_guard lock(mutex_);
    handlers = handlers_;
  }
  // The one that was added last is asked first.
  return std::any_of(handlers.rbegin(), handlers.rend(),
                     [type](PHANDLER_ROUTINE handler) { return handler(type) != FALSE; });
}

void ControlEvents::Handle(DWORD type) {
  if (type == CTRL_CLOSE_EVENT) {
    std::thread([] {
      TheMachine().Clock().Sleep(kClosingMilliseconds);
      EndProcess();
    }).detach();
    // The closing can't be refused.
    AnyHandles(type);
    EndProcess();
  }
  ConsoleInput::Instance().Interrupt(type == CTRL_BREAK_EVENT);
  if (!AnyHandles(type)) EndProcess();
}

}  // namespace Lab
