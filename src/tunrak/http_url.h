// URLs of HTTP, taken apart.
#pragma once

#include <cstdint>
#include <string>

namespace Tunrak::Http {

/// Splits an absolute URL.
/// \param scheme  "http" or "https", in lower case.
/// \param host    Name or address; an IPv6 address without its brackets.
/// \param port    The URL's port, or its scheme's: 80 for "http", 443 for "https".
/// \param path    From the first "/" on, with query and fragment; "/" if the URL ends before it.
/// \throws Exception  for any other scheme, no host, a user in front of it, or a port that is no
///                    number from 1 to 65535. Nothing is assigned then.
void ParseHttpURL(const std::string& url, std::string& scheme, std::string& host,
                  std::int32_t& port, std::string& path);

}  // namespace Tunrak::Http
