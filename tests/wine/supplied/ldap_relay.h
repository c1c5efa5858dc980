// Connections of LDAP sessions that may speak TLS, for a client that can't.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace Supplied {

/// One session: the client talks to a port of loopback in plain text, and what it says goes on to
/// the server as the settings want it. The end of either connection is the end of both.
class LdapRelay {
 public:
  struct Settings {
    std::string
        hosts;  ///< As ldap_initW takes them: divided by blanks, each with a port if need be.
    std::uint16_t port = 0;
    bool tls = false;
    /// Asked with the server's certificate, in DER, before anything is said to it.
    std::function<bool(const std::vector<unsigned char>& der)> accepts{};
  };

  LdapRelay();
  LdapRelay(const LdapRelay&) = delete;
  LdapRelay& operator=(const LdapRelay&) = delete;
  ~LdapRelay();

  /// Where the client is to connect.
  std::uint16_t Port() const { return port_; }

  /// To be changed before there is a connection.
  Settings& Set() { return settings_; }

  /// Connects to the server, if that hasn't been done. Blocks, for as long as the system tries.
  /// \return False when no server is reached, or it isn't accepted.
  bool Connect();

 private:
  using Tcp = boost::asio::ip::tcp;
  using Block = std::array<char, 4096>;

  void Accept();
  bool ConnectToOneOf(const std::string& hosts);
  bool ShakeHands();
  void Pump();
  template <typename From, typename To>
  void PumpFrom(From& from, To& to, Block& block);
  void Close();

  Settings settings_;
  boost::asio::io_context context_;
  boost::asio::ssl::context tls_{boost::asio::ssl::context::tls_client};
  Tcp::acceptor listener_;
  const std::uint16_t port_;
  Tcp::socket client_{context_};
  boost::asio::ssl::stream<Tcp::socket> server_{context_, tls_};
  bool connected_ = false;
  Block fromClient_ = {};
  Block fromServer_ = {};
  std::thread thread_;
};

}  // namespace Supplied
