#include "thumbprint.h"

#include <gtest/gtest.h>

namespace Hvctl {
namespace {

constexpr const char* kNormal = "00:11:22:33:44:55:66:77:88:99:AA:BB:CC:DD:EE:FF:01:23:45:67";

TEST(NormalizeThumbprint, TakesTheAgentsOwnForm) {
  EXPECT_EQ(NormalizeThumbprint(kNormal), kNormal);
}

TEST(NormalizeThumbprint, TakesLowerCaseWithoutColons) {
  EXPECT_EQ(NormalizeThumbprint("00112233445566778899aabbccddeeff01234567"), kNormal);
}

TEST(NormalizeThumbprint, TakesBlanksBetweenPairs) {
  EXPECT_EQ(NormalizeThumbprint("00 11 22 33 44 55 66 77 88 99 aa bb cc dd ee ff 01 23 45 67"),
            kNormal);
}

TEST(NormalizeThumbprint, RefusesATextThatIsTooShortOrTooLong) {
  EXPECT_FALSE(NormalizeThumbprint(""));
  EXPECT_FALSE(NormalizeThumbprint("00:11"));
  EXPECT_FALSE(NormalizeThumbprint(std::string(kNormal) + ":00"));
}

TEST(NormalizeThumbprint, RefusesOtherCharacters) {
  EXPECT_FALSE(NormalizeThumbprint("0G112233445566778899aabbccddeeff01234567"));
}

}  // namespace
}  // namespace Hvctl
