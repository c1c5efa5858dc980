#include "krova/protocol/json/json_writer.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "krova/protocol/json/plain_run.h"

namespace Krova::Protocol::Json {
namespace {

std::string Written(const std::function<void(JsonWriter&)>& write) {
  std::stringbuf sink;
  {
    JsonWriter writer(sink);
    write(writer);
  }
  return sink.str();
}

std::string WrittenString(std::string_view text) {
  return Written([&](JsonWriter& writer) { writer.String(text); });
}

/// Byte by byte, as told in the header.
std::string Escaped(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const std::string_view shortOnes = "\b\t\n\f\r\"\\";
    const std::size_t at = shortOnes.find(c);
    if (at != std::string_view::npos) {
      out += '\\';
      out += "btnfr\"\\"[at];
    } else if (byte < 0x20) {
      char code[8];
      std::snprintf(code, sizeof code, "\\u%04X", byte);
      out += code;
    } else {
      out += c;
    }
  }
  return out + "\"";
}

TEST(JsonWriter, ScalarsStandBare) {
  EXPECT_EQ(Written([](JsonWriter& w) { w.Null(); }), "null");
  EXPECT_EQ(Written([](JsonWriter& w) { w.Bool(true); }), "true");
  EXPECT_EQ(Written([](JsonWriter& w) { w.Bool(false); }), "false");
  EXPECT_EQ(Written([](JsonWriter& w) { w.Integer(-42); }), "-42");
  EXPECT_EQ(Written([](JsonWriter& w) { w.Double(1500); }), "1.5E3");
}

TEST(JsonWriter, CommasAndColonsComeByThemselvesAndNoWhiteSpaceDoes) {
  const std::string text = Written([](JsonWriter& w) {
    w.StartObject();
    w.Key("a");
    w.StartArray();
    w.EndArray();
    w.Key("b");
    w.StartArray();
    w.Integer(1);
    w.StartObject();
    w.EndObject();
    w.Null();
    w.String("x");
    w.Double(0);
    w.EndArray();
    w.Key("c");
    w.StartObject();
    w.Key("d");
    w.Bool(true);
    w.EndObject();
    w.EndObject();
  });
  EXPECT_EQ(text, R"({"a":[],"b":[1,{},null,"x",0.0E0],"c":{"d":true}})");
}

TEST(JsonWriter, QuoteIsPrecededByABackslash) { EXPECT_EQ(WrittenString("a\"b"), R"("a\"b")"); }

TEST(JsonWriter, ByteWithoutShortFormIsWrittenInUpperCaseHex) {
  EXPECT_EQ(WrittenString("\x1F"), "\"\\u001F\"");
  EXPECT_EQ(WrittenString(std::string_view("\0", 1)), "\"\\u0000\"");
  EXPECT_EQ(WrittenString("\v"), "\"\\u000B\"");
}

TEST(JsonWriter, ShortFormsOfControlBytes) {
  EXPECT_EQ(WrittenString("\b\t\n\f\r\\"), R"("\b\t\n\f\r\\")");
}

TEST(JsonWriter, SolidusDeleteAndHighBytesPassThrough) {
  EXPECT_EQ(WrittenString("a/b\x7F\xC3\xA4\xFF\x80"), "\"a/b\x7F\xC3\xA4\xFF\x80\"");
}

TEST(JsonWriter, EveryByteAtEveryPlaceOfARun) {
  for (int byte = 0; byte < 256; ++byte) {
    for (std::size_t place = 0; place < 19; ++place) {
      std::string text(19, 'x');
      text[place] = static_cast<char>(byte);
      ASSERT_EQ(WrittenString(text), Escaped(text)) << byte << " at " << place;
    }
  }
}

TEST(JsonWriter, AnyPlacesOfARunCanHoldSpecialBytes) {
  for (unsigned places = 0; places < 1u << kRunStep; ++places) {
    for (const char special : {'"', '\\', '\x1F', '\0'}) {
      std::string text = "abcdefg\xC3";
      for (std::size_t i = 0; i < kRunStep; ++i) {
        if ((places >> i & 1) != 0) text[i] = special;
      }
      ASSERT_EQ(WrittenString(text + "behind it"), Escaped(text + "behind it")) << places;
    }
  }
}

TEST(JsonWriter, NeighboursOfSpecialBytesAreNotMistakenForThem) {
  const std::string text = "\"#\\]\x1F\x20\"\"##\\\\]]\x01!\x7F\xA2\xDC";
  EXPECT_EQ(WrittenString(text), Escaped(text));
}

TEST(JsonWriter, KeysAreEscapedLikeStrings) {
  EXPECT_EQ(Written([](JsonWriter& w) {
              w.StartObject();
              w.Key("a\"\n");
              w.Null();
              w.EndObject();
            }),
            R"({"a\"\n":null})");
}

TEST(JsonWriter, TextsOfAnyLengthCrossTheBlocksUnharmed) {
  for (const std::size_t length : {4090U, 4093U, 4094U, 4095U, 4096U, 4097U, 8192U, 20'000U}) {
    for (const std::size_t special : {std::size_t{0}, length / 2, length - 1}) {
      std::string text(length, 'x');
      text[special] = '\x01';
      ASSERT_EQ(WrittenString(text), Escaped(text)) << length;
    }
  }
}

TEST(JsonWriter, ManySmallTokensCrossTheBlocksUnharmed) {
  std::string expected = "[";
  for (int i = 0; i < 3000; ++i) expected += (i == 0 ? "" : ",") + std::to_string(i);
  EXPECT_EQ(Written([](JsonWriter& w) {
              w.StartArray();
              for (int i = 0; i < 3000; ++i) w.Integer(i);
              w.EndArray();
            }),
            expected + "]");
}

TEST(JsonWriter, NeverReadsBeyondTheText) {
  const std::string text = "plain text without anything special";
  for (std::size_t length = 0; length <= text.size(); ++length) {
    // A vector of exactly this size, so that the address sanitizer sees a read beyond it.
    const std::vector<char> bytes(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_EQ(WrittenString({bytes.data(), length}), Escaped(text.substr(0, length)));
  }
}

TEST(CountPlain, FirstSpecialByteEndsTheCount) {
  for (std::size_t place = 0; place <= kRunStep; ++place) {
    for (const char special : {'"', '\\', '\0', '\x1F'}) {
      std::string text(kRunStep, '\x7F');
      for (std::size_t i = place; i < kRunStep; ++i) text[i] = special;
      EXPECT_EQ(CountPlain(text.data()), place);
    }
  }
}

}  // namespace
}  // namespace Krova::Protocol::Json
