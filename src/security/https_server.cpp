#include "security/https_server.h"

#include <openssl/ec.h>
#include <openssl/ssl.h>

#include <boost/asio/ip/tcp.hpp>
#include <memory>
#include <string>
#include <utility>

#include "core/console.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"
#include "core/server_lifetime.h"
#include "core/text.h"
#include "host/files.h"
#include "krova/provider/container.h"
#include "krova/provider/local_provider.h"
#include "krova/transport/http/request_handler.h"
#include "network/adapters.h"
#include "pion/http/server.h"
#include "service/async_service.h"
#include "service/interface_definition.h"

namespace Halvard::Security {
namespace {

namespace ip = boost::asio::ip;
using Krova::Provider::DummyMutex;
using ApiContainer = Krova::Provider::AsyncApiInterfaceConcurrentContainer<DummyMutex>;
using ApiProvider = Krova::Provider::AsyncLocalProvider<DummyMutex>;

constexpr const char* kResource = "/api";
constexpr const char* kCipherList =
    "!aNULL:kECDH+AESGCM:ECDH+AESGCM:RSA+AESGCM:kECDH+AES:ECDH+AES:RSA+AES";

struct CurveDeleter {
  void operator()(EC_KEY* curve) const { EC_KEY_free(curve); }
};

/// Where the certificate's file is to be read from: through a short link to its folder, or by its
/// long path.
struct PemFile {
  std::wstring link;  ///< Empty without a link.
  std::wstring path;
};

PemFile LocatePemFile() {
  PemFile file;
  const std::wstring folder = Host::GetHVLocalAppDataFolder();
  if (Host::CreateShortSymbolicLink(folder, file.link)) {
    file.path = file.link + L"\\hv_cert.pem";
    return file;
  }
  LogScope log;
  log.Error(L"SetupAndStartHttpsServer: Failed to create symbolic link for app data directory.");
  file.path = folder + L"hv_cert.pem";
  return file;
}

bool ChooseEndpoint(std::uint16_t port, ip::tcp::endpoint& endpoint) {
  LogScope log;
  bool ipv6 = false;
  if (!Network::IsIPv6EnabledOnAppNetPnidAdapter(ipv6)) {
    PrintLine(GetLocalizedString(1148));
    gProperties[L"HV_INIT_ERROR"] = GetLocalizedStringIn(1148, "en");
    return false;
  }
  if (ipv6) {
    log.Info(L"SetupAndStartHttpsServer: Setting up Halvard to listen on IPv6 network.");
    endpoint = {ip::tcp::v6(), port};
  } else {
    log.Info(L"SetupAndStartHttpsServer: Setting up Halvard to listen on IPv4 network.");
    endpoint = {ip::tcp::v4(), port};
  }
  return true;
}

void SetCurve(SSL_CTX* context) {
  const std::unique_ptr<EC_KEY, CurveDeleter> curve(EC_KEY_new_by_curve_name(NID_X9_62_prime256v1));
  if (!curve) {
    LogScope log;
    log.Info(
        L"SetupAndStartHttpsServer: EC_KEY_new_by_curve_name with NID_X9_62_prime256v1 failed.");
    return;
  }
  (void)SSL_CTX_ctrl(context, SSL_CTRL_SET_TMP_ECDH, 0, curve.get());
}

void HardenTls(SSL_CTX* context) {
  (void)SSL_CTX_set_options(context, SSL_OP_NO_SSLv2 | SSL_OP_NO_SSLv3);
  SetCurve(context);
  (void)SSL_CTX_set_cipher_list(context, kCipherList);
}

/// The API on top of the scheduler's thread: the migrator's service and no other.
pion::http::server::request_handler_t MakeApiHandler(pion::single_service_scheduler& scheduler) {
  const auto container = std::make_shared<ApiContainer>();
  Krova::MessageList errors;
  // The first of its name, so it can't be refused.
  (void)container->Register(
      MigratorSvc::MakeMigratorInterface(std::make_shared<MigratorSvc::AsyncServiceImpl>()),
      errors);
  const Krova::Core::Executor executor = [&scheduler](const boost::function<void()>& work) {
    scheduler.post(work);
  };
  return Krova::Transport::Http::PionHttpServerRequestHandler(
      std::make_shared<ApiProvider>(container, executor), executor);
}

}  // namespace

bool SetupAndStartHttpsServer(pion::single_service_scheduler& scheduler, std::uint32_t port) {
  LogScope log;
  const PemFile pem = LocatePemFile();
  scheduler.set_num_threads(1);
  ip::tcp::endpoint endpoint;
  if (!ChooseEndpoint(static_cast<std::uint16_t>(port), endpoint)) return false;
  auto created = std::make_unique<pion::http::server>(scheduler, endpoint);
  // The lifetime owns it from here on; whatever throws below, the driver takes it down.
  pion::http::server& server = *created;
  SetServer(std::move(created));
  server.set_ssl_flag(true);
  server.set_dispatch_after_headers(true);
  server.set_ssl_key_file(WideToUtf8(pem.path));
  log.Info(L"SetupAndStartHttpsServer: HV certificates are successfully set for HTTPs server.");
  HardenTls(server.get_ssl_context_type().native_handle());
  server.add_resource(kResource, MakeApiHandler(scheduler));
  server.start();
  if (!pem.link.empty()) (void)Host::RemoveDirectoryIfEmpty(pem.link);
  return true;
}

}  // namespace Halvard::Security
