#include "server.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <unistd.h>

namespace Lab::Kelvane {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

asio::ssl::context MakeContext(const Certificate& certificate) {
  asio::ssl::context context(asio::ssl::context::tls_server);
  context.use_private_key(asio::buffer(certificate.key), asio::ssl::context::pem);
  context.use_certificate(asio::buffer(certificate.certificate), asio::ssl::context::pem);
  return context;
}

Certificate ChooseCertificate(const std::string& file) {
  return file.empty() ? MakeCertificate() : ReadCertificate(file);
}

}  // namespace

Server::Server(asio::io_context& io, const Config& config, Journal& journal)
    : config_(config),
      journal_(journal),
      inventory_(GenerateInventory(config.inventory)),
      certificate_(ChooseCertificate(config.certificateFile)),
      context_(MakeContext(certificate_)),
      otherContext_(MakeContext(MakeCertificate())),
      faults_(config.faults, config.connectionFaults),
      objects_(config_, inventory_.objects, journal),
      lookup_(config.lookupServiceRegistration, config.registrations),
      endpoint_({&objects_, &lookup_}, faults_, journal),
      host_{endpoint_, journal, config_.tunnelPath, context_, otherContext_},
      acceptor_(io, tcp::endpoint(asio::ip::make_address(config.address), config.port)) {}

Json::Value Server::Announcement() const {
  Json::Value line;
  line["address"] = config_.address;
  line["port"] = acceptor_.local_endpoint().port();
  line["thumbprint"] = certificate_.thumbprint;
  line["certificate"] = certificate_.certificate;
  line["hosts"] = inventory_.hosts;
  line["machines"] = inventory_.machines;
  line["pid"] = getpid();
  return line;
}

void Server::Start() { asio::co_spawn(acceptor_.get_executor(), Accept(), asio::detached); }

void Server::RecordStop() {
  Json::Value line;
  line["event"] = "stop";
  line["openSessions"] = static_cast<Json::UInt>(objects_.OpenSessions());
  journal_.Write(line);
}

asio::awaitable<void> Server::Accept() {
  for (;;) {
    tcp::socket socket = co_await acceptor_.async_accept(asio::use_awaitable);
    asio::co_spawn(
        acceptor_.get_executor(),
        ServeConnection(std::move(socket), ++connections_, faults_.NextConnection(), host_),
        asio::detached);
  }
}

}  // namespace Lab::Kelvane
