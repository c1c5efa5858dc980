// The table of handles: every one names an object with a type, a count of owners and operations.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "minwindef.h"

namespace Lab {

/// The handle by which the program names its own image (null does as well).
inline HMODULE ProgramModule() { return reinterpret_cast<HMODULE>(ULONG_PTR{0x140000000}); }

/// What a handle names. The table shares it with the calls that use it at the moment, so closing
/// the handle on one thread leaves a call on another one intact.
class Object {
 public:
  Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object() = default;

  /// \return Kind of the object as messages name it: "Key", "File", "Event".
  virtual const char* TypeName() const = 0;

  /// \return A descriptor that is readable while the object may be signalled; -1 for an object
  ///         that can't be waited for. It belongs to the object.
  virtual int WaitDescriptor() const { return -1; }

  /// \return True when a wait for the object alone would end at once. Takes nothing.
  virtual bool IsSignalled() const;

  enum class Acquired { kNo, kYes, kAbandoned };

  /// Takes the signal if there is one, and does to the object what a finished wait does to it (an
  /// event that resets itself is reset, a mutex becomes the thread's).
  virtual Acquired TryAcquire() { return Acquired::kNo; }
};

/// The handles of this process. Safe under threads.
class HandleTable {
 public:
  /// \return A new handle, a small multiple of 4, that owns a share of \p object.
  HANDLE Add(std::shared_ptr<Object> object);

  /// \return What the handle names; null for one that is closed or was never given out.
  std::shared_ptr<Object> Find(HANDLE handle) const;

  /// \return The object if it is a T, else null.
  template <typename T>
  std::shared_ptr<T> FindAs(HANDLE handle) const {
    return std::dynamic_pointer_cast<T>(Find(handle));
  }

  /// Forgets the handle and gives up its share. \return False when there was no such handle.
  bool Close(HANDLE handle);

  /// \return Types of all open handles in the order of their numbers, for tests on leaks.
  std::vector<std::string> OpenTypes() const;

 private:
  mutable std::mutex mutex_;
  std::uintptr_t next_ = 0;
  std::map<std::uintptr_t, std::shared_ptr<Object>> objects_;
};

/// The one table of the process.
HandleTable& Handles();

}  // namespace Lab
