#include "files/removal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "files/attributes.h"
#include "files/host_errors.h"
#include "files/sharing.h"
#include "winerror.h"

namespace Lab {
namespace {

namespace fs = std::filesystem;

/// A descriptor for the time of one call.
class ScopedDescriptor {
 public:
  explicit ScopedDescriptor(int descriptor) : descriptor_(descriptor) {}
  ScopedDescriptor(const ScopedDescriptor&) = delete;
  ScopedDescriptor& operator=(const ScopedDescriptor&) = delete;
  ~ScopedDescriptor() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  int Get() const { return descriptor_; }

 private:
  const int descriptor_;
};

constexpr AccessKinds kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

}  // namespace

DWORD DeleteFileAt(const fs::path& place, bool forced) {
  struct stat status = {};
  if (lstat(place.c_str(), &status) != 0) return ErrorOfHost(errno);
  if (!S_ISLNK(status.st_mode)) {
    if (S_ISDIR(status.st_mode)) return ERROR_ACCESS_DENIED;
    if (IsReadOnly(status) && !forced) return ERROR_ACCESS_DENIED;
    const ScopedDescriptor file(open(place.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.Get() < 0) return ErrorOfHost(errno);
    const FileGate gate(file.Get());
    if (ConflictsWithOthers(file.Get(), FILE_SHARE_DELETE, kShareAll)) {
      return ERROR_SHARING_VIOLATION;
    }
    if (IsMappedElsewhere(file.Get())) return ERROR_ACCESS_DENIED;
  }
  return unlink(place.c_str()) == 0 ? DWORD{ERROR_SUCCESS} : ErrorOfHost(errno);
}

DWORD RemoveFolderAt(const fs::path& place, bool forced) {
  struct stat status = {};
  if (lstat(place.c_str(), &status) != 0) return ErrorOfHost(errno);
  const DWORD attributes = AttributesOf(place, status);
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return ERROR_DIRECTORY;
  if (S_ISLNK(status.st_mode)) {
    return unlink(place.c_str()) == 0 ? DWORD{ERROR_SUCCESS} : ErrorOfHost(errno);
  }
  if (IsReadOnly(status) && !forced) return ERROR_ACCESS_DENIED;
  const ScopedDescriptor folder(open(place.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder.Get() < 0) return ErrorOfHost(errno);
  const FileGate gate(folder.Get());
  if (ConflictsWithOthers(folder.Get(), FILE_SHARE_DELETE, kShareAll)) {
    return ERROR_SHARING_VIOLATION;
  }
  return rmdir(place.c_str()) == 0 ? DWORD{ERROR_SUCCESS} : ErrorOfHost(errno);
}

}  // namespace Lab
