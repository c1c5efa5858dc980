#include <boost/system/system_error.hpp>

#include "tunrak/connection.h"
#include "tunrak/error_text.h"
#include "tunrak/exception.h"
#include "tunrak/http.h"

namespace Tunrak::Http {

UserAgent::UserAgent(std::shared_ptr<const ConnectionSpec> spec) : spec_(std::move(spec)) {}

UserAgent::~UserAgent() = default;

std::unique_ptr<Connection> UserAgent::Connect() const {
  try {
    return spec_->Connect();
  } catch (const boost::system::system_error& failure) {
    // The system had nothing left to connect with: no descriptor, no memory for TLS.
    throw Exception("Connecting to " + Peer() + " failed: " + ErrorText(failure.code()) + ".");
  }
}

Response UserAgent::Post(const Request& request) {
  const std::string peer = Peer();
  // Out of the member while in use: an exception takes the connection with it.
  std::unique_ptr<Connection> connection = std::move(connection_);
  const bool wasKept = connection != nullptr;
  if (!wasKept) connection = Connect();
  Response response;
  Connection::Outcome outcome = connection->Exchange(peer, request, response);
  if (outcome != Connection::Outcome::kAnswered && wasKept) {
    connection = Connect();
    outcome = connection->Exchange(peer, request, response);
  }
  if (outcome != Connection::Outcome::kAnswered) {
    throw Exception("The request to " + peer + request.path +
                    " failed: connection closed by the peer without an answer.");
  }
  if (connection->IsReusable()) connection_ = std::move(connection);
  return response;
}

std::shared_ptr<UserAgent> CreateHttpUserAgent(const std::shared_ptr<const ConnectionSpec>& spec) {
  return std::make_shared<UserAgent>(spec);
}

}  // namespace Tunrak::Http
