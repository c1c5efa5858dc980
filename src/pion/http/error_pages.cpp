#include "pion/http/error_pages.h"

namespace pion::http {
namespace {

std::string make_page(std::string_view status, std::string_view heading, std::string_view text) {
  std::string page = "<html>\n<head><title>";
  page.append(status).append("</title></head>\n<body>\n<h1>").append(heading);
  page.append("</h1>\n<p>").append(text).append("</p>\n</body>\n</html>\n");
  return page;
}

}  // namespace

std::string xml_escape(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size());
  for (const char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      case '\'':
        escaped += "&apos;";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

std::string bad_request_page() {
  return make_page("400 Bad Request", "Bad Request",
                   "This server could not make sense of the request that it was sent.");
}

std::string not_found_page(std::string_view resource) {
  return make_page("404 Not Found", "Not Found",
                   "This server knows no resource called <em>" + xml_escape(resource) + "</em>.");
}

std::string server_error_page(std::string_view what) {
  return make_page("500 Server Error", "Server Error",
                   "The request was ended early because of an internal error: <em>" +
                       xml_escape(what) + "</em>");
}

}  // namespace pion::http
