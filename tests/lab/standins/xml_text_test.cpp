// Characters of a request: what passes and what doesn't.
#include "xml_text.h"

#include <gtest/gtest.h>

#include <string>

#include "soap_fault.h"

namespace Lab::Kelvane {
namespace {

/// \return What is said about a text in an element; empty if it passes.
std::string XmlErrorOf(const std::string& text) {
  try {
    CheckXmlText(R"(<?xml version="1.0" encoding="UTF-8"?><a>)" + text + "</a>");
    return {};
  } catch (const SoapFault& fault) {
    return fault.what();
  }
}

TEST(CheckXmlText, TextOfEveryScriptPasses) {
  EXPECT_EQ(XmlErrorOf("J\u00F6rg \u8A66\u9A13 \U0001D4BD\t\n \x7F"), "");
  EXPECT_EQ(XmlErrorOf("\uD7FF\uE000\uFFFD\U0010FFFF"), "");
}

TEST(CheckXmlText, ReferencesOfXmlPass) {
  EXPECT_EQ(XmlErrorOf("&amp;&lt;&gt;&quot;&apos;&#9;&#xD;&#x1D4BD;"), "");
}

TEST(CheckXmlText, OtherReferencesDoNot) {
  for (const char* text : {"&", "&;", "&nbsp;", "&#;", "&#x;", "&#0;", "&#x1F;", "&#xD800;",
                           "&#xFFFE;", "&#x110000;", "&#12a;", "&#-1;", "&amp"}) {
    EXPECT_EQ(XmlErrorOf(text), "The request has a bare & or an unknown reference.") << text;
  }
}

TEST(CheckXmlText, CharactersThatXmlLacksAreRefused) {
  for (const char* text : {"\x01", "\x1F", "\uFFFE", "\uFFFF"}) {
    EXPECT_EQ(XmlErrorOf(text), "The request has a character that XML lacks.") << text;
  }
  EXPECT_EQ(XmlErrorOf(std::string(1, '\0')), "The request has a character that XML lacks.");
}

TEST(CheckXmlText, BytesThatAreNotUtf8AreRefused) {
  for (const char* text :
       {"\x80", "\xC0\x80", "\xC1\xBF", "\xC3", "\xC3(", "\xE0\x80\x80", "\xE2\x82",
        "\xF0\x80\x80\x80", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF"}) {
    EXPECT_NE(XmlErrorOf(text), "") << text;
  }
  EXPECT_EQ(XmlErrorOf("\xED\xA0\x80"), "The request has a character that XML lacks.");
}

TEST(CheckXmlText, GreaterThanStandsInTagsAndAttributesOnly) {
  EXPECT_EQ(XmlErrorOf("<b c=\"d>e\"/>"), "");
  EXPECT_EQ(XmlErrorOf("<b c='d\">'/>"), "");
  EXPECT_EQ(XmlErrorOf(">"), "The request has a bare >.");
  EXPECT_EQ(XmlErrorOf("<b c=\"<\"/>"), "The request has a bare < in an attribute.");
  EXPECT_EQ(XmlErrorOf("<b <c/>"), "The request has a < within a tag.");
}

TEST(EscapeXml, RoundTripsThroughTheCheck) {
  const std::string text = "a<b>&\"c'\r]]>";
  EXPECT_EQ(EscapeXml(text), "a&lt;b&gt;&amp;&quot;c'&#13;]]&gt;");
  EXPECT_EQ(XmlErrorOf(EscapeXml(text)), "");
}

}  // namespace
}  // namespace Lab::Kelvane
