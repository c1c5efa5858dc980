#include "tunrak/http_url.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "tunrak/exception.h"

namespace Tunrak::Http {
namespace {

constexpr std::int32_t kHighestPort = 65535;

[[noreturn]] void Refuse(const std::string& url, const char* reason) {
  throw Exception("Not a URL of HTTP: \"" + url + "\" " + reason + ".");
}

std::int32_t DefaultPort(const std::string& url, std::string_view scheme) {
  if (scheme == "https") return 443;
  if (scheme == "http") return 80;
  Refuse(url, "has another scheme");
}

std::int32_t Port(const std::string& url, std::string_view text) {
  std::int32_t port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  if (error != std::errc() || end != text.data() + text.size() || port < 1 || port > kHighestPort) {
    Refuse(url, "has a bad port");
  }
  return port;
}

/// \return The host, and behind it what follows: nothing, or ":" and a port.
std::pair<std::string_view, std::string_view> SplitAuthority(const std::string& url,
                                                             std::string_view authority) {
  if (!authority.starts_with('[')) {
    const std::size_t colon = std::min(authority.find(':'), authority.size());
    return {authority.substr(0, colon), authority.substr(colon)};
  }
  const std::size_t bracket = authority.find(']');
  if (bracket == std::string_view::npos) Refuse(url, "has an open bracket");
  return {authority.substr(1, bracket - 1), authority.substr(bracket + 1)};
}

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return lower;
}

}  // namespace

void ParseHttpURL(const std::string& url, std::string& scheme, std::string& host,
                  std::int32_t& port, std::string& path) {
  const std::string_view text = url;
  const std::size_t colon = text.find("://");
  if (colon == std::string_view::npos) Refuse(url, "isn't absolute");
  const std::string foundScheme = LowerCase(text.substr(0, colon));
  const std::int32_t defaultPort = DefaultPort(url, foundScheme);
  const std::string_view rest = text.substr(colon + 3);
  const std::size_t authorityEnd = std::min(rest.find_first_of("/?#"), rest.size());
  const std::string_view authority = rest.substr(0, authorityEnd);
  if (authority.find_first_of("@ \t\r\n") != std::string_view::npos) {
    Refuse(url, "has more than a host and a port");
  }
  const auto [foundHost, behind] = SplitAuthority(url, authority);
  if (foundHost.empty()) Refuse(url, "has no host");
  if (!behind.empty() && behind.front() != ':') Refuse(url, "has more than a host and a port");
  const std::int32_t foundPort = behind.empty() ? defaultPort : Port(url, behind.substr(1));
  const std::string_view tail = rest.substr(authorityEnd);
  scheme = foundScheme;
  host = foundHost;
  port = foundPort;
  path = (tail.starts_with('/') ? "" : "/") + std::string(tail);
}

}  // namespace Tunrak::Http
