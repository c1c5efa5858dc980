// The shell's copying into zip files, which goes on by itself after it was started.
#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <vector>

#include "machine/clock.h"
#include "machine/modules.h"
#include "shell/zip_writer.h"

namespace Lab {

/// One load of the module that copies into zip files. Null on a machine that doesn't count its
/// loads.
std::shared_ptr<ModuleUse> UseZipModule();

/// The copies of this process. How one goes is told by the machine's description (ZipCopying). A
/// copy dies with the process, and nothing tells of its end or of its failure.
class ZipCopies {
 public:
  /// Starts a copy.
  /// \throw std::system_error when the host has no more threads.
  void Start(const std::filesystem::path& zip, std::vector<ZipEntry> entries);

  /// \return True for a thread of a copy that isn't to be seen, or not yet.
  bool Hides(pid_t thread) const;

  /// Ends what still waits or stays, with nothing more written, and returns when all is over. For
  /// tests in this process.
  void EndAll();

 private:
  struct Copy;
  struct HiddenThread {
    pid_t id = 0;
    std::uint64_t start = 0;        ///< By the host: tells it from a later one with its id.
    std::uint64_t visibleFrom = 0;  ///< In ticks of the machine.
  };

  void StartThread(std::unique_ptr<Copy> copy);
  void Run(Copy& copy);
  void HideThisThread(std::uint64_t visibleFrom);
  void ForgetEndedThreads();
  /// \return False when all is to end.
  bool WaitUntil(const Clock& clock, std::uint64_t ticks);

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<HiddenThread> hidden_;
  int running_ = 0;
  bool ending_ = false;
};

ZipCopies& TheZipCopies();

}  // namespace Lab
