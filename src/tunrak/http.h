// HTTP clients: how to reach a server, and requests to it.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tunrak/ssl.h"

namespace Tunrak::Http {

class Connection;

/// How long one step may wait for the peer: a connection attempt, a TLS handshake, or the next
/// bytes of an answer. A peer that is silent for longer fails the step: nobody may be there to end
/// the wait. Resolving a name waits as long as the system does.
inline constexpr std::chrono::milliseconds kIdleLimit{120000};

/// The largest content of an answer, in bytes. A larger one is given up while it is read.
inline constexpr std::size_t kContentLimit = std::size_t{64} * 1024 * 1024;

/// A way to a server. Immutable; serves any number of connections.
class ConnectionSpec {
 public:
  virtual ~ConnectionSpec() = default;

  /// Connects. Blocks. \throws Exception
  virtual std::unique_ptr<Connection> Connect() const = 0;
  /// \return "host:port" of the server at the far end, as it stands in headers and texts.
  virtual std::string Peer() const = 0;
};

/// \param host  Name or address, an IPv6 address without brackets.
/// \param probe Lets the system probe an idle connection.
/// \throws Exception  for a port that isn't one.
std::shared_ptr<const ConnectionSpec> CreateTCPConnectionSpec(
    const std::string& host, std::int32_t port, bool probe,
    std::chrono::milliseconds idleLimit = kIdleLimit);

/// A tunnel to a path of the proxy that \p base leads to: "CONNECT PATH", and from the proxy's
/// consent on the connection is the far server's.
/// \param host  The tunnel's end point.
std::shared_ptr<const ConnectionSpec> CreateTunneledConnectionSpec(
    const std::shared_ptr<const ConnectionSpec>& base, const std::string& host,
    const std::string& path);

/// TLS over \p base. The server's certificate is judged right after the handshake, before anything
/// is sent inside: it must have the thumbprint, or, if that is empty, come from an authority that
/// the system trusts and name \p host. At the process's verify type kVerifyNone it isn't judged.
/// \param host        The name that the server is asked for.
/// \param thumbprint  SHA-1 of the certificate as "AB:CD:...", in either case.
std::shared_ptr<const ConnectionSpec> CreateSSLConnectionSpec(
    const std::shared_ptr<const ConnectionSpec>& base, const std::shared_ptr<Ssl::Context>& context,
    const std::string& host, const std::string& thumbprint);

struct Request {
  std::string path;
  /// Further headers, in their order on the wire: after Host and User-Agent, before Content-Length.
  std::vector<std::pair<std::string, std::string>> headers;
  std::string content;
};

struct Response {
  unsigned status = 0;
  std::string reason;
  std::string contentType;
  /// Values of Set-Cookie, in their order.
  std::vector<std::string> cookies;
  std::vector<char> content;
};

/// Sends requests over one connection, which it makes at the first request and keeps. Belongs to
/// one thread at a time.
class UserAgent {
 public:
  explicit UserAgent(std::shared_ptr<const ConnectionSpec> spec);
  ~UserAgent();
  UserAgent(const UserAgent&) = delete;
  UserAgent& operator=(const UserAgent&) = delete;

  /// Posts and waits for the answer, whatever its status. A kept connection that turns out to be
  /// closed before a byte of the answer has come is made anew, once.
  /// \throws Exception  The connection is gone then; the next request makes a new one.
  Response Post(const Request& request);

  std::string Peer() const { return spec_->Peer(); }

 private:
  std::unique_ptr<Connection> Connect() const;

  std::shared_ptr<const ConnectionSpec> spec_;
  std::unique_ptr<Connection> connection_;
};

std::shared_ptr<UserAgent> CreateHttpUserAgent(const std::shared_ptr<const ConnectionSpec>& spec);

}  // namespace Tunrak::Http
