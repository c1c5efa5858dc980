// A TLS server that says what a test has written down, byte by byte, and keeps what it is told.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tunrak::Testing {

/// How the server ends a connection, once its script for it is at its end.
enum class Ending {
  kClientCloses,  ///< It waits for the client to close, and keeps what still comes.
  kGoodbye,       ///< It says goodbye in TLS and closes.
  kCut,           ///< It closes without a word.
};

/// One connection, as the server plays it.
struct ConnectionScript {
  /// For each request, the bytes that answer it: all of an HTTP message, or less.
  std::vector<std::string> answers = {};
  Ending ending = Ending::kClientCloses;
  /// What answers the request in the clear that comes first; none without such a request.
  std::optional<std::string> tunnelAnswer = std::nullopt;
  bool tls = true;
  /// Never a byte from the server, not even of TLS.
  bool silent = false;
};

/// Plays its script for one connection after the other, on a port of 127.0.0.1 that the system
/// chooses; then the port is closed. A request is read whole, by its Content-Length, before its
/// answer goes out.
class ScriptedServer {
 public:
  explicit ScriptedServer(std::vector<ConnectionScript> script);
  /// One connection.
  explicit ScriptedServer(std::vector<std::string> answers);
  ~ScriptedServer();
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;

  std::uint16_t Port() const;
  /// "127.0.0.1:PORT"
  std::string Address() const;
  /// SHA-1 of the certificate as "AB:CD:...".
  std::string Thumbprint() const;
  /// PEM.
  std::string Certificate() const;

  // The record. Complete for what has been answered; for the rest once Finish has returned.

  /// Waits until every connection that a client has made is closed, and ends the server.
  void Finish();
  std::vector<std::string> Requests() const;
  std::vector<std::string> TunnelRequests() const;
  /// What came inside TLS behind the last answered request.
  std::string StrayBytes() const;
  /// The names that clients asked for in their handshakes; empty for none.
  std::vector<std::string> ServerNames() const;
  int Connections() const;

 private:
  class Play;
  std::unique_ptr<Play> play_;
};

/// "HTTP/1.1 STATUS\r\n..." with the headers of a SOAP answer and the body.
std::string HttpAnswer(const std::string& status, const std::string& body);

}  // namespace Tunrak::Testing
