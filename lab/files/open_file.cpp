#include "files/open_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <optional>
#include <set>
#include <utility>

#include "files/attributes.h"
#include "files/folder_watch.h"
#include "files/host_errors.h"
#include "files/rights.h"
#include "winerror.h"

namespace Lab {
namespace {

namespace fs = std::filesystem;

// Marks a file that is to go when its last open ends. No file of a machine has use for this bit.
constexpr mode_t kDeletePending = S_ISVTX;

struct stat StatusOf(int descriptor) {
  struct stat status = {};
  fstat(descriptor, &status);
  return status;
}

bool IsSameFile(const struct stat& left, const struct stat& right) {
  return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

/// Removes the name if it still names what the descriptor has open.
void RemoveName(int descriptor, const fs::path& place) {
  struct stat named = {};
  if (lstat(place.c_str(), &named) == 0 && IsSameFile(named, StatusOf(descriptor))) {
    unlink(place.c_str());
  }
}

/// Files to delete on close that are open when the process ends. Windows closes them then, so their
/// names go as well.
class FilesToDelete {
 public:
  static FilesToDelete& Instance() {
    static FilesToDelete& files = *new FilesToDelete;
    return files;
  }

  void Add(int descriptor, fs::path place) {
    const std::lock_guard lock(mutex_);
    files_.emplace(descriptor, std::move(place));
  }

  void Remove(int descriptor) {
    const std::lock_guard lock(mutex_);
    std::erase_if(files_, [&](const auto& file) { return file.first == descriptor; });
  }

 private:
  FilesToDelete() {
    std::atexit([] { Instance().DeleteAll(); });
  }

  void DeleteAll() {
    const std::lock_guard lock(mutex_);
    for (const auto& [descriptor, place] : files_) RemoveName(descriptor, place);
    files_.clear();
  }

  std::mutex mutex_;
  std::set<std::pair<int, fs::path>> files_;
};

/// What of the host's refusals is to be tried again or told otherwise.
struct Opened {
  int descriptor = -1;
  int hostError = 0;
  bool isNew = false;
};

/// A file with a list of its own holds what isn't for others, so the host's others are kept out
/// too.
mode_t ModeOfNewFile(const OpenFile::Request& request) {
  const mode_t mode = HostMode(request.attributes);
  return request.accessList.empty() ? mode : mode & (S_IRUSR | S_IWUSR);
}

Opened OpenOnHost(const fs::path& place, int flags, const OpenFile::Request& request) {
  // Another program may make or delete the file between the two calls.
  for (;;) {
    if (request.mayExist) {
      const int existing = open(place.c_str(), flags);
      if (existing >= 0) return {existing, 0, false};
      if (errno != ENOENT || !request.mayCreate) return {-1, errno, false};
    }
    const int made = open(place.c_str(), flags | O_CREAT | O_EXCL, ModeOfNewFile(request));
    if (made >= 0) {
      if (!request.accessList.empty()) KeepAccessList(made, request.accessList);
      return {made, 0, true};
    }
    if (errno != EEXIST || !request.mayExist) return {-1, errno, false};
  }
}

/// \return The reason for which the file can't be opened at all, before any sharing.
DWORD RefusalOf(const fs::path& place, const OpenFile::Request& request) {
  struct stat status = {};
  if (stat(place.c_str(), &status) != 0) return ERROR_SUCCESS;
  if (!request.mayExist) return ERROR_FILE_EXISTS;
  if (S_ISDIR(status.st_mode)) {
    const bool writes = request.truncates || (request.access & FILE_SHARE_WRITE) != 0;
    return request.allowsFolder && !writes ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
  }
  const bool changes = (request.access & (FILE_SHARE_WRITE | FILE_SHARE_DELETE)) != 0;
  return IsReadOnly(status) && changes ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
}

/// Finds out, with the gate held, whether the open may go on; empties the file then if it's to.
DWORD JoinOthers(int descriptor, bool isNew, const OpenFile::Request& request) {
  const struct stat status = StatusOf(descriptor);
  if ((status.st_mode & kDeletePending) != 0 && !S_ISDIR(status.st_mode)) {
    return ERROR_ACCESS_DENIED;
  }
  if (request.access != 0 && ConflictsWithOthers(descriptor, request.access, request.share)) {
    return ERROR_SHARING_VIOLATION;
  }
  const bool empties = request.truncates && !isNew;
  if (empties && IsMappedElsewhere(descriptor)) return ERROR_USER_MAPPED_FILE;
  MarkOpen(descriptor, request.access, request.share);
  if (!empties) return ERROR_SUCCESS;
  if (ftruncate(descriptor, 0) != 0) return ErrorOfHost(errno);
  fchmod(descriptor, HostMode(request.attributes));
  return ERROR_SUCCESS;
}

/// One try. Nothing when the file vanished meanwhile and another try may find or make a new one.
std::optional<OpenFile::Result> TryOpen(const fs::path& place, const OpenFile::Request& request) {
  if (const DWORD refusal = RefusalOf(place, request); refusal != ERROR_SUCCESS) {
    return OpenFile::Result{nullptr, refusal, true};
  }
  struct stat status = {};
  const bool isFolder = stat(place.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
  const bool writes = (request.access & FILE_SHARE_WRITE) != 0;
  // Marks need a readable descriptor, so there is none that only writes.
  const int flags = O_CLOEXEC | (isFolder ? O_DIRECTORY : 0) | (writes ? O_RDWR : O_RDONLY);
  const Opened opened = OpenOnHost(place, flags, request);
  if (opened.descriptor < 0) {
    return OpenFile::Result{nullptr, ErrorOfHost(opened.hostError), false};
  }
  DWORD error = ERROR_SUCCESS;
  {
    const FileGate gate(opened.descriptor);
    if (StatusOf(opened.descriptor).st_nlink > 0) {
      error = JoinOthers(opened.descriptor, opened.isNew, request);
      if (error == ERROR_SUCCESS) {
        return OpenFile::Result{std::make_shared<OpenFile>(opened.descriptor, place, request), 0,
                                !opened.isNew};
      }
    }
  }
  close(opened.descriptor);
  if (error == ERROR_SUCCESS) return std::nullopt;
  return OpenFile::Result{nullptr, error, true};
}

}  // namespace

OpenFile::Result OpenFile::Open(const fs::path& place, const Request& request) {
  for (;;) {
    if (auto result = TryOpen(place, request)) return *std::move(result);
  }
}

OpenFile::OpenFile(int descriptor, fs::path place, const Request& request)
    : descriptor_(descriptor),
      place_(std::move(place)),
      access_(request.access),
      deletesOnClose_(request.deletesOnClose) {
  if (deletesOnClose_) FilesToDelete::Instance().Add(descriptor_, place_);
}

OpenFile::~OpenFile() {
  if (watch_ != nullptr) watch_->Cancel();
  if (descriptor_ < 0) return;
  if (deletesOnClose_) FilesToDelete::Instance().Remove(descriptor_);
  DeleteIfLast();
  close(descriptor_);
}

bool OpenFile::IsFolder() const { return S_ISDIR(StatusOf(descriptor_).st_mode); }

int OpenFile::Release() { return std::exchange(descriptor_, -1); }

std::shared_ptr<FolderWatch> OpenFile::Watch() {
  const std::lock_guard lock(watchMutex_);
  if (watch_ == nullptr) watch_ = std::make_shared<FolderWatch>(descriptor_);
  return watch_;
}

void OpenFile::AddMapping() {
  const std::lock_guard lock(mappingMutex_);
  if (mappings_++ == 0) MarkMapped(descriptor_, true);
}

void OpenFile::RemoveMapping() {
  const std::lock_guard lock(mappingMutex_);
  if (--mappings_ == 0) MarkMapped(descriptor_, false);
}

void OpenFile::DeleteIfLast() {
  const FileGate gate(descriptor_);
  const struct stat status = StatusOf(descriptor_);
  if (S_ISDIR(status.st_mode)) return;
  if (!deletesOnClose_ && (status.st_mode & kDeletePending) == 0) return;
  if (IsOpenElsewhere(descriptor_)) {
    fchmod(descriptor_, status.st_mode | kDeletePending);
  } else {
    RemoveName(descriptor_, place_);
  }
}

}  // namespace Lab
