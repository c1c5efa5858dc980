#include "service/http_url.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace Halvard::MigratorSvc {
namespace {

TEST(ParseHttpUrlWrapper, SplitsWhatIsAnUrl) {
  std::string scheme;
  std::string host;
  std::int32_t port = 0;
  std::string path;
  EXPECT_TRUE(ParseHttpUrlWrapper("HTTPS://n.example:7444/a/b", scheme, host, port, path));
  EXPECT_EQ(scheme + " " + host + " " + std::to_string(port) + " " + path,
            "https n.example 7444 /a/b");
}

TEST(ParseHttpUrlWrapper, AssignsNothingForAnythingElse) {
  std::string scheme = "s";
  std::string host = "h";
  std::int32_t port = 7;
  std::string path = "p";
  for (const char* url : {"", "n.example", "https://", "https://u@n/", "https://n:x/"}) {
    EXPECT_FALSE(ParseHttpUrlWrapper(url, scheme, host, port, path)) << url;
  }
  EXPECT_EQ(scheme + host + std::to_string(port) + path, "sh7p");
}

}  // namespace
}  // namespace Halvard::MigratorSvc
