#include <algorithm>

#include "tunrak/connection.h"
#include "tunrak/exception.h"
#include "tunrak/http.h"

namespace Tunrak::Http {
namespace {

constexpr std::int32_t kHighestPort = 65535;

using BaseSpec = std::shared_ptr<const ConnectionSpec>;

class TcpSpec : public ConnectionSpec {
 public:
  TcpSpec(std::string host, std::int32_t port, bool probe, std::chrono::milliseconds idleLimit)
      : host_(std::move(host)), port_(port), probe_(probe), idleLimit_(idleLimit) {}

  std::unique_ptr<Connection> Connect() const override {
    auto connection = std::make_unique<Connection>(idleLimit_);
    connection->Connect(host_, port_, probe_);
    return connection;
  }

  std::string Peer() const override { return HostAndPort(host_, port_); }

 private:
  std::string host_;
  std::int32_t port_;
  bool probe_;
  std::chrono::milliseconds idleLimit_;
};

class TunneledSpec : public ConnectionSpec {
 public:
  TunneledSpec(BaseSpec base, const std::string& host, std::string path)
      : base_(std::move(base)), path_(std::move(path)) {
    // The proxy serves the end point's own port.
    const std::string proxy = base_->Peer();
    peer_ = HostAndPort(host, std::stoi(proxy.substr(proxy.rfind(':') + 1)));
  }

  std::unique_ptr<Connection> Connect() const override {
    auto connection = base_->Connect();
    connection->OpenTunnel(peer_, path_);
    return connection;
  }

  std::string Peer() const override { return peer_; }

 private:
  BaseSpec base_;
  std::string path_;
  std::string peer_;
};

class SslSpec : public ConnectionSpec {
 public:
  SslSpec(BaseSpec base, std::shared_ptr<Ssl::Context> context, std::string host,
          std::string thumbprint)
      : base_(std::move(base)),
        context_(std::move(context)),
        host_(std::move(host)),
        thumbprint_(std::move(thumbprint)) {}

  std::unique_ptr<Connection> Connect() const override {
    auto connection = base_->Connect();
    connection->StartTls(*context_, Peer(), host_, thumbprint_);
    return connection;
  }

  std::string Peer() const override { return base_->Peer(); }

 private:
  BaseSpec base_;
  std::shared_ptr<Ssl::Context> context_;
  std::string host_;
  std::string thumbprint_;
};

void RequireText(const std::string& text, const char* what) {
  const auto isControl = [](char c) { return c == '\x7f' || (c >= '\0' && c <= ' '); };
  if (text.empty() || std::any_of(text.begin(), text.end(), isControl)) {
    throw Exception(std::string("Bad ") + what + " for a connection: \"" + text + "\".");
  }
}

}  // namespace

std::shared_ptr<const ConnectionSpec> CreateTCPConnectionSpec(const std::string& host,
                                                              std::int32_t port, bool probe,
                                                              std::chrono::milliseconds idleLimit) {
  RequireText(host, "host");
  if (port < 1 || port > kHighestPort) {
    throw Exception("Bad port for a connection to " + host + ": " + std::to_string(port) + ".");
  }
  return std::make_shared<TcpSpec>(host, port, probe, idleLimit);
}

std::shared_ptr<const ConnectionSpec> CreateTunneledConnectionSpec(const BaseSpec& base,
                                                                   const std::string& host,
                                                                   const std::string& path) {
  RequireText(host, "host");
  RequireText(path, "tunnel path");
  return std::make_shared<TunneledSpec>(base, host, path);
}

std::shared_ptr<const ConnectionSpec> CreateSSLConnectionSpec(
    const BaseSpec& base, const std::shared_ptr<Ssl::Context>& context, const std::string& host,
    const std::string& thumbprint) {
  RequireText(host, "host");
  return std::make_shared<SslSpec>(base, context, host, thumbprint);
}

}  // namespace Tunrak::Http
