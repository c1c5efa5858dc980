#include "sync/signal.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace Lab {
namespace {

int NewDescriptor(bool set) {
  const int descriptor = eventfd(set ? 1 : 0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (descriptor >= 0) return descriptor;
  throw std::system_error(errno, std::generic_category(), "lab: eventfd");
}

}  // namespace

Signal::Signal(bool set) : descriptor_(NewDescriptor(set)) {}

Signal::~Signal() { close(descriptor_); }

void Signal::Set() {
  const std::uint64_t one = 1;
  // Fails only when it has been set for 2^64 times already.
  [[maybe_unused]] const ssize_t written = write(descriptor_, &one, sizeof(one));
}

bool Signal::Reset() {
  // Reading takes the whole count, however often it was set.
  std::uint64_t count = 0;
  return read(descriptor_, &count, sizeof(count)) == sizeof(count);
}

bool Signal::IsSet() const {
  pollfd entry = {descriptor_, POLLIN, 0};
  return poll(&entry, 1, 0) == 1;
}

}  // namespace Lab
