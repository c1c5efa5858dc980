#include "pion/http/resource_table.h"

#include <gtest/gtest.h>

#include "pion/http/error_pages.h"

namespace {

using pion::http::resource_table;

struct match_case {
  const char* resource;
  bool matches;
};

class ApiResource : public testing::TestWithParam<match_case> {};

TEST_P(ApiResource, MatchesItselfAndWhatIsBelow) {
  resource_table<int> table;
  table.add("/api", 1);
  EXPECT_EQ(table.find(GetParam().resource) != nullptr, GetParam().matches);
}
INSTANTIATE_TEST_SUITE_P(
    Names, ApiResource,
    testing::Values(match_case{"/api", true}, match_case{"/api/", true}, match_case{"/api//", true},
                    match_case{"/api/x/y%2f", true}, match_case{"/apix", false},
                    match_case{"/API", false}, match_case{"//api", false},
                    match_case{"/%61pi", false}, match_case{"/", false}, match_case{"", false},
                    match_case{"http://host/api", false}, match_case{"*", false}));

TEST(ResourceTable, LongestNameWins) {
  resource_table<int> table;
  table.add("/a/b", 2);
  table.add("/a", 1);
  table.add("/a/b/c", 3);
  table.add("/a-b", 4);
  EXPECT_EQ(*table.find("/a/b/x"), 2);
  EXPECT_EQ(*table.find("/a/bx"), 1);
  EXPECT_EQ(*table.find("/a/b/c/"), 3);
  EXPECT_EQ(*table.find("/a-b"), 4);
}

TEST(ResourceTable, FirstRegistrationWinsAndOneTrailingSlashDoesNotCount) {
  resource_table<int> table;
  table.add("/a/", 1);
  table.add("/a", 2);
  EXPECT_EQ(*table.find("/a"), 1);
  table.remove("/a/");
  EXPECT_EQ(table.find("/a"), nullptr);
  table.remove("/a");
}

TEST(ResourceTable, RootServesEverythingBelow) {
  resource_table<int> table;
  table.add("/", 1);
  EXPECT_NE(table.find("/x"), nullptr);
  EXPECT_EQ(table.find("*"), nullptr);
  table.clear();
  EXPECT_EQ(table.find("/x"), nullptr);
}

TEST(ErrorPages, EscapeWhatTheyQuote) {
  EXPECT_EQ(pion::http::xml_escape("<a href=\"x\">'&'</a>"),
            "&lt;a href=&quot;x&quot;&gt;&apos;&amp;&apos;&lt;/a&gt;");
  EXPECT_NE(pion::http::not_found_page("/<b>").find("/&lt;b&gt;"), std::string::npos);
  EXPECT_NE(pion::http::server_error_page("a<b").find("a&lt;b"), std::string::npos);
}

TEST(ErrorPages, HaveTheirSizes) {
  EXPECT_EQ(pion::http::not_found_page("/nope").size(), 151u);
  EXPECT_EQ(pion::http::bad_request_page().size(), 168u);
  EXPECT_EQ(pion::http::server_error_page("").size(), 172u);
}

}  // namespace
