#include "files/sharing.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <system_error>

namespace Lab {
namespace {

// Where the marks lie. No file of the lab is that long.
constexpr off_t kMarks = off_t{1} << 60;
constexpr off_t kOpen = kMarks;
constexpr off_t kAccess = kMarks + 1;  // of three kinds
constexpr off_t kDenial = kMarks + 4;  // of three kinds
constexpr off_t kMapped = kMarks + 7;

constexpr AccessKinds kKinds[] = {FILE_SHARE_READ, FILE_SHARE_WRITE, FILE_SHARE_DELETE};

struct flock Lock(short type, off_t at) {
  struct flock lock = {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = at;
  lock.l_len = 1;
  return lock;
}

void Set(int descriptor, short type, off_t at) {
  struct flock lock = Lock(type, at);
  if (fcntl(descriptor, F_OFD_SETLK, &lock) == 0) return;
  throw std::system_error(errno, std::generic_category(), "lab: marking an open file");
}

bool IsSetElsewhere(int descriptor, off_t at) {
  // Only a write lock would meet the others' read locks. It is asked for, never taken.
  struct flock lock = Lock(F_WRLCK, at);
  if (fcntl(descriptor, F_OFD_GETLK, &lock) == 0) return lock.l_type != F_UNLCK;
  throw std::system_error(errno, std::generic_category(), "lab: asking who has a file open");
}

}  // namespace

FileGate::FileGate(int descriptor) : descriptor_(descriptor) {
  while (flock(descriptor_, LOCK_EX) != 0 && errno == EINTR) {
  }
}

FileGate::~FileGate() { flock(descriptor_, LOCK_UN); }

bool ConflictsWithOthers(int descriptor, AccessKinds access, AccessKinds share) {
  for (int i = 0; i < 3; ++i) {
    if ((access & kKinds[i]) != 0 && IsSetElsewhere(descriptor, kDenial + i)) return true;
    if ((share & kKinds[i]) == 0 && IsSetElsewhere(descriptor, kAccess + i)) return true;
  }
  return false;
}

void MarkOpen(int descriptor, AccessKinds access, AccessKinds share) {
  Set(descriptor, F_RDLCK, kOpen);
  // Who asks for no access takes no part in sharing.
  if (access == 0) return;
  for (int i = 0; i < 3; ++i) {
    if ((access & kKinds[i]) != 0) Set(descriptor, F_RDLCK, kAccess + i);
    if ((share & kKinds[i]) == 0) Set(descriptor, F_RDLCK, kDenial + i);
  }
}

bool IsOpenElsewhere(int descriptor) { return IsSetElsewhere(descriptor, kOpen); }

void MarkMapped(int descriptor, bool mapped) {
  Set(descriptor, mapped ? F_RDLCK : F_UNLCK, kMapped);
}

bool IsMappedElsewhere(int descriptor) { return IsSetElsewhere(descriptor, kMapped); }

}  // namespace Lab
