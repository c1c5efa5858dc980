#include "process/host_thread.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>

namespace Lab {
namespace {

constexpr long kLookEveryNanoseconds = 2'000'000;

int StartTimer() {
  const int timer = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
  if (timer < 0) throw std::system_error(errno, std::generic_category(), "lab: timerfd");
  const itimerspec every = {{0, kLookEveryNanoseconds}, {0, kLookEveryNanoseconds}};
  timerfd_settime(timer, 0, &every, nullptr);
  return timer;
}

}  // namespace

std::vector<pid_t> OwnThreads() {
  std::vector<pid_t> threads;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
    threads.push_back(std::stoi(entry.path().filename().string()));
  }
  return threads;
}

std::optional<std::uint64_t> HostThread::StartOf(pid_t thread) {
  std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
  std::string text;
  std::getline(file, text);
  const std::size_t name = text.rfind(')');
  if (name == std::string::npos) return std::nullopt;
  // The state is the 3rd field, the start the 22nd.
  std::istringstream fields(text.substr(name + 1));
  std::string field;
  for (int number = 3; number <= 22; ++number) fields >> field;
  return std::stoull(field);
}

HostThread::HostThread(pid_t thread, std::uint64_t start)
    : thread_(thread), start_(start), timer_(StartTimer()) {}

HostThread::~HostThread() { close(timer_); }

bool HostThread::IsSignalled() const { return StartOf(thread_) != start_; }

Object::Acquired HostThread::TryAcquire() {
  std::uint64_t ticks = 0;
  (void)!read(timer_, &ticks, sizeof ticks);
  return IsSignalled() ? Acquired::kYes : Acquired::kNo;
}

}  // namespace Lab
