#include "failing_allocation.h"

#include <cstddef>
#include <new>

namespace {

thread_local int gFailing = 0;
thread_local int gSpared = 0;

}  // namespace

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  if (gFailing > 0 && gSpared-- <= 0) return nullptr;
  try {
    return ::operator new[](size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

namespace Halvard::Testing {

FailingAllocation::FailingAllocation(int spared) {
  ++gFailing;
  gSpared = spared;
}
FailingAllocation::~FailingAllocation() { --gFailing; }

}  // namespace Halvard::Testing
