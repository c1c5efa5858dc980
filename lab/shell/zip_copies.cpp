#include "shell/zip_copies.h"

#include <unistd.h>

#include <chrono>
#include <future>
#include <limits>
#include <thread>
#include <utility>

#include "machine/machine.h"
#include "process/host_thread.h"

namespace Lab {
namespace {

constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();

using Manner = ZipCopying::Manner;

/// When a copy's thread shows among those of the process.
std::uint64_t VisibleFrom(Manner manner, std::uint64_t now) {
  if (manner == Manner::kInvisible) return kNever;
  return manner == Manner::kLate ? now + 1 : 0;
}

}  // namespace

struct ZipCopies::Copy {
  std::filesystem::path zip;
  std::vector<ZipEntry> entries;
  Machine& machine;  ///< On which it was started; it may be another one's turn by now.
  std::uint64_t startedAt;
  std::shared_ptr<ModuleUse> moduleUse;

  Manner HowItGoes() const { return machine.Describe().zipCopying.manner; }
  std::uint64_t Due() const {
    if (HowItGoes() == Manner::kEndless) return kNever;
    return startedAt + machine.Describe().zipCopying.milliseconds;
  }
};

std::shared_ptr<ModuleUse> UseZipModule() {
  if (!TheMachine().Describe().zipCopying.moduleCounted) return nullptr;
  return std::make_shared<ModuleUse>(L"zipfldr.dll");
}

void ZipCopies::Start(const std::filesystem::path& zip, std::vector<ZipEntry> entries) {
  Machine& machine = TheMachine();
  auto copy = std::make_unique<Copy>(
      Copy{zip, std::move(entries), machine, machine.Clock().Ticks(), UseZipModule()});
  if (copy->HowItGoes() == Manner::kQuick) {
    (void)WriteZip(copy->zip, copy->entries);
  } else {
    StartThread(std::move(copy));
  }
}

void ZipCopies::StartThread(std::unique_ptr<Copy> copy) {
  ForgetEndedThreads();
  std::promise<void> begun;
  std::future<void> begins = begun.get_future();
  {
    const std::lock_guard lock(mutex_);
    std::thread([this, copy = std::move(copy), begun = std::move(begun)]() mutable {
      HideThisThread(VisibleFrom(copy->HowItGoes(), copy->startedAt));
      begun.set_value();
      Run(*copy);
      // What it holds of the module goes before it counts as over.
      copy.reset();
      const std::lock_guard runningLock(mutex_);
      --running_;
      changed_.notify_all();
    }).detach();
    ++running_;
  }
  begins.wait();
}

void ZipCopies::Run(Copy& copy) {
  const Clock& clock = copy.machine.Clock();
  if (!WaitUntil(clock, copy.Due())) return;
  (void)WriteZip(copy.zip, copy.entries);
  copy.moduleUse.reset();
  if (copy.HowItGoes() == Manner::kLingering) (void)WaitUntil(clock, kNever);
}

void ZipCopies::HideThisThread(std::uint64_t visibleFrom) {
  if (visibleFrom == 0) return;
  const std::lock_guard lock(mutex_);
  hidden_.push_back({gettid(), HostThread::StartOf(gettid()).value(), visibleFrom});
}

void ZipCopies::ForgetEndedThreads() {
  const std::lock_guard lock(mutex_);
  std::erase_if(hidden_, [](const HiddenThread& thread) {
    return HostThread::StartOf(thread.id) != thread.start;
  });
}

bool ZipCopies::Hides(pid_t thread) const {
  const std::lock_guard lock(mutex_);
  for (const HiddenThread& hidden : hidden_) {
    if (hidden.id != thread) continue;
    // One that has ended since it was listed hasn't come to light by that.
    const auto start = HostThread::StartOf(thread);
    if (start && start != hidden.start) continue;
    return TheMachine().Clock().Ticks() < hidden.visibleFrom;
  }
  return false;
}

bool ZipCopies::WaitUntil(const Clock& clock, std::uint64_t ticks) {
  std::unique_lock lock(mutex_);
  while (!ending_ && clock.Ticks() < ticks) {
    changed_.wait_for(lock, std::chrono::milliseconds(clock.HostMillisecondsUntil(ticks)));
  }
  return !ending_;
}

void ZipCopies::EndAll() {
  std::unique_lock lock(mutex_);
  ending_ = true;
  changed_.notify_all();
  changed_.wait(lock, [this] { return running_ == 0; });
  ending_ = false;
}

ZipCopies& TheZipCopies() {
  static ZipCopies& copies = *new ZipCopies;
  return copies;
}

}  // namespace Lab
