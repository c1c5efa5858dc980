// Who holds a file open, and what they let others do with it: seen by all programs of the lab.
//
// Each open puts read locks on bytes far beyond any file's end: one for each kind of access that it
// has, and one for each kind that it denies to others. Such a lock belongs to the open descriptor,
// so two opens in one process see one another, and the kernel takes it back when a process dies.
#pragma once

#include "minwindef.h"

namespace Lab {

/// Kinds of access, and what a share mode allows: any of FILE_SHARE_READ, FILE_SHARE_WRITE and
/// FILE_SHARE_DELETE.
using AccessKinds = DWORD;

/// Holds off the opens, closes and deletions of one file everywhere in the lab while it lives.
class FileGate {
 public:
  explicit FileGate(int descriptor);
  FileGate(const FileGate&) = delete;
  FileGate& operator=(const FileGate&) = delete;
  ~FileGate();

 private:
  const int descriptor_;
};

// The following are called with the gate held. The descriptor's own marks never stand in its way.

/// \return True when another open denies some of \p access, or has some that \p share denies.
bool ConflictsWithOthers(int descriptor, AccessKinds access, AccessKinds share);

/// Makes the open known to others until the descriptor is closed. It has to be readable.
void MarkOpen(int descriptor, AccessKinds access, AccessKinds share);

/// \return True when another descriptor has the file open, whatever its access.
bool IsOpenElsewhere(int descriptor);

/// Tells others that the file is mapped into memory, or isn't any more.
void MarkMapped(int descriptor, bool mapped);

/// \return True when the file is mapped through another descriptor.
bool IsMappedElsewhere(int descriptor);

}  // namespace Lab
