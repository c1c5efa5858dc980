// Takes trees of shared objects apart without recursion.
#pragma once

#include <memory>
#include <utility>
#include <vector>

namespace Krova::Data {

/// Releases the children of a dying node so that a tree of any depth needs the stack of one.
///
/// A node's destructor hands each child pointer to `Release`. The outermost destructor on a thread
/// owns the list of what waits; the destructors that it sets off only add to it. A child that
/// another owner still shares merely loses a reference. Each thread has its own list, so trees may
/// die on several threads at once, even if they share parts.
///
/// `bool IsLeaf(const Node&)` beside `Node` tells which nodes have no children to release.
template <typename Node>
class DeferredRelease {
 public:
  using Pointer = std::shared_ptr<const Node>;

  DeferredRelease() : outermost_(waiting_ == nullptr) {
    if (outermost_) waiting_ = &own_;
  }
  DeferredRelease(const DeferredRelease&) = delete;
  DeferredRelease& operator=(const DeferredRelease&) = delete;
  ~DeferredRelease() {
    if (!outermost_) return;
    while (!own_.empty()) {
      const Pointer next = std::move(own_.back());
      own_.pop_back();
      // `next` dies here; its destructor may put its children on the list.
    }
    waiting_ = nullptr;
  }

  /// Takes over \p child; a null one is skipped.
  void Release(Pointer&& child) {
    if (child == nullptr) return;
    // A leaf sets nothing off, and directly under the outermost destructor letting go costs one
    // level of stack: neither needs the list.
    if (outermost_ || IsLeaf(*child)) {
      child.reset();
    } else {
      waiting_->push_back(std::move(child));
    }
  }

 private:
  inline static constinit thread_local std::vector<Pointer>* waiting_ = nullptr;

  std::vector<Pointer> own_;
  const bool outermost_;
};

}  // namespace Krova::Data
