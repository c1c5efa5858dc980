#include "sync/event.h"

#include <sys/epoll.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace Lab {
namespace {

void Watch(int epoll, int descriptor) {
  epoll_event interest = {};
  interest.events = EPOLLIN;
  epoll_ctl(epoll, EPOLL_CTL_ADD, descriptor, &interest);
}

}  // namespace

Event::Event(bool manualReset, bool initialState)
    : manualReset_(manualReset), signal_(initialState) {}

Event::~Event() {
  if (either_ >= 0) close(either_);
}

int Event::WaitDescriptor() const {
  const std::lock_guard lock(mutex_);
  return either_ >= 0 ? either_ : signal_.Descriptor();
}

bool Event::IsSignalled() const {
  BringForward();
  return signal_.IsSet();
}

Object::Acquired Event::TryAcquire() {
  BringForward();
  const bool taken = manualReset_ ? signal_.IsSet() : signal_.Reset();
  return taken ? Acquired::kYes : Acquired::kNo;
}

void Event::Follow(const std::shared_ptr<BackgroundWork>& work) {
  const std::lock_guard lock(mutex_);
  if (either_ < 0) {
    either_ = epoll_create1(EPOLL_CLOEXEC);
    if (either_ < 0) throw std::system_error(errno, std::generic_category(), "lab: epoll");
    Watch(either_, signal_.Descriptor());
  }
  work_ = work;
  Watch(either_, work->Descriptor());
}

void Event::Unfollow(const BackgroundWork& work) {
  const std::lock_guard lock(mutex_);
  work_.reset();
  epoll_ctl(either_, EPOLL_CTL_DEL, work.Descriptor(), nullptr);
}

void Event::BringForward() const {
  std::unique_lock lock(mutex_);
  const std::shared_ptr<BackgroundWork> work = work_.lock();
  lock.unlock();
  if (work != nullptr) work->BringForward();
}

}  // namespace Lab
