// A watch on the files of one folder.
#pragma once

#include <string>

#include "host/unique_resource.h"
#include "host/windows_api.h"

namespace Halvard::Runner {

/// Large, as it holds the changes that the system reports, and of fixed size: watching allocates
/// nothing. Failures are logged as the status file's monitor's, whose watch it is.
class FolderWatch {
 public:
  FolderWatch() = default;
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;

  /// Begins to watch for files that are made, renamed or written. Not those of its folders.
  /// \param folder  Exists; ends in a backslash.
  /// \return False after a failure.
  bool Begin(const std::wstring& folder);

  /// Set while there are changes to take.
  HANDLE Event() const { return event_; }

  /// Takes the changes of which the event told, and resets it.
  /// \param[out] bytes  Of the records. 0 when there were more changes than records can tell of.
  /// \return False after a failure.
  bool Take(DWORD& bytes);

  /// What was taken, as TellsOfFile reads it.
  const void* Records() const { return changes_; }

  /// Goes on watching behind what was taken.
  /// \return False after a failure.
  bool Continue();

  void End() { directory_.Reset(); }

 private:
  static constexpr DWORD kSize = 65536;

  bool Open(const std::wstring& folder);
  bool Read();

  /// Never closed: the system may still hold it for a read that is on its way.
  HANDLE event_ = nullptr;
  Host::UniqueFile directory_;
  OVERLAPPED overlapped_ = {};
  alignas(DWORD) BYTE changes_[kSize];
};

}  // namespace Halvard::Runner
