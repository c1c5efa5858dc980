// Makes allocations fail that report their failure by a null pointer.
#pragma once

namespace Halvard::Testing {

/// As long as one lives, `new (std::nothrow) T[n]` of this program gives null.
class FailingAllocation {
 public:
  FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();
};

}  // namespace Halvard::Testing
