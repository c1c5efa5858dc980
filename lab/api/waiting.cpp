// Waiting for objects, by the machine's clock.
#include <poll.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "machine/call.h"
#include "machine/handles.h"
#include "machine/machine.h"
#include "windows.h"

namespace {

using Objects = std::vector<std::shared_ptr<Lab::Object>>;
using Acquired = Lab::Object::Acquired;

/// Only one thread looks for signals and takes them at a time, so that a wait for all of several
/// objects finds them set and takes them in one step.
std::mutex& TakingSignals() {
  static std::mutex& mutex = *new std::mutex;
  return mutex;
}

/// Takes the first object that is signalled. The others stay as they are.
std::optional<DWORD> TakeFirst(const Objects& objects) {
  for (DWORD i = 0; i < objects.size(); ++i) {
    switch (objects[i]->TryAcquire()) {
      case Acquired::kYes:
        return WAIT_OBJECT_0 + i;
      case Acquired::kAbandoned:
        return WAIT_ABANDONED_0 + i;
      case Acquired::kNo:
        break;
    }
  }
  return std::nullopt;
}

/// Takes all objects if all are signalled, else none.
std::optional<DWORD> TakeAll(const Objects& objects) {
  for (const auto& object : objects) {
    if (!object->IsSignalled()) return std::nullopt;
  }
  for (const auto& object : objects) object->TryAcquire();
  return WAIT_OBJECT_0;
}

/// What a thread that waits for all sleeps on: those that aren't signalled yet.
std::vector<pollfd> Awaited(const Objects& objects, bool all) {
  std::vector<pollfd> entries;
  for (const auto& object : objects) {
    if (!all || !object->IsSignalled()) entries.push_back({object->WaitDescriptor(), POLLIN, 0});
  }
  return entries;
}

DWORD Wait(const Objects& objects, bool all, DWORD milliseconds) {
  const Lab::Timeout timeout(Lab::TheMachine().Clock(), milliseconds);
  for (;;) {
    {
      const std::lock_guard lock(TakingSignals());
      if (const auto result = all ? TakeAll(objects) : TakeFirst(objects)) return *result;
    }
    if (timeout.Expired()) return WAIT_TIMEOUT;
    std::vector<pollfd> entries = Awaited(objects, all);
    if (!entries.empty()) poll(entries.data(), entries.size(), timeout.PollMilliseconds());
  }
}

DWORD FailToWait(DWORD error) {
  SetLastError(error);
  return WAIT_FAILED;
}

/// A planned failure. The codes of a wait's own results are answered as such, so that each of them
/// can be had; any other is the reason of a wait that failed.
std::optional<DWORD> PlannedResult(const Lab::Call& call) {
  const std::optional<DWORD>& planned = call.PlannedError();
  if (!planned) return std::nullopt;
  const bool isAbandoned =
      *planned >= WAIT_ABANDONED_0 && *planned < WAIT_ABANDONED_0 + MAXIMUM_WAIT_OBJECTS;
  if (isAbandoned || *planned == WAIT_IO_COMPLETION || *planned == WAIT_TIMEOUT) return planned;
  return FailToWait(*planned);
}

bool HasDuplicates(const HANDLE* handles, DWORD count) {
  std::vector<HANDLE> sorted(handles, handles + count);
  std::sort(sorted.begin(), sorted.end());
  return std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end();
}

DWORD WaitForHandles(DWORD count, const HANDLE* handles, BOOL all, DWORD milliseconds) {
  if (count == 0 || count > MAXIMUM_WAIT_OBJECTS) return FailToWait(ERROR_INVALID_PARAMETER);
  LAB_SUPPORTS(handles != nullptr);
  if (all != FALSE && HasDuplicates(handles, count)) return FailToWait(ERROR_INVALID_PARAMETER);
  Objects objects;
  for (DWORD i = 0; i < count; ++i) {
    objects.push_back(Lab::Handles().Find(handles[i]));
    if (objects.back() == nullptr) return FailToWait(ERROR_INVALID_HANDLE);
    LAB_SUPPORTS(objects.back()->WaitDescriptor() >= 0);
  }
  return Wait(objects, all != FALSE, milliseconds);
}

}  // namespace

DWORD WaitForMultipleObjects(DWORD count, const HANDLE* handles, BOOL all, DWORD milliseconds) {
  const Lab::Call call("WaitForMultipleObjects");
  if (const auto planned = PlannedResult(call)) return *planned;
  return WaitForHandles(count, handles, all, milliseconds);
}

DWORD WaitForMultipleObjectsEx(DWORD count, const HANDLE* handles, BOOL all, DWORD milliseconds,
                               BOOL /*alertable*/) {
  const Lab::Call call("WaitForMultipleObjectsEx");
  if (const auto planned = PlannedResult(call)) return *planned;
  return WaitForHandles(count, handles, all, milliseconds);
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
  const Lab::Call call("WaitForSingleObject");
  if (const auto planned = PlannedResult(call)) return *planned;
  const std::shared_ptr<Lab::Object> object = Lab::Handles().Find(handle);
  if (object == nullptr) return FailToWait(ERROR_INVALID_HANDLE);
  LAB_SUPPORTS(object->WaitDescriptor() >= 0);
  return Wait({object}, false, milliseconds);
}
