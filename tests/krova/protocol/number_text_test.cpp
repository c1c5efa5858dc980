#include "krova/protocol/json/number_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

namespace Krova::Protocol::Json {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

std::string TextOf(double value) {
  char buffer[kNumberSize];
  return std::string(buffer, FormatDouble(value, buffer));
}

std::string TextOf(std::int64_t value) {
  char buffer[kNumberSize];
  return std::string(buffer, FormatInteger(value, buffer));
}

/// The rule once more, step by step over what the C library prints.
std::string TextByTheRule(double value) {
  char printed[64];
  std::snprintf(printed, sizeof printed, "%.15E", value);
  const std::string text = printed;
  const std::size_t mark = text.find('E');
  std::string fraction = text.substr(0, mark);
  while (fraction.back() == '0' && fraction[fraction.size() - 2] != '.') fraction.pop_back();
  std::string exponent = text.substr(mark + 1);
  const std::string sign = exponent.front() == '-' ? "-" : "";
  exponent.erase(0, 1);
  while (exponent.size() > 1 && exponent.front() == '0') exponent.erase(0, 1);
  return fraction + "E" + sign + exponent;
}

TEST(FormatDouble, KnownTexts) {
  const std::pair<double, const char*> cases[] = {
      {0.0, "0.0E0"},
      {-0.0, "-0.0E0"},
      {1.0, "1.0E0"},
      {0.5, "5.0E-1"},
      {1500.0, "1.5E3"},
      {1e-10, "1.0E-10"},
      {1e10, "1.0E10"},
      {-123.25, "-1.2325E2"},
      {1e100, "1.0E100"},
      {1e-100, "1.0E-100"},
      {1e-200, "1.0E-200"},
      {1.0 / 3, "3.333333333333333E-1"},
      {2.0 / 3, "6.666666666666666E-1"},
      {100000000000000000000.0, "1.0E20"},
      {std::numeric_limits<double>::max(), "1.797693134862316E308"},
      {std::numeric_limits<double>::denorm_min(), "4.940656458412465E-324"},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(TextOf(value), text);
}

TEST(FormatDouble, WhatIsNotFiniteKeepsItsPrintedWord) {
  EXPECT_EQ(TextOf(kInfinity), "INF");
  EXPECT_EQ(TextOf(-kInfinity), "-INF");
  EXPECT_EQ(TextOf(std::copysign(kNan, 1.0)), "NAN");
  EXPECT_EQ(TextOf(std::copysign(kNan, -1.0)), "-NAN");
}

TEST(FormatDouble, AgreesWithTheRuleForRandomBits) {
  std::mt19937_64 random(17);
  for (int i = 0; i < 50'000; ++i) {
    const double value = std::bit_cast<double>(random());
    if (!std::isfinite(value)) continue;
    ASSERT_EQ(TextOf(value), TextByTheRule(value));
  }
}

TEST(FormatDouble, AgreesWithTheRuleForShortDecimals) {
  for (int digits = 1; digits < 1000; ++digits) {
    for (const double scale : {1e-30, 1e-3, 0.1, 1.0, 10.0, 1e6, 1e22, 1e23}) {
      ASSERT_EQ(TextOf(digits * scale), TextByTheRule(digits * scale));
    }
  }
}

TEST(FormatInteger, BothEndsOfTheRange) {
  EXPECT_EQ(TextOf(std::int64_t{0}), "0");
  EXPECT_EQ(TextOf(std::int64_t{-1}), "-1");
  EXPECT_EQ(TextOf(std::int64_t{INT64_MAX}), "9223372036854775807");
  EXPECT_EQ(TextOf(std::int64_t{INT64_MIN}), "-9223372036854775808");
}

TEST(IsIntegerText, FractionOrExponentMakesADouble) {
  for (const char* text : {"0", "-0", "12", "-9223372036854775808", "99999999999999999999"}) {
    EXPECT_TRUE(IsIntegerText(text)) << text;
  }
  for (const char* text : {"0.0", "1e1", "1E1", "-1.5", "1e-1"}) {
    EXPECT_FALSE(IsIntegerText(text)) << text;
  }
}

TEST(ParseInteger, WholeRange) {
  EXPECT_EQ(ParseInteger("0"), 0);
  EXPECT_EQ(ParseInteger("-0"), 0);
  EXPECT_EQ(ParseInteger("9223372036854775807"), INT64_MAX);
  EXPECT_EQ(ParseInteger("-9223372036854775808"), INT64_MIN);
}

TEST(ParseInteger, BeyondTheRangeGivesTheNearestEnd) {
  EXPECT_EQ(ParseInteger("9223372036854775808"), INT64_MAX);
  EXPECT_EQ(ParseInteger("18446744073709551616"), INT64_MAX);
  EXPECT_EQ(ParseInteger("-9223372036854775809"), INT64_MIN);
  EXPECT_EQ(ParseInteger("-" + std::string(300, '9')), INT64_MIN);
}

TEST(ParseDouble, IsExact) {
  for (const char* text : {"0.1", "1e23", "8.41e21", "5e-324", "2.2250738585072011e-308",
                           "1.7976931348623157e308", "9007199254740993.0", "-1.5E+3"}) {
    EXPECT_EQ(ParseDouble(text), std::strtod(text, nullptr)) << text;
  }
}

TEST(ParseDouble, TooSmallIsZeroWithItsSign) {
  for (const std::string& text :
       {std::string("1e-400"), std::string("0.2e-330"), std::string("1e-99999999999999999999"),
        std::string("123e-500"), std::string("0.00000001E-330"),
        "0." + std::string(400, '0') + "1"}) {
    EXPECT_EQ(ParseDouble(text), 0.0) << text;
    EXPECT_FALSE(std::signbit(ParseDouble(text))) << text;
    EXPECT_EQ(ParseDouble("-" + text), 0.0) << text;
    EXPECT_TRUE(std::signbit(ParseDouble("-" + text))) << text;
  }
}

TEST(ParseDouble, TooLargeIsTheLargestWithItsSign) {
  constexpr double kMax = std::numeric_limits<double>::max();
  for (const std::string text : {"1.797693134862316E308", "1.8e308", "1e309", "0.2e310",
                                 "1e99999999999999999999", "0.001e+320"}) {
    EXPECT_EQ(ParseDouble(text), kMax) << text;
    EXPECT_EQ(ParseDouble("-" + text), -kMax) << text;
  }
}

TEST(ParseDouble, FarZerosDontHideTheMagnitude) {
  const std::string far = "0." + std::string(200'000, '0') + "1";
  EXPECT_EQ(ParseDouble(far + "e150000"), 0.0);
  EXPECT_EQ(ParseDouble(far + "e250000"), std::numeric_limits<double>::max());
}

TEST(Doubles, TextComesBackAsTheSameText) {
  std::mt19937_64 random(4);
  for (int i = 0; i < 20'000; ++i) {
    const double value = std::bit_cast<double>(random());
    if (!std::isfinite(value)) continue;
    ASSERT_EQ(TextOf(ParseDouble(TextOf(value))), TextOf(value));
  }
  for (const double value :
       {std::numeric_limits<double>::max(), std::nextafter(std::numeric_limits<double>::max(), 1.0),
        std::numeric_limits<double>::denorm_min()}) {
    EXPECT_EQ(TextOf(ParseDouble(TextOf(value))), TextOf(value));
    EXPECT_EQ(TextOf(ParseDouble(TextOf(-value))), TextOf(-value));
  }
}

}  // namespace
}  // namespace Krova::Protocol::Json
