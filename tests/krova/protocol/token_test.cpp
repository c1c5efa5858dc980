#include "krova/protocol/json/token.h"

#include <gtest/gtest.h>

namespace Krova::Protocol::Json {
namespace {

TEST(TokenWord, EachTokenHasItsWord) {
  const char* const words[] = {"null",     "bool",   "long",       "double",   "string",
                               "startObj", "endObj", "startArray", "endArray", "_UNKNOWN"};
  for (std::uint8_t i = 0; i < 10; ++i) EXPECT_STREQ(TokenWord(Token{i}), words[i]);
}

TEST(TokenWord, OrdinalBeyondTheTableIsUnknown) {
  EXPECT_STREQ(TokenWord(Token{10}), "_UNKNOWN");
  EXPECT_STREQ(TokenWord(Token{255}), "_UNKNOWN");
}

TEST(FindRequestField, WordsInTheOrderOfTheirOrdinals) {
  const char* const words[] = {"jsonrpc",     "id",    "method", "params", "serviceId",
                               "operationId", "input", "ctx",    "appCtx", "securityCtx"};
  for (std::uint8_t i = 0; i < 10; ++i) EXPECT_EQ(FindRequestField(words[i]), RequestField{i});
}

TEST(FindRequestField, AnyOtherWordIsUnknown) {
  for (const char* word : {"", "Id", "id ", "i", "ids", "appCTX", "_UNKNOWN", "STRUCTURE"}) {
    EXPECT_EQ(FindRequestField(word), RequestField::kUnknown) << word;
  }
  EXPECT_EQ(FindRequestField(std::string_view("id\0", 3)), RequestField::kUnknown);
}

TEST(FindMethod, InvokeIsTheOneMethod) {
  EXPECT_EQ(FindMethod("invoke"), Method::kInvoke);
  for (const char* word : {"", "Invoke", "invoke ", "invok", "_UNKNOWN"}) {
    EXPECT_EQ(FindMethod(word), Method::kUnknown) << word;
  }
}

}  // namespace
}  // namespace Krova::Protocol::Json
