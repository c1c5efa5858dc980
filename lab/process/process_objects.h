// What the handles of a started process name.
#pragma once

#include <memory>
#include <utility>

#include "machine/handles.h"
#include "process/child_process.h"

namespace Lab {

/// Signalled once the process has ended.
class Process : public Object {
 public:
  explicit Process(std::shared_ptr<ChildProcess> child) : child_(std::move(child)) {}

  const char* TypeName() const override { return "Process"; }
  int WaitDescriptor() const override { return child_->EndDescriptor(); }
  Acquired TryAcquire() override { return child_->ExitCode() ? Acquired::kYes : Acquired::kNo; }

  const std::shared_ptr<ChildProcess>& Child() const { return child_; }

 private:
  const std::shared_ptr<ChildProcess> child_;
};

/// The thread that a process begins with. It lives as long as the process.
class MainThread : public Process {
 public:
  using Process::Process;
  const char* TypeName() const override { return "Thread"; }
};

}  // namespace Lab
