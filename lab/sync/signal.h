// A flag that threads can wait for through a descriptor.
#pragma once

namespace Lab {

/// Readable while it is set. Safe under threads and in signal handlers.
class Signal {
 public:
  /// \throw std::system_error when the host has no more descriptors.
  explicit Signal(bool set = false);
  Signal(const Signal&) = delete;
  Signal& operator=(const Signal&) = delete;
  ~Signal();

  int Descriptor() const { return descriptor_; }

  /// Setting it twice is the same as once.
  void Set();

  /// \return True when it was set. Of several threads only one gets that answer.
  bool Reset();

  bool IsSet() const;

 private:
  const int descriptor_;
};

}  // namespace Lab
