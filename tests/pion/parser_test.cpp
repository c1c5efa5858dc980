#include "pion/http/parser.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>

namespace {

using boost::system::error_code;
using pion::http::parser;
using pion::http::request;

/// What came of parsing: the request, what was left, and how it ended.
struct outcome {
  request message;
  boost::tribool result;
  error_code error;
  std::string rest;

  std::string content() const { return {message.get_content(), message.get_content_length()}; }
};

/// Feeds the bytes in pieces of the given size until the parser has an answer.
void feed(parser& with, std::string_view bytes, std::size_t piece, outcome& out) {
  out.result = boost::indeterminate;
  while (!bytes.empty() && boost::indeterminate(out.result)) {
    // A copy of its own, so that a sanitizer sees a parser that keeps a pointer to it.
    const std::string part(bytes.substr(0, piece));
    with.set_read_buffer(part.data(), part.size());
    out.result = with.parse(out.message, out.error);
    bytes.remove_prefix(part.size());
    out.rest = std::string(with.get_unread()) + std::string(bytes);
  }
}

outcome parse(std::string_view bytes, std::size_t piece = std::string_view::npos) {
  outcome out;
  parser fresh(true);
  feed(fresh, bytes, piece, out);
  return out;
}

bool finished(const outcome& out) { return bool(out.result) && out.message.is_valid(); }
bool refused(const outcome& out) {
  return bool(!out.result) && !out.message.is_valid() &&
         out.error.category() == parser::get_error_category();
}
bool wants_more(const outcome& out) { return boost::indeterminate(out.result) && !out.error; }

TEST(Parser, ReadsRequestsOnly) { EXPECT_THROW(parser(false), std::invalid_argument); }

TEST(Parser, CategoryIsNamedParser) {
  EXPECT_STREQ(parser::get_error_category().name(), "parser");
  for (int value = 1; value <= parser::ERROR_CHUNK_SIZE; ++value) {
    EXPECT_NE(parser::get_error_category().message(value), "parser error") << value;
  }
  EXPECT_EQ(parser::get_error_category().message(99), "parser error");
}

TEST(Parser, TakesTheTargetAsItIs) {
  const auto out = parse("FETCH /a%20b?x=1?y HTTP/1.1\r\nHost: h\r\n\r\n");
  ASSERT_TRUE(finished(out));
  EXPECT_EQ(out.message.get_method(), "FETCH");
  EXPECT_EQ(out.message.get_resource(), "/a%20b");
  EXPECT_EQ(out.message.get_query_string(), "x=1?y");
  EXPECT_EQ(out.message.get_version_string(), "HTTP/1.1");
  EXPECT_EQ(out.message.get_header("host"), "h");
}

TEST(Parser, ReadsAContentOfKnownLength) {
  const auto out = parse("POST / HTTP/1.1\r\nContent-Length: 5\r\n\r\nhellorest");
  ASSERT_TRUE(finished(out));
  EXPECT_EQ(out.content(), "hello");
  EXPECT_EQ(out.rest, "rest");
  EXPECT_FALSE(out.message.is_chunked());
}

TEST(Parser, ReadsAContentWhateverTheMethod) {
  for (const char* method : {"GET", "HEAD", "DELETE", "BREW"}) {
    const auto out = parse(std::string(method) + " / HTTP/1.1\r\nContent-Length: 2\r\n\r\n{}");
    ASSERT_TRUE(finished(out)) << method;
    EXPECT_EQ(out.content(), "{}") << method;
  }
}

TEST(Parser, HasNoContentWithoutALength) {
  const auto out = parse("POST / HTTP/1.1\r\n\r\nmore");
  ASSERT_TRUE(finished(out));
  EXPECT_EQ(out.content(), "");
  EXPECT_EQ(out.rest, "more");
}

TEST(Parser, DecodesChunksAndTakesTrailersAsHeaders) {
  const auto out = parse(
      "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n"
      "3;name=value\r\nabc\r\nA\r\n0123456789\r\n0\r\nX-Trailer: t\r\n\r\nrest");
  ASSERT_TRUE(finished(out));
  EXPECT_TRUE(out.message.is_chunked());
  EXPECT_EQ(out.content(), "abc0123456789");
  EXPECT_EQ(out.message.get_header("X-Trailer"), "t");
  EXPECT_EQ(out.rest, "rest");
}

TEST(Parser, TakesNoWordOnTheConnectionFromATrailer) {
  const auto out = parse(
      "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\nConnection: close\r\n\r\n"
      "0\r\nCONNECTION: keep-alive\r\nX-Trailer: t\r\n\r\n");
  ASSERT_TRUE(finished(out));
  EXPECT_EQ(out.message.get_header("Connection"), "close");
  EXPECT_EQ(out.message.get_header("X-Trailer"), "t");
}

TEST(Parser, GivesTheSameWhereverTheBytesAreCut) {
  constexpr std::string_view whole =
      "POST /api?q=1 HTTP/1.1\r\nHost: x\r\nAccept: a, b\r\nContent-Length: 11\r\n\r\nhello world";
  constexpr std::string_view chunked =
      "POST /api HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n6\r\n world\r\n0\r\n\r\n";
  for (const std::string_view bytes : {whole, chunked}) {
    for (std::size_t cut = 1; cut < bytes.size(); ++cut) {
      outcome out;
      parser fresh(true);
      feed(fresh, bytes.substr(0, cut), std::string_view::npos, out);
      ASSERT_TRUE(wants_more(out)) << cut;
      feed(fresh, std::string(bytes.substr(cut)) + "next", std::string_view::npos, out);
      ASSERT_TRUE(finished(out)) << cut;
      EXPECT_EQ(out.content(), "hello world") << cut;
      EXPECT_EQ(out.message.get_resource(), "/api") << cut;
      EXPECT_EQ(out.rest, "next") << cut;
    }
    const auto single = parse(bytes, 1);
    ASSERT_TRUE(finished(single));
    EXPECT_EQ(single.content(), "hello world");
  }
}

TEST(Parser, RefusesWhatIsNoRequest) {
  const std::string bad[] = {
      "G ET / HTTP/1.1\r\n\r\n",
      "G@T / HTTP/1.1\r\n\r\n",
      "GET /a\x01 HTTP/1.1\r\n\r\n",
      "GET / HTTP/x.1\r\n\r\n",
      "GET / HTTQ/1.1\r\n\r\n",
      "GET / HTTP/1.1\r\nBad Name: x\r\n\r\n",
      "GET / HTTP/1.1\r\nName: a\x01\r\n\r\n",
      "GET / HTTP/1.1\r\nContent-Length: five\r\n\r\n",
      "GET / HTTP/1.1\r\nContent-Length: -1\r\n\r\n",
      "GET / HTTP/1.1\r\nContent-Length: 3\r\nTransfer-Encoding: chunked\r\n\r\n",
      "GET / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nxyz\r\n",
      "GET / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabcd\r\n0\r\n\r\n",
      std::string("\x16\x03\x01\x02\x00", 5),
  };
  for (const std::string& bytes : bad) {
    const auto out = parse(bytes);
    EXPECT_TRUE(refused(out)) << bytes;
    EXPECT_EQ(out.error.value(), parser::ERROR_MALFORMED) << bytes;
  }
}

struct limit_case {
  const char* name;
  std::string fits;
  std::string exceeds;
  int error;
};

TEST(Parser, LimitsTheSizesOfWhatItReads) {
  const auto head = [](const std::string& method, const std::string& target,
                       const std::string& header) {
    return method + ' ' + target + " HTTP/1.1\r\n" + header + "\r\n\r\n";
  };
  const auto many = [](std::size_t count) { return std::string(count, 'x'); };
  const limit_case cases[] = {
      {"method", head(many(1024), "/", "a: b"), head(many(1025), "/", "a: b"),
       parser::ERROR_METHOD_SIZE},
      {"resource", head("GET", '/' + many(262143), "a: b"), head("GET", '/' + many(262144), "a: b"),
       parser::ERROR_RESOURCE_SIZE},
      {"query", head("GET", "/?" + many(1048576), "a: b"),
       head("GET", "/?" + many(1048577), "a: b"), parser::ERROR_QUERY_SIZE},
      {"header name", head("GET", "/", many(1024) + ": b"), head("GET", "/", many(1025) + ": b"),
       parser::ERROR_HEADER_NAME_SIZE},
      {"header value", head("GET", "/", "a: " + many(1048576)),
       head("GET", "/", "a: " + many(1048577)), parser::ERROR_HEADER_VALUE_SIZE},
  };
  for (const limit_case& row : cases) {
    EXPECT_TRUE(finished(parse(row.fits, 8192))) << row.name;
    const auto out = parse(row.exceeds, 8192);
    EXPECT_TRUE(refused(out)) << row.name;
    EXPECT_EQ(out.error.value(), row.error) << row.name;
  }
}

TEST(Parser, TakesManyHeaders) {
  std::string bytes = "GET / HTTP/1.1\r\n";
  for (int i = 0; i < 20000; ++i) bytes += "X-" + std::to_string(i) + ": y\r\n";
  const auto out = parse(bytes + "\r\n", 8192);
  ASSERT_TRUE(finished(out));
  EXPECT_EQ(out.message.get_headers().size(), 20000u);
}

TEST(Parser, RefusesHeadersWithoutEnd) {
  std::string bytes = "GET / HTTP/1.1\r\n";
  while (bytes.size() <= parser::HEADER_MAX) bytes += "X: " + std::string(60000, 'y') + "\r\n";
  const auto out = parse(bytes, 8192);
  EXPECT_TRUE(refused(out));
  EXPECT_EQ(out.error.value(), parser::ERROR_HEADERS_SIZE);
}

TEST(Parser, RefusesAChunkLineWithoutEnd) {
  const std::string head = "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n";
  const auto extension = parse(head + "1;" + std::string(100000, 'x'), 1000);
  EXPECT_TRUE(refused(extension));
  EXPECT_EQ(extension.error.value(), parser::ERROR_CHUNK_SIZE);
  std::string trailer = head + "0\r\n";
  while (trailer.size() < 200000) trailer += "X: y\r\n";
  EXPECT_EQ(parse(trailer, 1000).error.value(), parser::ERROR_CHUNK_SIZE);
}

TEST(Parser, KeepsTheContentUpToTheLimitAndDropsTheRest) {
  const std::string content(3 * 1048576, 'c');
  const auto plain = parse("POST / HTTP/1.1\r\nContent-Length: " + std::to_string(content.size()) +
                               "\r\n\r\n" + content + "next",
                           8192);
  ASSERT_TRUE(finished(plain));
  EXPECT_EQ(plain.message.get_content_length(), 1048576u);
  EXPECT_EQ(plain.rest, "next");

  const auto chunked = parse("POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n100001\r\n" +
                                 content.substr(0, 1048577) + "\r\n0\r\n\r\nnext",
                             8192);
  ASSERT_TRUE(finished(chunked));
  EXPECT_EQ(chunked.message.get_content_length(), 1048576u);
  EXPECT_EQ(chunked.content().size(), 1048576u);
  EXPECT_EQ(chunked.rest, "next");
}

TEST(Parser, LimitOfTheContentCanBeChanged) {
  outcome out;
  parser fresh(true, 4);
  EXPECT_EQ(fresh.get_max_content_length(), 4u);
  fresh.set_max_content_length(3);
  feed(fresh, "POST / HTTP/1.1\r\nContent-Length: 6\r\n\r\nabcdef", 1, out);
  ASSERT_TRUE(finished(out));
  EXPECT_EQ(out.content(), "abc");
}

TEST(Parser, StopsAfterTheHeadersIfTold) {
  outcome out;
  parser fresh(true);
  fresh.parse_headers_only();
  feed(fresh, "POST / HTTP/1.1\r\nContent-Length: 5\r\n\r\nhel", std::string_view::npos, out);
  ASSERT_TRUE(finished(out));
  EXPECT_EQ(out.message.get_content_length(), 5u);
  EXPECT_STREQ(out.message.get_content(), "");
  EXPECT_EQ(out.rest, "hel");
}

/// Headers with one parser, the content with a fresh one.
outcome read_in_two_phases(std::string_view bytes, std::size_t piece) {
  outcome out;
  parser headers(true);
  headers.parse_headers_only();
  feed(headers, bytes, piece, out);
  EXPECT_TRUE(finished(out));
  parser content(true);
  content.skip_header_parsing(out.message);
  const std::string rest = out.rest;
  if (content.is_finished()) {
    out.result = content.parse(out.message, out.error);
  } else {
    feed(content, rest, piece, out);
  }
  return out;
}

TEST(Parser, ReadsAContentWhoseHeadersAreKnown) {
  for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, std::string_view::npos}) {
    const auto plain =
        read_in_two_phases("PUT /r?q HTTP/1.0\r\nContent-Length: 5\r\n\r\nhello!", piece);
    ASSERT_TRUE(finished(plain));
    EXPECT_EQ(plain.content(), "hello");
    EXPECT_EQ(plain.rest, "!");
    // The second parser sees no request line and has to leave the first one's findings alone.
    EXPECT_EQ(plain.message.get_method(), "PUT");
    EXPECT_EQ(plain.message.get_resource(), "/r");
    EXPECT_EQ(plain.message.get_query_string(), "q");
    EXPECT_EQ(plain.message.get_headers().size(), 1u);

    const auto chunked = read_in_two_phases(
        "PUT / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\n0\r\n\r\n", piece);
    ASSERT_TRUE(finished(chunked));
    EXPECT_EQ(chunked.content(), "hello");

    const auto none =
        read_in_two_phases("PUT / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", piece);
    ASSERT_TRUE(finished(none));
    EXPECT_EQ(none.message.get_content_length(), 0u);
  }
}

TEST(Parser, FindsAtOnceThatThereIsNoContent) {
  for (const char* header : {"", "Content-Length: 0\r\n"}) {
    const auto out =
        read_in_two_phases(std::string("POST / HTTP/1.1\r\n") + header + "\r\n", std::string::npos);
    EXPECT_TRUE(finished(out)) << header;
    EXPECT_EQ(out.message.get_content_length(), 0u) << header;
  }
}

TEST(Parser, CutsAContentWhoseHeadersAreKnown) {
  const std::string content(1048577, 'c');
  const auto out = read_in_two_phases(
      "POST / HTTP/1.1\r\nContent-Length: 1048577\r\n\r\n" + content + "next", 8192);
  ASSERT_TRUE(finished(out));
  EXPECT_EQ(out.message.get_content_length(), 1048576u);
  EXPECT_EQ(out.rest, "next");
}

}  // namespace
