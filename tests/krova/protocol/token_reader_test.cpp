#include "krova/protocol/json/token_reader.h"

#include <gtest/gtest.h>

#include <istream>
#include <sstream>
#include <string>

#include "krova/protocol/value_text.h"

namespace Krova::Protocol::Json {
namespace {

bool IsJson(std::string_view text) { return Testing::ReadValue(text).isJson; }

TEST(ReadTokens, WhiteSpaceAroundTokensIsSkipped) {
  const Testing::ReadOutcome outcome = Testing::ReadValue(" \r\n\t[ 1 ,\n\"x\" , { } ]");
  ASSERT_TRUE(outcome.isJson);
  EXPECT_EQ(Testing::WriteValue(outcome.value), R"([1,"x",{}])");
}

TEST(ReadTokens, OnlyTheFirstValueIsReadIn) {
  for (const char* behind : {" trailing text", "]", "}", "{", "\"", "[1,", "\x01"}) {
    const Testing::ReadOutcome outcome = Testing::ReadValue("[1]" + std::string(behind));
    ASSERT_TRUE(outcome.isJson) << behind;
    EXPECT_EQ(Testing::WriteValue(outcome.value), "[1]");
  }
}

TEST(ReadTokens, TextWithoutAValueIsNoJson) {
  for (const char* text : {"", " ", "\r\n\t ", ",", ":", "]", "}", "\x01", "\xEF\xBB\xBF"}) {
    EXPECT_FALSE(IsJson(text)) << text;
  }
}

TEST(ReadTokens, MalformedTextIsNoJson) {
  for (const char* text :
       {"nul",      "True",      "NaN",         "Infinity",    "'x'",
        "\"x",      "\"\\x\"",   "\"\\u12g4\"", "\"\\ud800\"", "\"\\ud800\\u0041\"",
        "\"\n\"",   "\"\x1F\"",  "\"\x1A\"",    "[01]",        "-",
        "+1",       "1.",        ".5",          "1e",          "1e+",
        "[",        "[1",        "[1,",         "[1,]",        "[1 2]",
        "[,1]",     "[1}",       "{",           "{\"a\"",      "{\"a\":",
        "{\"a\":1", "{\"a\":1,", "{\"a\":1,}",  "{\"a\" 1}",   "{a:1}",
        "{1:1}",    "{\"a\":1]", "// x\n1",     "/* x */1"}) {
    EXPECT_FALSE(IsJson(text)) << text;
  }
}

TEST(ReadTokens, NullByteEndsTheText) {
  EXPECT_FALSE(IsJson(std::string_view("[1\0]", 4)));
  EXPECT_FALSE(IsJson(std::string_view("\"a\0b\"", 5)));
  EXPECT_FALSE(IsJson(std::string_view("\0[1]", 4)));
  EXPECT_TRUE(IsJson(std::string_view("[1]\0x", 5)));
}

TEST(ReadTokens, NumberFarBeyondTheLargestDoubleIsNoJson) {
  EXPECT_FALSE(IsJson("1e400"));
  EXPECT_FALSE(IsJson("[1.8e310]"));
  EXPECT_FALSE(IsJson(std::string(400, '9')));
  EXPECT_TRUE(IsJson("1e-400"));
}

TEST(ReadTokens, LargestDoubleComesBackAlthoughItsTextIsRoundedUp) {
  const std::string text = "[1.797693134862316E308,-1.797693134862316E308]";
  EXPECT_EQ(Testing::WriteValue(Testing::ReadValue(text).value), text);
}

TEST(ReadTokens, LongStringsAreReadInPlace) {
  const std::string plain(100'000, 'x');
  EXPECT_EQ(Testing::WriteValue(Testing::ReadValue("\"" + plain + "\"").value),
            "\"" + plain + "\"");
}

/// Gives its text in pieces, as a file or a network would.
class SlowSource : public std::streambuf {
 public:
  SlowSource(std::string text, std::size_t piece) : text_(std::move(text)), piece_(piece) {}

 private:
  int_type underflow() override {
    if (at_ == text_.size()) return traits_type::eof();
    const std::size_t count = std::min(piece_, text_.size() - at_);
    setg(text_.data() + at_, text_.data() + at_, text_.data() + at_ + count);
    at_ += count;
    return traits_type::to_int_type(*gptr());
  }

  std::string text_;
  std::size_t piece_;
  std::size_t at_ = 0;
};

TEST(TextCopy, TakesAllThatTheSourceHas) {
  std::string text;
  for (int i = 0; i < 500; ++i) text += std::to_string(i) + " ";
  for (const std::size_t piece : {1U, 2U, 7U, 64U, 1000U, 100'000U}) {
    SlowSource source(text, piece);
    TextCopy copy(source);
    EXPECT_EQ(std::string(copy.Data(), copy.Size()), text);
  }
}

TEST(TextCopy, StartsWhereTheSourceStands) {
  std::stringbuf source("abcdef");
  source.sbumpc();
  TextCopy copy(source);
  EXPECT_EQ(std::string(copy.Data(), copy.Size()), "bcdef");
  EXPECT_LE(source.in_avail(), 0);
}

TEST(TextCopy, NullBytesStandBehindTheText) {
  for (const std::string_view text : {"", "x", "twelve bytes"}) {
    TextCopy copy(text);
    EXPECT_EQ(copy.Size(), text.size());
    EXPECT_EQ(std::string(copy.Data() + text.size(), 8), std::string(8, '\0'));
  }
}

}  // namespace
}  // namespace Krova::Protocol::Json
