#include "machine/faults.h"

#include <algorithm>
#include <utility>

namespace Lab {

FaultPlan::FaultPlan(std::vector<Fault> faults) {
  for (Fault& fault : faults) faults_.push_back({std::move(fault)});
}

bool FaultPlan::Planned::IsDue(std::wstring_view subject, std::string_view site) {
  if (subject.find(fault.match) == std::wstring_view::npos) return false;
  if (hasBegun) return true;
  if (!fault.site.empty() && site != fault.site) return false;
  ++calls;
  if (fault.call != 0) return calls == fault.call;
  hasBegun = calls >= fault.from;
  return hasBegun;
}

std::optional<std::uint32_t> FaultPlan::CountCall(std::string_view function,
                                                  std::wstring_view subject,
                                                  std::string_view site) {
  const std::lock_guard lock(mutex_);
  auto calls = calls_.find(function);
  if (calls == calls_.end()) calls = calls_.emplace(function, 0).first;
  ++calls->second;

  std::optional<std::uint32_t> error;
  for (Planned& planned : faults_) {
    if (planned.fault.function != function) continue;
    if (planned.IsDue(subject, site) && !error) error = planned.fault.error;
  }
  if (error) ++failures_;
  return error;
}

bool FaultPlan::AsksForSite(std::string_view function) const {
  // The plan itself never changes, so nobody has to be waited for.
  return std::ranges::any_of(faults_, [&](const Planned& planned) {
    return planned.fault.function == function && !planned.fault.site.empty();
  });
}

std::uint32_t FaultPlan::Failures() const {
  const std::lock_guard lock(mutex_);
  return failures_;
}

std::uint32_t FaultPlan::Calls(std::string_view function) const {
  const std::lock_guard lock(mutex_);
  const auto calls = calls_.find(function);
  return calls == calls_.end() ? 0 : calls->second;
}

}  // namespace Lab
