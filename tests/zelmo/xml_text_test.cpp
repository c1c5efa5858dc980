#include "zelmo/xml_text.h"

#include <gtest/gtest.h>

#include <string>

namespace Zelmo {
namespace {

using namespace std::string_literals;

TEST(IsXmlText, WhatXmlHasPasses) {
  for (const std::string& text :
       {""s, "a<b>&'\""s, "\t\r\n "s, "\x7f"s, "\xC2\x80"s, "\xDF\xBF"s, "\xE0\xA0\x80"s,
        "\xED\x9F\xBF"s, "\xEE\x80\x80"s, "\xEF\xBF\xBD"s, "\xF0\x90\x80\x80"s, "\xF4\x8F\xBF\xBF"s,
        "J\xC3\xB6rg \xE8\xA9\xA6\xE9\xA8\x93 \xF0\x9D\x92\xBD"s}) {
    EXPECT_TRUE(IsXmlText(text)) << text;
  }
}

TEST(IsXmlText, ControlCharactersAreRefused) {
  for (char c = 0; c < ' '; ++c) {
    const bool isBlank = c == '\t' || c == '\n' || c == '\r';
    EXPECT_EQ(IsXmlText("a"s + c + "b"), isBlank) << int{c};
  }
}

TEST(IsXmlText, CodePointsThatAreNoCharactersAreRefused) {
  for (const std::string& text :
       {"\xEF\xBF\xBE"s, "\xEF\xBF\xBF"s, "\xED\xA0\x80"s, "\xED\xBF\xBF"s, "\xF4\x90\x80\x80"s}) {
    EXPECT_FALSE(IsXmlText(text));
  }
}

TEST(IsXmlText, BytesThatAreNotUtf8AreRefused) {
  for (const std::string& text :
       {"\x80"s, "\xBF"s, "\xC3"s, "\xC3("s, "\xC0\x80"s, "\xC1\xBF"s, "\xE0\x80\x80"s,
        "\xE0\x9F\xBF"s, "\xE8\xA9"s, "\xE8\xA9("s, "\xF0\x8F\xBF\xBF"s, "\xF0\x9D\x92"s,
        "\xF8\x88\x80\x80\x80"s, "\xFE"s, "\xFF"s, "J\xF6rg"s}) {
    EXPECT_FALSE(IsXmlText(text));
  }
}

}  // namespace
}  // namespace Zelmo
