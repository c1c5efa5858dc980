#include "frame_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "failure.h"

namespace Hvctl {
namespace {

using ::testing::ElementsAre;

struct Collected {
  std::vector<std::string> frames;
  FrameReader reader{[this](const std::string& frame) { frames.push_back(frame); }};
};

TEST(FrameReader, TakesTwoFramesFromOnePiece) {
  Collected collected;
  collected.reader.Append("7\r\n{\"a\":1}\r\n2\r\n{}\r\n");
  EXPECT_THAT(collected.frames, ElementsAre("{\"a\":1}", "{}"));
  EXPECT_TRUE(collected.reader.AtBoundary());
}

TEST(FrameReader, GivesTheSameForEachPlaceOfACut) {
  const std::string body = "a\r\n0123\r\n6789\r\n2\r\n{}\r\n";
  for (std::size_t cut = 0; cut <= body.size(); ++cut) {
    Collected collected;
    collected.reader.Append(std::string_view(body).substr(0, cut));
    collected.reader.Append(std::string_view(body).substr(cut));
    EXPECT_THAT(collected.frames, ElementsAre("0123\r\n6789", "{}")) << "cut at " << cut;
  }
}

TEST(FrameReader, IsNotAtABoundaryInsideAFrame) {
  Collected collected;
  collected.reader.Append("7\r\n{\"a\"");
  EXPECT_FALSE(collected.reader.AtBoundary());
}

TEST(FrameReader, RefusesWhatIsNoLength) {
  for (const char* body : {"x\r\n", "\r\n", "-1\r\n", "123456789\r\n", "0123456789abcdef",
                           "ffffffff\r\n", "2 \r\n{}\r\n"}) {
    Collected collected;
    EXPECT_THROW(collected.reader.Append(body), Failure) << body;
  }
}

TEST(FrameReader, RefusesAPayloadWithoutItsLineEnd) {
  Collected collected;
  EXPECT_THROW(collected.reader.Append("2\r\n{}xx"), Failure);
}

}  // namespace
}  // namespace Hvctl
