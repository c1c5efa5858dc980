#include "zelmo/xml_scan.h"

#include <gtest/gtest.h>

#include <string>

#include "soap_answers.h"

namespace Zelmo {
namespace {

std::string Nested(int depth) {
  std::string text;
  for (int i = 0; i < depth; ++i) text += "<a>";
  for (int i = 0; i < depth; ++i) text += "</a>";
  return text;
}

std::string ScanRefusal(const std::string& document) {
  return Testing::FailureOf([&] { ScanXml(document); });
}

TEST(ScanXml, OrdinaryDocumentsPass) {
  for (const char* document :
       {"<a/>", "<a></a>", "\xEF\xBB\xBF<?xml version=\"1.0\"?>\n<a/>\n", "<!--x--><a/><!-- < -->",
        "<a b='>' c=\"'/>\">x<b/>&lt;&#65;&#x1F600;</a>", "<a><![CDATA[</a><b>]]></a>",
        "<a><?p </a> ?></a>", "<a>&#9;</a>"}) {
    EXPECT_EQ(ScanRefusal(document), "") << document;
  }
}

TEST(ScanXml, NestingEndsAtTheLimit) {
  EXPECT_EQ(ScanRefusal(Nested(64)), "");
  EXPECT_EQ(ScanRefusal(Nested(65)), "Bad XML: its elements nest too deep.");
  EXPECT_EQ(ScanRefusal("<a>" + Nested(63) + Nested(63) + "</a>"), "");
  EXPECT_EQ(ScanRefusal("<a>" + std::string(100000, ' ') + "</a>"), "");
}

TEST(ScanXml, DeepNestingIsRefusedAtOnce) {
  std::string deep;
  for (int i = 0; i < 1000000; ++i) deep += "<a>";
  EXPECT_EQ(ScanRefusal(deep), "Bad XML: its elements nest too deep.");
}

TEST(ScanXml, DocumentTypeIsRefused) {
  EXPECT_EQ(ScanRefusal("<!DOCTYPE a [<!ENTITY b \"c\">]><a>&b;</a>"),
            "Bad XML: it has a document type declaration.");
  EXPECT_EQ(ScanRefusal("<a><!ELEMENT b></a>"), "Bad XML: it has a document type declaration.");
}

TEST(ScanXml, WhatStandsBesideTheElementIsRefused) {
  for (const char* document : {"x<a/>", "<a/>x", "<![CDATA[x]]><a/>", "<a/>&#65;"}) {
    EXPECT_EQ(ScanRefusal(document), "Bad XML: text beside the document's element.") << document;
  }
  EXPECT_EQ(ScanRefusal("<a/><b/>"), "Bad XML: a second element beside the document's.");
  EXPECT_EQ(ScanRefusal("</a>"), "Bad XML: an end tag without a start.");
}

TEST(ScanXml, EachBeginningOfADocumentIsRefused) {
  const std::string whole = "<a b='c'><!--d--><e/>&#65;<![CDATA[f]]><?g h?></a>";
  EXPECT_EQ(ScanRefusal(whole), "");
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_NE(ScanRefusal(whole.substr(0, size)), "") << size;
  }
}

TEST(ScanXml, ReferencesToNoCharacterAreRefused) {
  for (const char* reference : {"&#0;", "&#8;", "&#x1F;", "&#xD800;", "&#xFFFE;", "&#1114112;",
                                "&#99999999999;", "&#;", "&#x;", "&#6x;", "&#-1;", "&#65"}) {
    EXPECT_EQ(ScanRefusal("<a>" + std::string(reference) + "</a>"),
              "Bad XML: a reference to no character.")
        << reference;
    EXPECT_EQ(ScanRefusal("<a b='" + std::string(reference) + "'/>"),
              "Bad XML: a reference to no character.")
        << reference;
  }
}

TEST(ScanXml, CharactersThatXmlLacksAreRefused) {
  EXPECT_EQ(ScanRefusal(std::string("<a>\0</a>", 8)), "Bad XML: a character that XML lacks.");
  EXPECT_EQ(ScanRefusal("<a>\xFF</a>"), "Bad XML: a character that XML lacks.");
}

}  // namespace
}  // namespace Zelmo
