// Threads of the process.
#include <unistd.h>

#include <memory>
#include <system_error>
#include <thread>

#include "api/failure.h"
#include "machine/call.h"
#include "machine/handles.h"
#include "sync/signal.h"
#include "windows.h"

namespace {

/// Signalled when the thread has ended.
class Thread : public Lab::Object {
 public:
  const char* TypeName() const override { return "Thread"; }
  int WaitDescriptor() const override { return ended_.Descriptor(); }
  Acquired TryAcquire() override { return ended_.IsSet() ? Acquired::kYes : Acquired::kNo; }

  void End() { ended_.Set(); }

 private:
  Lab::Signal ended_;
};

}  // namespace

HANDLE CreateThread(LPSECURITY_ATTRIBUTES attributes, SIZE_T stackSize,
                    LPTHREAD_START_ROUTINE start, LPVOID parameter, DWORD flags, LPDWORD threadId) {
  const Lab::Call call("CreateThread");
  if (call.FailsByPlan()) return nullptr;
  // An inheritable handle is as good as another one as long as no child inherits any.
  LAB_SUPPORTS(attributes == nullptr || attributes->lpSecurityDescriptor == nullptr);
  LAB_SUPPORTS(stackSize == 0 && start != nullptr && flags == 0 && threadId == nullptr);
  try {
    auto thread = std::make_shared<Thread>();
    // The end of the process stops it wherever it is.
    std::thread([thread, start, parameter] {
      start(parameter);
      thread->End();
    }).detach();
    return Lab::Handles().Add(std::move(thread));
  } catch (const std::system_error&) {
    return Lab::FailWithNull(ERROR_NOT_ENOUGH_MEMORY);
  }
}
