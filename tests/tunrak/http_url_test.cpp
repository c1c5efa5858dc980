#include "tunrak/http_url.h"

#include <gtest/gtest.h>

#include "tunrak/exception.h"

namespace Tunrak::Http {
namespace {

struct Parts {
  std::string scheme = "untouched";
  std::string host = "untouched";
  std::int32_t port = -7;
  std::string path = "untouched";

  friend bool operator==(const Parts&, const Parts&) = default;
};

void PrintTo(const Parts& parts, std::ostream* stream) {
  *stream << parts.scheme << " | " << parts.host << " | " << parts.port << " | " << parts.path;
}

Parts Split(const std::string& url) {
  Parts parts;
  ParseHttpURL(url, parts.scheme, parts.host, parts.port, parts.path);
  return parts;
}

TEST(ParseHttpURL, UrlIsSplit) {
  EXPECT_EQ(Split("https://sso.corp.example:7444/sts/STSService?a=1#b"),
            (Parts{"https", "sso.corp.example", 7444, "/sts/STSService?a=1#b"}));
  EXPECT_EQ(Split("HTTPS://192.0.2.1:1"), (Parts{"https", "192.0.2.1", 1, "/"}));
  EXPECT_EQ(Split("https://[2001:db8::1]:65535/x"), (Parts{"https", "2001:db8::1", 65535, "/x"}));
}

TEST(ParseHttpURL, SchemeDecidesTheDefaultPort) {
  EXPECT_EQ(Split("http://kv/a"), (Parts{"http", "kv", 80, "/a"}));
  EXPECT_EQ(Split("https://kv/a"), (Parts{"https", "kv", 443, "/a"}));
  EXPECT_EQ(Split("https://[::1]"), (Parts{"https", "::1", 443, "/"}));
  EXPECT_EQ(Split("https://kv?q"), (Parts{"https", "kv", 443, "/?q"}));
}

TEST(ParseHttpURL, AnythingElseIsRefusedAndAssignsNothing) {
  for (const char* url : {"",
                          "kv",
                          "kv:443",
                          "/sts",
                          "ldap://kv:636",
                          "://kv",
                          "https://",
                          "https:///sts",
                          "https://:443/",
                          "https://kv:",
                          "https://kv:/",
                          "https://kv:0",
                          "https://kv:65536",
                          "https://kv:-1",
                          "https://kv:+1",
                          "https://kv:4 3",
                          "https://kv:443x",
                          "https://kv:a",
                          "https://kv:99999999999999999999",
                          "https://[::1",
                          "https://[::1]x",
                          "https://[]",
                          "https://user@kv/",
                          "https://k v/",
                          "https://kv\r\n/"}) {
    Parts parts;
    EXPECT_THROW(ParseHttpURL(url, parts.scheme, parts.host, parts.port, parts.path), Exception)
        << url;
    EXPECT_EQ(parts, Parts()) << url;
  }
}

}  // namespace
}  // namespace Tunrak::Http
