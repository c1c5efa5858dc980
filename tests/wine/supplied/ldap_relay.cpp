#include "ldap_relay.h"

#include <openssl/x509.h>

#include <boost/asio/buffer.hpp>
#include <boost/asio/connect.hpp>
#include <boost/asio/write.hpp>

#include <memory>
#include <sstream>

namespace Supplied {
namespace {

using boost::system::error_code;

struct FreeCertificate {
  void operator()(X509* certificate) const { X509_free(certificate); }
};

std::vector<unsigned char> CertificateOf(SSL* connection) {
  const std::unique_ptr<X509, FreeCertificate> certificate(SSL_get1_peer_certificate(connection));
  if (certificate == nullptr) return {};
  std::vector<unsigned char> der(static_cast<std::size_t>(i2d_X509(certificate.get(), nullptr)));
  unsigned char* place = der.data();
  (void)i2d_X509(certificate.get(), &place);
  return der;
}

}  // namespace

LdapRelay::LdapRelay()
    : listener_(context_, Tcp::endpoint(boost::asio::ip::address_v4::loopback(), 0)),
      port_(listener_.local_endpoint().port()) {
  Accept();
  thread_ = std::thread([this] { context_.run(); });
}

LdapRelay::~LdapRelay() {
  context_.stop();
  thread_.join();
}

void LdapRelay::Accept() {
  listener_.async_accept(client_, [this](const error_code& error) {
    if (error) return;
    if (Connect()) {
      Pump();
    } else {
      Close();
    }
  });
}

bool LdapRelay::Connect() {
  if (!connected_) {
    // The context's own thread can't be here as well: the client connects when this has ended.
    connected_ = ConnectToOneOf(settings_.hosts) && (!settings_.tls || ShakeHands());
  }
  return connected_;
}

bool LdapRelay::ConnectToOneOf(const std::string& hosts) {
  std::istringstream list(hosts);
  for (std::string host; list >> host;) {
    const std::size_t colon = host.find(':');
    const std::string port =
        colon == std::string::npos ? std::to_string(settings_.port) : host.substr(colon + 1);
    error_code error;
    Tcp::resolver resolver(context_);
    const auto found = resolver.resolve(host.substr(0, colon), port, error);
    if (!error) boost::asio::connect(server_.next_layer(), found, error);
    if (!error) return true;
  }
  return false;
}

bool LdapRelay::ShakeHands() {
  error_code error;
  server_.handshake(boost::asio::ssl::stream_base::client, error);
  return !error && settings_.accepts && settings_.accepts(CertificateOf(server_.native_handle()));
}

void LdapRelay::Pump() {
  if (settings_.tls) {
    PumpFrom(client_, server_, fromClient_);
    PumpFrom(server_, client_, fromServer_);
  } else {
    PumpFrom(client_, server_.next_layer(), fromClient_);
    PumpFrom(server_.next_layer(), client_, fromServer_);
  }
}

template <typename From, typename To>
void LdapRelay::PumpFrom(From& from, To& to, Block& block) {
  from.async_read_some(
      boost::asio::buffer(block), [this, &from, &to, &block](error_code error, std::size_t count) {
        if (error) return Close();
        boost::asio::async_write(to, boost::asio::buffer(block, count),
                                 [this, &from, &to, &block](error_code writeError, std::size_t) {
                                   if (writeError) return Close();
                                   PumpFrom(from, to, block);
                                 });
      });
}

void LdapRelay::Close() {
  error_code ignored;
  client_.close(ignored);
  server_.next_layer().close(ignored);
}

}  // namespace Supplied
