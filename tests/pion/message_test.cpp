#include "pion/http/message.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using pion::http::request;
using pion::http::response;

TEST(Message, LooksHeadersUpWithoutCase) {
  request message;
  message.add_header("Content-Type", "application/json");
  EXPECT_EQ(message.get_header("content-TYPE"), "application/json");
  EXPECT_TRUE(message.has_header("CONTENT-type"));
  EXPECT_FALSE(message.has_header("Content-Typ"));
}

TEST(Message, AnswersTheEmptyStringForAnAbsentHeader) {
  request message;
  EXPECT_EQ(message.get_header("Accept"), "");
  message.add_header("Accept-Language", "en");
  EXPECT_EQ(message.get_header("Accept"), "");
  EXPECT_EQ(message.get_header("Zebra"), "");
}

TEST(Message, AnswersTheLastOfSeveralValues) {
  request message;
  message.add_header("X", "first");
  message.add_header("x", "last");
  EXPECT_EQ(message.get_header("X"), "last");
  EXPECT_EQ(message.get_headers().size(), 2u);
}

TEST(Message, ChangingAHeaderReplacesAllItsValuesOrAddsIt) {
  request message;
  message.add_header("Connection", "keep-alive");
  message.add_header("connection", "TE");
  message.change_header("CONNECTION", "close");
  EXPECT_EQ(message.get_headers().size(), 1u);
  EXPECT_EQ(message.get_header("Connection"), "close");
  message.change_header("Accept", "x");
  EXPECT_EQ(message.get_header("Accept"), "x");
  message.delete_header("accept");
  EXPECT_FALSE(message.has_header("Accept"));
}

TEST(Message, SettingTheContentTypeReplacesIt) {
  response message;
  message.set_content_type("a/b");
  message.set_content_type("c/d");
  EXPECT_EQ(message.get_header("Content-Type"), "c/d");
  EXPECT_EQ(message.get_headers().size(), 1u);
}

TEST(Message, ContentIsAnEmptyStringWhileThereIsNone) {
  const request message;
  ASSERT_NE(message.get_content(), nullptr);
  EXPECT_STREQ(message.get_content(), "");
  EXPECT_EQ(message.get_content_length(), 0u);
}

TEST(Message, ContentBufferEndsInAZeroByte) {
  request message;
  message.set_content_length(3);
  std::memcpy(message.create_content_buffer(), "abc", 3);
  EXPECT_STREQ(message.get_content(), "abc");
}

TEST(Message, ContentGrowsAsItIsPut) {
  request message;
  message.put_content(0, "ab");
  message.put_content(2, "cdefghij");
  message.put_content(10, "");
  EXPECT_STREQ(message.get_content(), "abcdefghij");
  message.put_content(1, "X");
  EXPECT_STREQ(message.get_content(), "aX");
}

TEST(Message, ClearingTakesTheContentOff) {
  request message;
  message.set_content_length(2);
  message.put_content(0, "ab");
  message.clear_content();
  EXPECT_EQ(message.get_content_length(), 0u);
  EXPECT_STREQ(message.get_content(), "");
}

TEST(Message, StaysOpenOnlyFrom11OnAndWithoutClose) {
  request message;
  EXPECT_EQ(message.get_version_string(), "HTTP/1.1");
  EXPECT_TRUE(message.check_keep_alive());
  message.change_header("Connection", "Close");
  EXPECT_TRUE(message.check_keep_alive());
  message.change_header("Connection", "close");
  EXPECT_FALSE(message.check_keep_alive());
  message.change_header("Connection", "keep-alive");
  message.set_version(1, 0);
  EXPECT_EQ(message.get_version_string(), "HTTP/1.0");
  EXPECT_FALSE(message.check_keep_alive());
}

TEST(Message, ResponsesAreOkUnlessTold) {
  response message;
  EXPECT_EQ(message.get_status_code(), 200u);
  EXPECT_EQ(message.get_status_message(), "OK");
  message.set_status_code(404);
  message.set_status_message("Not Found");
  EXPECT_EQ(message.get_status_code(), 404u);
  EXPECT_EQ(message.get_status_message(), "Not Found");
}

}  // namespace
