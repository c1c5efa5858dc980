// Job objects: groups of processes that end together.
#include <algorithm>
#include <memory>
#include <mutex>
#include <vector>

#include "api/failure.h"
#include "machine/call.h"
#include "machine/handles.h"
#include "process/process_objects.h"
#include "sync/signal.h"
#include "windows.h"

namespace {

using Lab::Fail;

/// A job without limits: nothing ever signals it, and its end leaves its processes alone.
class Job : public Lab::Object {
 public:
  const char* TypeName() const override { return "Job"; }
  int WaitDescriptor() const override { return never_.Descriptor(); }

  void Add(std::shared_ptr<Lab::ChildProcess> process) {
    const std::lock_guard lock(mutex_);
    if (std::ranges::find(processes_, process) == processes_.end()) {
      processes_.push_back(std::move(process));
    }
  }

  void Terminate(UINT exitCode) {
    const std::lock_guard lock(mutex_);
    for (const auto& process : processes_) process->TerminateAll(exitCode);
  }

 private:
  const Lab::Signal never_;
  std::mutex mutex_;
  std::vector<std::shared_ptr<Lab::ChildProcess>> processes_;
};

}  // namespace

HANDLE CreateJobObjectW(LPSECURITY_ATTRIBUTES attributes, LPCWSTR name) {
  const Lab::Call call("CreateJobObjectW");
  if (call.FailsByPlan()) return nullptr;
  LAB_SUPPORTS(attributes == nullptr && name == nullptr);
  const HANDLE job = Lab::Handles().Add(std::make_shared<Job>());
  SetLastError(ERROR_SUCCESS);
  return job;
}

BOOL AssignProcessToJobObject(HANDLE job, HANDLE process) {
  const Lab::Call call("AssignProcessToJobObject");
  if (call.FailsByPlan()) return FALSE;
  const auto group = Lab::Handles().FindAs<Job>(job);
  const auto object = Lab::Handles().FindAs<Lab::Process>(process);
  if (group == nullptr || object == nullptr) return Fail(ERROR_INVALID_HANDLE);
  if (object->Child()->ExitCode()) return Fail(ERROR_ACCESS_DENIED);
  // What a process has started before it joins isn't in the job; here all of its tree would be.
  LAB_SUPPORTS(!object->Child()->WasResumed());
  group->Add(object->Child());
  return TRUE;
}

BOOL TerminateJobObject(HANDLE job, UINT exitCode) {
  const Lab::Call call("TerminateJobObject");
  if (call.FailsByPlan()) return FALSE;
  const auto group = Lab::Handles().FindAs<Job>(job);
  if (group == nullptr) return Fail(ERROR_INVALID_HANDLE);
  group->Terminate(exitCode);
  return TRUE;
}
