#include "files/folder_watch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <system_error>

#include "machine/text.h"

namespace Lab {
namespace {

/// What the filter of file names and last writes wants to know; folders in the folder are left out.
/// The host reports a write at once and, unlike Windows, a close apart from it.
constexpr std::uint32_t kEvents =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_MODIFY | IN_CLOSE_WRITE | IN_ONLYDIR;

int StartWatching(int folder) {
  const int inotify = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
  const std::string path = "/proc/self/fd/" + std::to_string(folder);
  if (inotify >= 0 && inotify_add_watch(inotify, path.c_str(), kEvents) >= 0) return inotify;
  const int error = errno;
  if (inotify >= 0) close(inotify);
  throw std::system_error(error, std::generic_category(), "lab: inotify");
}

std::vector<HostChange> ReadChanges(int inotify) {
  std::vector<HostChange> changes;
  alignas(inotify_event) char buffer[64 * 1024];
  for (;;) {
    const ssize_t count = read(inotify, buffer, sizeof buffer);
    if (count <= 0) return changes;
    for (const char* at = buffer; at < buffer + count;) {
      inotify_event event;
      std::memcpy(&event, at, sizeof event);
      const char* name = at + sizeof event;
      changes.push_back({event.mask, event.cookie, event.len > 0 ? ToWide(name) : L""});
      at = name + event.len;
    }
  }
}

/// Writes the records one behind the other, each at a multiple of 4 bytes.
/// \return Bytes up to the end of the last name; 0 when they don't fit.
DWORD WriteRecords(const std::vector<FolderChange>& changes, void* buffer, DWORD size) {
  constexpr std::size_t kHeader = offsetof(FILE_NOTIFY_INFORMATION, FileName);
  auto* const bytes = static_cast<std::byte*>(buffer);
  std::size_t start = 0;
  std::size_t end = 0;
  for (const FolderChange& change : changes) {
    const std::size_t next = (end + 3) / 4 * 4;
    const std::size_t nameBytes = change.name.size() * sizeof(WCHAR);
    if (next + kHeader + nameBytes > size) return 0;
    if (end > 0) {
      const auto offset = static_cast<DWORD>(next - start);
      std::memcpy(bytes + start, &offset, sizeof offset);
    }
    const DWORD header[] = {0, change.action, static_cast<DWORD>(nameBytes)};
    std::memcpy(bytes + next, header, sizeof header);
    std::memcpy(bytes + next + kHeader, change.name.data(), nameBytes);
    start = next;
    end = next + kHeader + nameBytes;
  }
  return static_cast<DWORD>(end);
}

}  // namespace

FolderWatch::FolderWatch(int folder) : inotify_(StartWatching(folder)) {}

FolderWatch::~FolderWatch() { close(inotify_); }

void FolderWatch::Request(void* buffer, DWORD size, OVERLAPPED& overlapped,
                          std::shared_ptr<Event> event) {
  const std::lock_guard lock(mutex_);
  buffer_ = buffer;
  size_ = size;
  overlapped_ = &overlapped;
  overlapped.Internal = kStatusPending;
  overlapped.InternalHigh = 0;
  event_ = std::move(event);
  event_->Reset();
  event_->Follow(shared_from_this());
}

void FolderWatch::Cancel() {
  const std::lock_guard lock(mutex_);
  if (overlapped_ != nullptr) Finish(kStatusNotifyCleanup, 0);
}

void FolderWatch::BringForward() {
  const std::lock_guard lock(mutex_);
  if (overlapped_ == nullptr) return;
  const Collected collected = Collect();
  if (collected.overflown) {
    Finish(kStatusNotifyEnumDir, 0);
  } else if (!collected.changes.empty()) {
    const DWORD bytes = WriteRecords(collected.changes, buffer_, size_);
    Finish(bytes == 0 ? kStatusNotifyEnumDir : kStatusSuccess, bytes);
  }
}

FolderWatch::Collected FolderWatch::Collect() {
  Collected collected;
  const std::vector<HostChange> changes = ReadChanges(inotify_);
  for (std::size_t i = 0; i < changes.size(); ++i) {
    const HostChange* next = i + 1 < changes.size() ? &changes[i + 1] : nullptr;
    if (Take(changes[i], next, collected)) ++i;
  }
  return collected;
}

bool FolderWatch::Take(const HostChange& change, const HostChange* next, Collected& collected) {
  if ((change.mask & IN_Q_OVERFLOW) != 0) collected.overflown = true;
  if ((change.mask & IN_ISDIR) != 0 || change.name.empty()) return false;
  const auto add = [&](DWORD action, const std::wstring& name) {
    collected.changes.push_back({action, name});
  };
  switch (change.mask & IN_ALL_EVENTS) {
    case IN_CREATE:
    case IN_MOVED_TO:
      add(FILE_ACTION_ADDED, change.name);
      break;
    case IN_DELETE:
      add(FILE_ACTION_REMOVED, change.name);
      break;
    case IN_MODIFY:
      written_.insert(change.name);
      add(FILE_ACTION_MODIFIED, change.name);
      break;
    case IN_CLOSE_WRITE:
      if (written_.erase(change.name) > 0) add(FILE_ACTION_MODIFIED, change.name);
      break;
    case IN_MOVED_FROM:
      if (next == nullptr || next->cookie != change.cookie) {
        add(FILE_ACTION_REMOVED, change.name);
        break;
      }
      add(FILE_ACTION_RENAMED_OLD_NAME, change.name);
      add(FILE_ACTION_RENAMED_NEW_NAME, next->name);
      return true;
    default:
      break;
  }
  return false;
}

void FolderWatch::Finish(ULONG_PTR status, DWORD bytes) {
  overlapped_->Internal = status;
  overlapped_->InternalHigh = bytes;
  overlapped_ = nullptr;
  event_->Unfollow(*this);
  event_->Set();
  event_.reset();
}

}  // namespace Lab
