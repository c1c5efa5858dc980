// What the tests of adapters share.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>

#include "adapter_descriptions.h"
#include "core/logging.h"
#include "network/adapter_snapshot.h"
#include "started_sockets.h"
#include "support/lab_instance.h"
#include "support/log_lines.h"

namespace Halvard::Network {

inline constexpr std::uint32_t kInvalidParameter = 87;

/// A machine whose adapters a test sets.
class AdaptersTest : public ::testing::Test {
 protected:
  void SetAdapters(std::initializer_list<Json::Value> adapters) {
    machine_.Set("/adapters", Testing::JsonList(adapters));
  }
  /// Lets one of the calls fail that fetch the list: the first asks for its size.
  void RefuseCall(std::uint32_t call, std::uint32_t error) {
    machine_.PlanFault(
        {.function = "GetAdaptersAddresses", .call = call, .match = {}, .error = error});
  }

  Lab::Instance machine_;
};

}  // namespace Halvard::Network
