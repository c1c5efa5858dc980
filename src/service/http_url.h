// URLs that the runner found in a product's settings, and which may be anything.
#pragma once

#include <cstdint>
#include <string>

namespace Halvard::MigratorSvc {

/// Splits an absolute HTTP URL, in UTF-8. The port is its scheme's unless the URL has one; the path
/// reaches to the URL's end.
/// \return False for what is no such URL. Nothing is assigned then.
bool ParseHttpUrlWrapper(const std::string& url, std::string& scheme, std::string& host,
                         std::int32_t& port, std::string& path);

}  // namespace Halvard::MigratorSvc
