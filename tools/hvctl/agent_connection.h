// One TLS connection to the agent, good for one request: the agent ends it after its answer.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace Hvctl {

struct Endpoint {
  std::string host;  ///< Name or address; an IPv6 address without brackets.
  std::uint16_t port = 0;

  /// "HOST:PORT", an IPv6 address in brackets.
  std::string Text() const;
};

struct TimeLimits {
  /// For each of TCP, TLS and each piece of the request; looking a name up takes as long as the
  /// system likes.
  std::chrono::seconds connect{10};
  /// For each silence of the agent, since an operation may run for hours. 0: no limit.
  std::chrono::seconds answer{0};
};

class AgentConnection {
 public:
  /// Is told the thumbprint of the agent's certificate and throws if it isn't to be trusted.
  using TrustCheck = std::function<void(const std::string& thumbprint)>;

  /// Connects and asks \p trust before a byte of a request is sent.
  /// Throws Failure (kNoConnection), or whatever \p trust throws.
  AgentConnection(const Endpoint& agent, const TimeLimits& limits, const TrustCheck& trust);
  ~AgentConnection();

  /// Posts \p body to "/api" and hands the answer's body on as it arrives.
  /// \param framed  Asks for an answer in frames, with the agent's progress reports.
  /// Throws Failure (kNoConnection) on a cut or silent connection, Failure (kApiError) when the
  /// answer isn't what was asked for.
  void Post(const std::string& body, bool framed,
            const std::function<void(std::string_view)>& onBody);

 private:
  class Stream;
  std::unique_ptr<Stream> stream_;
};

}  // namespace Hvctl
