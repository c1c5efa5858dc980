// Files of an instance that several of its programs change: one after the other, and seen whole.
#pragma once

#include <filesystem>
#include <string_view>

namespace Lab {

/// Holds off all threads and processes that take the same lock.
class FileLock {
 public:
  /// Waits for its turn.
  /// \param file  Made where it isn't there; it stays, and nothing is written to it.
  /// \throw std::filesystem::filesystem_error
  explicit FileLock(const std::filesystem::path& file);
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  ~FileLock();

 private:
  const int descriptor_;
};

/// Gives a file other contents. Readers see the old or the new, whole in either case.
/// \throw std::filesystem::filesystem_error when they can't be written; the old ones stay.
void ReplaceContents(const std::filesystem::path& file, std::string_view contents);

}  // namespace Lab
