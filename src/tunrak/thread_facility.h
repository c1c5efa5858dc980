// What the library wants to know of threads that it didn't start.
#pragma once

#include <atomic>

namespace Tunrak::Service {

/// Counts the foreign threads inside the library, and lets go of what it keeps for them.
class ThreadFacility {
 public:
  virtual ~ThreadFacility() = default;

  /// The calling thread enters the library.
  virtual void EnterThread() = 0;
  /// The calling thread leaves the library, once for each entering.
  virtual void LeaveThread() = 0;
  /// Gives back what the library holds for the calling thread, if it isn't inside any more. A later
  /// entering is welcome.
  virtual void ReleaseThread() = 0;
};

/// The facility of the process's application.
class ProcessThreads : public ThreadFacility {
 public:
  void EnterThread() override;
  void LeaveThread() override;
  void ReleaseThread() override;

  /// \return How many enterings haven't been left yet, over all threads.
  int CountInside() const { return inside_; }

 private:
  std::atomic<int> inside_ = 0;
};

}  // namespace Tunrak::Service
