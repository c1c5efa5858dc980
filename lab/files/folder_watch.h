// Watching a folder for changes of its entries, over the host's inotify.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "minwinbase.h"
#include "sync/event.h"

namespace Lab {

/// One change of an entry, as FILE_NOTIFY_INFORMATION tells it.
struct FolderChange {
  DWORD action;
  std::wstring name;
};

/// One change as the host tells it.
struct HostChange {
  std::uint32_t mask;
  std::uint32_t cookie;  ///< The same for both halves of a renaming.
  std::wstring name;
};

/// Collects what happens in a folder from its making on. A request takes all that has been
/// collected, as soon as that is anything. Safe under threads.
class FolderWatch : public BackgroundWork, public std::enable_shared_from_this<FolderWatch> {
 public:
  /// \param folder  A descriptor of the folder, needed for the making alone.
  /// \throw std::system_error when the host watches no more folders.
  explicit FolderWatch(int folder);
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;
  ~FolderWatch() override;

  /// Begins to fill \p buffer in the background. One request at a time; the event is reset. What
  /// doesn't fit is lost, with all that would have fit, and the request ends with no bytes. The end
  /// of the folder itself isn't seen: while it is open, the host doesn't tell.
  void Request(void* buffer, DWORD size, OVERLAPPED& overlapped, std::shared_ptr<Event> event);

  /// Ends a request that is still open: nothing is written any more once this returns.
  void Cancel();

  int Descriptor() const override { return inotify_; }
  void BringForward() override;

 private:
  struct Collected {
    std::vector<FolderChange> changes;
    bool overflown = false;
  };

  Collected Collect();
  /// Translates one change of the host. \return True when it took \p next as well, the other half
  /// of a renaming.
  bool Take(const HostChange& change, const HostChange* next, Collected& collected);
  void Finish(ULONG_PTR status, DWORD bytes);

  const int inotify_;
  std::mutex mutex_;
  void* buffer_ = nullptr;
  DWORD size_ = 0;
  OVERLAPPED* overlapped_ = nullptr;  ///< Null without a request.
  std::shared_ptr<Event> event_;
  /// Files that were written to since the last close.
  std::set<std::wstring> written_;
};

/// The system's own codes in OVERLAPPED::Internal.
constexpr ULONG_PTR kStatusSuccess = 0;
constexpr ULONG_PTR kStatusPending = 0x103;
constexpr ULONG_PTR kStatusNotifyCleanup = 0x10B;
constexpr ULONG_PTR kStatusNotifyEnumDir = 0x10C;

}  // namespace Lab
