#include "krova/protocol/json/base64.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace Krova::Protocol::Json {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes BytesOf(const std::string& text) { return Bytes(text.begin(), text.end()); }

std::string FaultOf(std::string_view text) {
  Bytes bytes = {1, 2, 3};
  std::string fault;
  EXPECT_FALSE(DecodeBase64(text, bytes, fault)) << text;
  EXPECT_TRUE(bytes.empty()) << text;
  return fault;
}

Bytes Decoded(std::string_view text) {
  Bytes bytes = {9};
  std::string fault = "untouched";
  EXPECT_TRUE(DecodeBase64(text, bytes, fault)) << text << ": " << fault;
  EXPECT_EQ(fault, "untouched");
  return bytes;
}

std::string EncodedByOpenSsl(const Bytes& bytes) {
  std::vector<unsigned char> text((bytes.size() + 2) / 3 * 4 + 1);
  const int length = EVP_EncodeBlock(text.data(), bytes.data(), static_cast<int>(bytes.size()));
  return std::string(text.begin(), text.begin() + length);
}

TEST(Base64, KnownPairsInBothDirections) {
  const std::pair<const char*, const char*> pairs[] = {
      {"", ""},
      {"f", "Zg=="},
      {"fo", "Zm8="},
      {"foo", "Zm9v"},
      {"foob", "Zm9vYg=="},
      {"fooba", "Zm9vYmE="},
      {"foobar", "Zm9vYmFy"},
  };
  for (const auto& [plain, text] : pairs) {
    EXPECT_EQ(EncodeBase64(BytesOf(plain)), text);
    EXPECT_EQ(Decoded(text), BytesOf(plain));
  }
}

TEST(Base64, BothLastLettersOfTheAlphabetAreTheStandardOnes) {
  EXPECT_EQ(EncodeBase64({0xFB, 0xFF, 0xFE}), "+//+");
  EXPECT_EQ(Decoded("+//+"), (Bytes{0xFB, 0xFF, 0xFE}));
}

TEST(Base64, LengthThatIsNoMultipleOfFourIsAFault) {
  for (const char* text : {"A", "AB", "ABC", "ABCDE", "=", "*"}) {
    EXPECT_EQ(FaultOf(text), "Non-Valid base64!") << text;
  }
}

TEST(Base64, CharacterOutsideTheAlphabetIsAFault) {
  for (const char* text : {"AB*D", "AB-_", "AB\nC", "A BC",
                           "\xC3\xA4"
                           "AB",
                           "*===", "A*=="}) {
    EXPECT_EQ(FaultOf(text), "Non-Valid Character in Base 64!") << text;
  }
}

TEST(Base64, EveryByteIsEitherADigitAPadOrAFault) {
  const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (int c = 0; c < 256; ++c) {
    const char letter = static_cast<char>(c);
    if (letter == '=') continue;
    const std::string text = {letter, 'A', 'A', 'A'};
    if (alphabet.find(letter) != std::string::npos) {
      EXPECT_EQ(Decoded(text).size(), 3U);
    } else {
      EXPECT_EQ(FaultOf(text), "Non-Valid Character in Base 64!") << c;
    }
  }
}

TEST(Base64, PadBeforeTheLastTwoPlacesIsAFault) {
  for (const char* text : {"====", "A===", "=AAA", "A=AA", "AB=C", "AA==AAAA", "AA=AAAA="}) {
    EXPECT_EQ(FaultOf(text), "Invalid Padding in Base 64!") << text;
  }
}

TEST(Base64, FirstFaultFromTheLeftIsTold) {
  EXPECT_EQ(FaultOf("A=*A"), "Invalid Padding in Base 64!");
  EXPECT_EQ(FaultOf("*A=A"), "Non-Valid Character in Base 64!");
}

TEST(Base64, BitsBeyondTheLastByteAreNotLookedAt) {
  EXPECT_EQ(Decoded("Zh=="), BytesOf("f"));
  EXPECT_EQ(Decoded("Zm9="), BytesOf("fo"));
}

TEST(Base64, EncodesAsOpenSslDoesAndComesBack) {
  std::mt19937 random(20160229);
  for (std::size_t size = 0; size < 200; ++size) {
    Bytes bytes(size);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    const std::string text = EncodeBase64(bytes);
    EXPECT_EQ(text, EncodedByOpenSsl(bytes));
    EXPECT_EQ(Decoded(text), bytes);
  }
}

}  // namespace
}  // namespace Krova::Protocol::Json
