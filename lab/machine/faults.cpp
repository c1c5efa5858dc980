#include "machine/faults.h"

#include <utility>

namespace Lab {

FaultPlan::FaultPlan(std::vector<Fault> faults) {
  for (Fault& fault : faults) faults_.push_back({std::move(fault)});
}

std::optional<std::uint32_t> FaultPlan::CountCall(std::string_view function,
                                                  std::wstring_view subject) {
  const std::lock_guard lock(mutex_);
  auto calls = calls_.find(function);
  if (calls == calls_.end()) calls = calls_.emplace(function, 0).first;
  ++calls->second;

  std::optional<std::uint32_t> error;
  for (Planned& planned : faults_) {
    const Fault& fault = planned.fault;
    if (fault.function != function) continue;
    if (subject.find(fault.match) == std::wstring_view::npos) continue;
    ++planned.calls;
    const bool due = fault.call != 0 ? planned.calls == fault.call : planned.calls >= fault.from;
    if (due && !error) error = fault.error;
  }
  return error;
}

std::uint32_t FaultPlan::Calls(std::string_view function) const {
  const std::lock_guard lock(mutex_);
  const auto calls = calls_.find(function);
  return calls == calls_.end() ? 0 : calls->second;
}

}  // namespace Lab
