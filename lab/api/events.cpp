// Making, setting and resetting events.
#include <memory>
#include <system_error>

#include "api/failure.h"
#include "machine/call.h"
#include "machine/handles.h"
#include "sync/event.h"
#include "windows.h"

namespace {

using Lab::Event;

std::shared_ptr<Event> FindEvent(HANDLE handle) {
  auto event = Lab::Handles().FindAs<Event>(handle);
  if (event == nullptr) SetLastError(ERROR_INVALID_HANDLE);
  return event;
}

}  // namespace

HANDLE CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manualReset, BOOL initialState,
                    LPCWSTR name) {
  const Lab::Call call("CreateEventW");
  if (call.FailsByPlan()) return nullptr;
  LAB_SUPPORTS(attributes == nullptr && name == nullptr);
  try {
    const HANDLE handle =
        Lab::Handles().Add(std::make_shared<Event>(manualReset != FALSE, initialState != FALSE));
    SetLastError(ERROR_SUCCESS);
    return handle;
  } catch (const std::system_error&) {
    return Lab::FailWithNull(ERROR_NOT_ENOUGH_MEMORY);
  }
}

BOOL SetEvent(HANDLE handle) {
  const Lab::Call call("SetEvent");
  if (call.FailsByPlan()) return FALSE;
  const std::shared_ptr<Event> event = FindEvent(handle);
  if (event != nullptr) event->Set();
  return event != nullptr;
}

BOOL ResetEvent(HANDLE handle) {
  const Lab::Call call("ResetEvent");
  if (call.FailsByPlan()) return FALSE;
  const std::shared_ptr<Event> event = FindEvent(handle);
  if (event != nullptr) event->Reset();
  return event != nullptr;
}
