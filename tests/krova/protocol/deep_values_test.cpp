// Trees of a million levels on a stack on which any recursion over them would crash.
#include <gtest/gtest.h>

#include <string>

#include "krova/protocol/value_text.h"
#include "krova/small_stack.h"

namespace Krova::Protocol::Json {
namespace {

using Testing::kDeep;

/// How each level of a nest begins and ends.
struct Level {
  const char* name;
  std::string open;
  std::string close;
};

const Level kLevels[] = {
    {"Lists", "[", "]"},
    {"Optionals", R"({"OPTIONAL":)", "}"},
    {"Structures", R"({"STRUCTURE":{"s":{"f":)", "}}}"},
    {"Errors", R"({"ERROR":{"e":{"f":)", "}}}"},
    {"Mixed", R"([{"OPTIONAL":{"STRUCTURE":{"s":{"a":1,"f":)", R"(,"g":""}}}},null])"},
};

std::string Repeat(const std::string& piece, int count) {
  std::string text;
  text.reserve(piece.size() * static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) text += piece;
  return text;
}

/// How often a level is repeated; the mixed one has three values in it.
int CountOf(const Level& level) {
  return level.name == std::string("Mixed") ? kDeep / 3 + 1 : kDeep;
}

std::string Nest(const Level& level, const std::string& inside) {
  return Repeat(level.open, CountOf(level)) + inside + Repeat(level.close, CountOf(level));
}

class DeepValues : public testing::TestWithParam<Level> {};

TEST_P(DeepValues, AreReadWrittenAndReleased) {
  const std::string text = Nest(GetParam(), "[]");
  std::string written;
  Testing::RunOnSmallStack([&] {
    const Testing::ReadOutcome outcome = Testing::ReadValue(text);
    ASSERT_TRUE(outcome.isJson);
    ASSERT_TRUE(outcome.faults.empty());
    written = Testing::WriteValue(outcome.value);
  });
  // Not EXPECT_EQ, which would print both.
  EXPECT_TRUE(written == text);
}

TEST_P(DeepValues, WithoutAnEndAreDropped) {
  const std::string text = Repeat(GetParam().open, CountOf(GetParam())) + "[],";
  Testing::RunOnSmallStack([&] { EXPECT_FALSE(Testing::ReadValue(text).isJson); });
}

TEST_P(DeepValues, HalfClosedAreDropped) {
  const int count = CountOf(GetParam());
  const std::string text =
      Repeat(GetParam().open, count) + "[]" + Repeat(GetParam().close, count - 1);
  Testing::RunOnSmallStack([&] { EXPECT_FALSE(Testing::ReadValue(text).isJson); });
}

TEST_P(DeepValues, WithAFaultAtTheBottomAreDropped) {
  const std::string text = Nest(GetParam(), R"({"NOTHING":1})");
  Testing::RunOnSmallStack([&] {
    TextCopy copy(text);
    FrameStack frames({&kValueFrame, {}});
    EXPECT_TRUE(ReadTokens(copy, frames));
    EXPECT_TRUE(frames.HasFailed());
    // One for each token from the fault on: at least a closing bracket for each level.
    EXPECT_GT(frames.Faults().size(), static_cast<std::size_t>(kDeep));
  });
}

INSTANTIATE_TEST_SUITE_P(Kinds, DeepValues, testing::ValuesIn(kLevels),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace Krova::Protocol::Json
