#include "machine/call_census.h"

namespace Lab {

void CallCensus::Count(std::string_view function, const std::string& site) {
  const std::lock_guard lock(mutex_);
  const auto [place, isNew] = places_.try_emplace({std::string(function), site}, entries_.size());
  if (isNew) entries_.push_back({std::string(function), site});
  ++entries_[place->second].calls;
}

std::vector<CallCensus::Entry> CallCensus::Entries() const {
  const std::lock_guard lock(mutex_);
  return entries_;
}

}  // namespace Lab
