#include "serverclient/destination.h"

#include "core/logging.h"
#include "core/text.h"

namespace Halvard::ServerClient {

Destination::Destination(const std::string& host, std::int32_t port, const std::string& tunnelPath,
                         const std::string& user)
    : host_(Utf8ToWide(host)),
      port_(port),
      tunnelPath_(Utf8ToWide(tunnelPath)),
      user_(Utf8ToWide(user)) {}

void Destination::LogSuccess(const Line& line) const {
  LogScope log;
  log.Info(line, host_.c_str(), port_, tunnelPath_.c_str(), user_.c_str());
}

void Destination::LogFailure(const Tunrak::Exception& failure, const ReasonLine& reason,
                             const Line& line) const {
  LogScope log;
  log.Warn(reason, Utf8ToWide(failure.what()).c_str());
  log.Warn(line, host_.c_str(), port_, tunnelPath_.c_str(), user_.c_str());
}

}  // namespace Halvard::ServerClient
