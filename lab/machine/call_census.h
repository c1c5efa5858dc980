// Which Windows functions a program has called, from where and how often.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Lab {

/// What the description asks a program to tell at its end.
enum class CensusKind {
  kNone,
  kHandles,  ///< What is held at the end.
  kCalls     ///< That, and all calls with their places.
};

/// Counts calls by function and place. Safe under threads.
class CallCensus {
 public:
  struct Entry {
    std::string function;
    std::string site;
    std::uint32_t calls = 0;
  };

  void Count(std::string_view function, const std::string& site);

  /// \return In the order of the first calls.
  std::vector<Entry> Entries() const;

 private:
  mutable std::mutex mutex_;
  std::map<std::pair<std::string, std::string>, std::size_t, std::less<>> places_;
  std::vector<Entry> entries_;
};

}  // namespace Lab
