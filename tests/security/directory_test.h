// What the tests of the directory service share.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/logging.h"
#include "directory/owned_objects.h"
#include "support/log_lines.h"
#include "support/slapd.h"

namespace Halvard::Security {

/// A machine that finds no directory until a test places one.
class DirectoryTest : public ::testing::Test {
 protected:
  DirectoryTest() {
    for (const char* host : {"localhost", "node.example"}) {
      for (const int port : {636, 11712}) Lab::PlaceNothing(machine_, host, port);
    }
  }
  /// Nothing that the directory client handed out may be left, whatever a test did.
  ~DirectoryTest() override { EXPECT_THAT(Lab::DirectoryObjects().Kinds(), ::testing::IsEmpty()); }

  void Place(const Lab::Slapd& server, const std::string& host, int port) {
    Lab::PlaceDirectory(machine_, server, host, port);
  }

  Lab::Instance machine_;
  LogScope log_;
};

/// The same with a server.
class DirectoryServerTest : public DirectoryTest {
 protected:
  void SetUp() override { SKIP_WITHOUT_SLAPD(); }
};

}  // namespace Halvard::Security
