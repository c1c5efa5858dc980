// A client that sends whatever bytes a test writes, over TLS or in the clear.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Lab::Testing {

struct HttpReply {
  int status = 0;
  std::string head;  ///< Up to and with the empty line.
  std::string body;

  /// \return The texts of all elements of a name, unescaped by nobody.
  std::vector<std::string> Elements(const std::string& name) const;
  /// \return The text of the first, or an empty one.
  std::string Element(const std::string& name) const;
  /// \return The type of the fault without "Fault"; empty for no fault.
  std::string Fault() const;
};

/// A request in its parts, right unless a test changes one.
struct SoapCall {
  std::string operation;
  std::string selfType;
  std::string arguments;  ///< XML behind self.

  std::string method = "POST";
  std::string version = "HTTP/1.1";
  std::string path = "/sdk/quenService";
  std::string space = "urn:quen25";
  std::string selfId = selfType;
  std::map<std::string, std::string> headers = {
      {"Host", "localhost:443"},
      {"User-Agent", "tunrak/6.0"},
      {"Content-Type", "text/xml; charset=utf-8"},
      {"SOAPAction", "\"urn:quen25/5.5\""},
  };
  std::optional<std::string> body = {};  ///< In place of the envelope.

  std::string Envelope() const;
  std::string Bytes(const std::string& cookie) const;
};

class SoapClient {
 public:
  enum class Way { kDirect, kPlain };

  explicit SoapClient(std::uint16_t port, Way way = Way::kDirect);

  /// Goes over to TLS on a plain connection.
  void StartTls();
  /// SHA-1 of the server's certificate, as "9A:0B:...".
  std::string PeerThumbprint();

  void Write(const std::string& bytes);
  /// \return The next answer; throws boost::system::system_error if the connection ends before.
  HttpReply Read();
  /// \return All bytes up to the end of the connection.
  std::string ReadToEnd();
  /// Whether the end that ReadToEnd met was TLS's own.
  bool EndedInGoodOrder() const { return goodOrder_; }

  /// Sends with the session's cookie if there is one, and keeps one that is set.
  HttpReply Call(const SoapCall& call);
  HttpReply Login(const std::string& user, const std::string& password);

  const std::string& Cookie() const { return cookie_; }
  void SetCookie(const std::string& cookie) { cookie_ = cookie; }

 private:
  std::size_t ReadSome(char* buffer, std::size_t size, boost::system::error_code& error);

  boost::asio::io_context io_;
  boost::asio::ssl::context context_;
  boost::asio::ssl::stream<boost::asio::ip::tcp::socket> stream_;
  bool tls_ = false;
  bool goodOrder_ = false;
  std::string unread_;
  std::string cookie_;
};

/// \return <name>text</name>, with the text escaped.
std::string Xml(const std::string& name, const std::string& text);

/// The usual calls.
SoapCall RetrieveContent();
SoapCall Login(const std::string& user, const std::string& password);
SoapCall Logout();

}  // namespace Lab::Testing
