#include "network/address_texts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/logging.h"
#include "support/lab_instance.h"
#include "support/log_lines.h"

namespace Halvard::Network {
namespace {

TEST(GetNameInfoWrapper, AbsentAddressIsEmptyWithoutALine) {
  const Lab::Instance machine;
  const LogScope log;
  EXPECT_EQ(GetNameInfoWrapper({nullptr, 0}), L"");
  EXPECT_THAT(Testing::OwnLog(), ::testing::IsEmpty());
}

TEST(GetAddressFamilyName, KnowsTwoFamilies) {
  sockaddr address{};
  address.sa_family = AF_INET;
  EXPECT_EQ(GetAddressFamilyName(&address), L"AF_INET");
  address.sa_family = AF_INET6;
  EXPECT_EQ(GetAddressFamilyName(&address), L"AF_INET6");
  address.sa_family = 17;
  EXPECT_EQ(GetAddressFamilyName(&address), L"AF_UNSPEC");
}

}  // namespace
}  // namespace Halvard::Network
