// Event objects: flags that one thread sets and others wait for.
#pragma once

#include <memory>
#include <mutex>

#include "machine/handles.h"
#include "sync/signal.h"

namespace Lab {

/// What goes on in the background until it sets an event. Nothing runs for it: whoever looks at the
/// event brings it forward.
class BackgroundWork {
 public:
  virtual ~BackgroundWork() = default;

  /// \return A descriptor that is readable when there may be something to do.
  virtual int Descriptor() const = 0;

  /// Does what can be done without waiting; sets the event and leaves it when that was all.
  virtual void BringForward() = 0;
};

class Event : public Object {
 public:
  Event(bool manualReset, bool initialState);
  ~Event() override;

  const char* TypeName() const override { return "Event"; }
  int WaitDescriptor() const override;
  bool IsSignalled() const override;
  Acquired TryAcquire() override;

  void Set() { signal_.Set(); }
  void Reset() { signal_.Reset(); }

  /// From now on who waits for the event brings \p work forward, one at a time.
  void Follow(const std::shared_ptr<BackgroundWork>& work);
  void Unfollow(const BackgroundWork& work);

 private:
  void BringForward() const;

  const bool manualReset_;
  Signal signal_;
  mutable std::mutex mutex_;
  std::weak_ptr<BackgroundWork> work_;
  /// Readable when the signal is set or the work may go on; -1 as long as there has been no work.
  int either_ = -1;
};

}  // namespace Lab
