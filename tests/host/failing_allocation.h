// Makes allocations fail that report their failure by a null pointer.
#pragma once

namespace Halvard::Testing {

/// As long as one lives, `new (std::nothrow) T[n]` of this thread gives null, once the first few
/// that are spared are over.
class FailingAllocation {
 public:
  explicit FailingAllocation(int spared = 0);
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();
};

}  // namespace Halvard::Testing
