// An agent that is asked for one operation after the other.
#pragma once

#include <string>

#include <json/value.h>

#include "agent_connection.h"

namespace Hvctl {

/// What a migration needs of an agent.
class Agent {
 public:
  virtual ~Agent() = default;

  /// \param input  The operation's input document as JSON text, UTF-8.
  /// \return The reply's document, one that says "fail" as well.
  /// Throws Failure when there is no reply: kNoConnection, kNotTrusted or kApiError.
  virtual Json::Value Invoke(const std::string& operation, const std::string& input) = 0;
};

/// An agent on another machine. Each operation has a connection of its own, as the agent answers
/// one request on a connection.
class RemoteAgent : public Agent {
 public:
  /// \param trust  Asked for the first connection. The later ones must show the same certificate.
  RemoteAgent(const Endpoint& endpoint, const TimeLimits& limits,
              const AgentConnection::TrustCheck& trust)
      : endpoint_(endpoint), limits_(limits), trust_(trust) {}

  Json::Value Invoke(const std::string& operation, const std::string& input) override;

  /// The certificate's, as the first connection has shown it; empty before. It changes with each
  /// start of the agent.
  const std::string& Thumbprint() const { return thumbprint_; }

 private:
  void Check(const std::string& shown);

  const Endpoint endpoint_;
  const TimeLimits limits_;
  const AgentConnection::TrustCheck trust_;
  std::string thumbprint_;
};

}  // namespace Hvctl
