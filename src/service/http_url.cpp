#include "service/http_url.h"

#include "tunrak/exception.h"
#include "tunrak/http_url.h"

namespace Halvard::MigratorSvc {

bool ParseHttpUrlWrapper(const std::string& url, std::string& scheme, std::string& host,
                         std::int32_t& port, std::string& path) {
  try {
    Tunrak::Http::ParseHttpURL(url, scheme, host, port, path);
    return true;
  } catch (const Tunrak::Exception&) {
    return false;
  }
}

}  // namespace Halvard::MigratorSvc
