// What the tests of the network's names and addresses share.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "adapter_descriptions.h"
#include "core/logging.h"
#include "network/directory_domain.h"
#include "started_sockets.h"
#include "support/lab_instance.h"
#include "support/log_lines.h"

namespace Halvard::Testing {

/// What GetActiveDirectoryConfig of this program answers; a workgroup from the start.
struct KnownDomain {
  bool answers = true;
  Network::ActiveDirectoryConfig config;
};
KnownDomain& TheDomain();

/// A machine in a workgroup, with no hosts and no DNS names but those that a test sets.
class NamesTest : public ::testing::Test {
 protected:
  NamesTest();

  /// The host's answer for a name, family by family in this order.
  void SetHost(const std::string& name, std::initializer_list<Json::Value> addresses);
  /// What the DNS servers answer: records as the description has them, or the word for a failure.
  void SetDns(const std::string& name, const Json::Value& records);
  void Refuse(const char* function, std::uint32_t error, std::uint32_t call = 0);

  static Json::Value Record(const Json::Value& type, const char* value);

  Lab::Instance machine_;
};

}  // namespace Halvard::Testing
