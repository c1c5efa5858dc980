// Runs code with a stack on which recursion over a deep tree would crash.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <functional>

#include <gtest/gtest.h>

namespace Krova::Testing {

/// Depth of the trees for such tests. A frame of no more than a pointer each would need 8 MiB.
inline constexpr int kDeep = 1'000'000;

/// Calls \p work on a thread of its own with a stack of 256 KiB and waits for its end.
inline void RunOnSmallStack(std::function<void()> work) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, std::size_t{256} * 1024), 0);
  pthread_t thread;
  const auto entry = [](void* argument) -> void* {
    (*static_cast<std::function<void()>*>(argument))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, entry, &work), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

}  // namespace Krova::Testing
