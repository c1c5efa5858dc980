#include "core/octet_text.h"

#include <gtest/gtest.h>

namespace Halvard {
namespace {

TEST(OctetText, HasTwoDigitsForEachByte) {
  const unsigned char octets[] = {0x00, 0x0A, 0xF0, 0x1B, 0xFF};
  EXPECT_EQ(OctetText(octets, 5), "00:0A:F0:1B:FF");
  EXPECT_EQ(OctetText(octets, 1), "00");
  EXPECT_EQ(OctetText(octets, 0), "");
}

}  // namespace
}  // namespace Halvard
