#include "security/https_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <string>
#include <vector>

#include "core/framework_logging.h"
#include "core/logging.h"
#include "core/property_store.h"
#include "core/server_lifetime.h"
#include "openssl_faults.h"
#include "security/certificate.h"
#include "support/console_capture.h"
#include "support/free_port.h"
#include "support/lab_instance.h"
#include "support/log_lines.h"
#include "test_client.h"

namespace Halvard::Security {
namespace {

namespace asio = boost::asio;
namespace ip = boost::asio::ip;
using ::testing::Contains;
using ::testing::ElementsAre;
using Testing::ErrorLine;
using ::testing::HasSubstr;
using Testing::InfoLine;
using Testing::OwnLog;
using ::testing::StartsWith;

constexpr const wchar_t* kFolder = L"%LOCALAPPDATA%\\Ostrel\\Halvard";

/// \return What came of connecting to the server by \p address.
boost::system::error_code Connect(const ip::address& address, std::uint16_t port) {
  asio::io_context service;
  ip::tcp::socket socket(service);
  boost::system::error_code error;
  socket.connect({address, port}, error);
  return error;
}

class HttpsServerTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { SetUpFrameworkLogging(); }

  HttpsServerTest() {
    machine_.MakeFolder(kFolder);
    SetIpv6(false);
    gProperties[L"HV_LOCALE"] = L"en";
    gProperties[L"HV_INIT_ERROR"] = L"";
    gProperties[L"APP_NET_PNID_IP"] = L"192.0.2.10";
  }
  ~HttpsServerTest() override { DestroyServer(); }

  void SetIpv6(bool on) { machine_.Set("/adapters/0/ipv6", on); }

  /// With a certificate, as the driver calls it.
  bool Start() {
    EXPECT_NE(GenerateSSLCertificate(L"kv.example"), L"");
    return SetupAndStartHttpsServer(scheduler_, port_);
  }

  /// What comes back for \p request over TLS.
  std::string Exchange(const std::string& request) {
    asio::ssl::context tls(asio::ssl::context::tls_client);
    pion_test::test_client client(port_, &tls);
    client.send(request);
    return client.read_all();
  }

  /// Whether a client comes through the handshake with its context set up by \p prepare.
  template <typename Prepare>
  bool Handshake(Prepare prepare) {
    asio::ssl::context tls(asio::ssl::context::tls_client);
    // Whatever the library's own policy: the server's answer is what counts.
    SSL_CTX_set_security_level(tls.native_handle(), 0);
    prepare(tls.native_handle());
    return !pion_test::test_client(port_, &tls).handshake_failed();
  }

  /// The lines of the set-up itself.
  static std::vector<Testing::LogLine> OwnLines() {
    std::vector<Testing::LogLine> lines = OwnLog();
    std::erase_if(lines, [](const Testing::LogLine& line) {
      return !line.message.starts_with(L"SetupAndStartHttpsServer: ");
    });
    return lines;
  }

  /// Names of links in the root of the machine's drive.
  std::vector<std::wstring> Links() const {
    std::vector<std::wstring> links;
    for (const std::wstring& name : machine_.ListFolder(L"C:\\")) {
      if (name.starts_with(L"mig")) links.push_back(name);
    }
    return links;
  }

  Lab::Instance machine_;
  LogScope log_;
  pion::single_service_scheduler scheduler_;
  const std::uint16_t port_ = Testing::FreePort(ip::tcp::v6());
};

std::string Post(const std::string& resource, const std::string& body) {
  return "POST " + resource + " HTTP/1.1\r\nContent-Type: application/json\r\nContent-Length: " +
         std::to_string(body.size()) + "\r\n\r\n" + body;
}

const char* const kCall =
    R"({"jsonrpc":"2.0","id":"1","method":"invoke","params":{"serviceId":"a","operationId":"b",)"
    R"("input":{"STRUCTURE":{"operation-input":{"json":"{}"}}},"ctx":{}}})";

TEST_F(HttpsServerTest, AnswersCallsOverTlsAndEndsTheConnection) {
  ASSERT_TRUE(Start());
  const std::string answer = Exchange(Post("/api", kCall));
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 OK\r\n"));
  EXPECT_THAT(answer, HasSubstr("Connection: close\r\n"));
  EXPECT_THAT(answer, HasSubstr(R"({"jsonrpc":"2.0","id":"1","result":{"error":{"ERROR":{)"
                                R"("com.ostrel.krova.std.errors.operation_not_found")"));
}

TEST_F(HttpsServerTest, ServesNothingButTheApi) {
  ASSERT_TRUE(Start());
  for (const char* resource : {"/", "/apis", "/API", "/index.html"}) {
    EXPECT_THAT(Exchange(Post(resource, kCall)), StartsWith("HTTP/1.1 404 Not Found\r\n"))
        << resource;
  }
}

TEST_F(HttpsServerTest, ListensOnIpv4WhenTheAdapterHasIpv6Off) {
  ASSERT_TRUE(Start());
  EXPECT_FALSE(Connect(ip::address_v4::loopback(), port_));
  EXPECT_TRUE(Connect(ip::address_v6::loopback(), port_));
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"SetupAndStartHttpsServer: Setting up Halvard to "
                                          L"listen on IPv4 network.")));
}

TEST_F(HttpsServerTest, ListensOnIpv6AloneWhenTheAdapterHasIt) {
  SetIpv6(true);
  ASSERT_TRUE(Start());
  EXPECT_FALSE(Connect(ip::address_v6::loopback(), port_));
  EXPECT_TRUE(Connect(ip::address_v4::loopback(), port_));
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"SetupAndStartHttpsServer: Setting up Halvard to "
                                          L"listen on IPv6 network.")));
}

TEST_F(HttpsServerTest, UnknownFamilyIsToldToTheOperatorAndLeavesTheLink) {
  gProperties[L"APP_NET_PNID_IP"] = L"192.0.2.99";
  std::wstring printed;
  bool started = true;
  {
    const Testing::ConsoleCapture console;
    started = Start();
    printed = console.Text();
  }
  EXPECT_FALSE(started);
  EXPECT_EQ(printed, L"Failed to detect if IPv6 is enabled on the network adapter.\n");
  EXPECT_EQ(gProperties[L"HV_INIT_ERROR"],
            L"Failed to detect if IPv6 is enabled on the network adapter.");
  EXPECT_FALSE(ServerExists());
  EXPECT_EQ(Links().size(), 1u);
}

TEST_F(HttpsServerTest, LinkIsGoneOnceTheFileIsRead) {
  ASSERT_TRUE(Start());
  EXPECT_TRUE(Links().empty());
  EXPECT_THAT(OwnLog(), Contains(InfoLine(L"SetupAndStartHttpsServer: HV certificates are "
                                          L"successfully set for HTTPs server.")));
  EXPECT_TRUE(machine_.FileExists(std::wstring(kFolder) + L"\\hv_cert.pem"));
}

TEST_F(HttpsServerTest, StartsByTheLongPathWithoutALink) {
  constexpr std::uint32_t kPrivilegeNotHeld = 1314;
  machine_.PlanFault({.function = "CreateSymbolicLinkW", .match = {}, .error = kPrivilegeNotHeld});
  ASSERT_TRUE(Start());
  EXPECT_THAT(OwnLog(), Contains(ErrorLine(L"SetupAndStartHttpsServer: Failed to create symbolic "
                                           L"link for app data directory.")));
  EXPECT_THAT(Exchange(Post("/api", kCall)), StartsWith("HTTP/1.1 200 OK\r\n"));
}

TEST_F(HttpsServerTest, TakenPortIsThrownToTheCaller) {
  asio::io_context service;
  const ip::tcp::acceptor other(service, {ip::address_v4::any(), port_});
  EXPECT_THROW(Start(), boost::system::system_error);
  EXPECT_TRUE(ServerExists());  // It is the caller's to destroy, and ends without a wait.
  DestroyServer();
  EXPECT_FALSE(ServerExists());
}

TEST_F(HttpsServerTest, MissingCertificateIsThrownToTheCaller) {
  EXPECT_THROW(SetupAndStartHttpsServer(scheduler_, port_), boost::system::system_error);
  EXPECT_TRUE(Connect(ip::address_v4::loopback(), port_));
  EXPECT_THAT(OwnLines(), ElementsAre(InfoLine(L"SetupAndStartHttpsServer: Setting up Halvard to "
                                               L"listen on IPv4 network.")));
}

TEST_F(HttpsServerTest, ServesAllRequestsOnOneThread) {
  ASSERT_TRUE(Start());
  EXPECT_EQ(scheduler_.get_num_threads(), 1u);
}

TEST_F(HttpsServerTest, TakesTls12AndTls13) {
  ASSERT_TRUE(Start());
  for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
    EXPECT_TRUE(Handshake([version](SSL_CTX* context) {
      SSL_CTX_set_min_proto_version(context, version);
      SSL_CTX_set_max_proto_version(context, version);
    })) << version;
  }
}

TEST_F(HttpsServerTest, RefusesClientsWithoutACommonCipher) {
  ASSERT_TRUE(Start());
  const auto offering = [](const char* ciphers) {
    return [ciphers](SSL_CTX* context) {
      SSL_CTX_set_max_proto_version(context, TLS1_2_VERSION);
      EXPECT_EQ(SSL_CTX_set_cipher_list(context, ciphers), 1) << ciphers;
    };
  };
  EXPECT_TRUE(Handshake(offering("ECDHE-RSA-AES128-GCM-SHA256")));
  EXPECT_TRUE(Handshake(offering("AES256-SHA")));
  EXPECT_FALSE(Handshake(offering("ADH-AES128-SHA")));
  EXPECT_FALSE(Handshake(offering("AECDH-AES128-SHA")));
  EXPECT_FALSE(Handshake(offering("ECDHE-RSA-CHACHA20-POLY1305")));
  EXPECT_FALSE(Handshake(offering("CAMELLIA128-SHA")));
}

/// The first record of a client that knows SSL 3.0 alone: one suite, no compression.
constexpr unsigned char kSsl3Hello[] = {0x16, 0x03, 0x00, 0x00, 0x2D, 0x01, 0x00, 0x00, 0x29, 0x03,
                                        0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09,
                                        0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F, 0x10, 0x11, 0x12, 0x13,
                                        0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x1A, 0x1B, 0x1C, 0x1D,
                                        0x1E, 0x1F, 0x20, 0x00, 0x00, 0x02, 0x00, 0x2F, 0x01, 0x00};

TEST_F(HttpsServerTest, RefusesAClientOfSsl3InTheHandshake) {
  ASSERT_TRUE(Start());
  pion_test::test_client client(port_);
  client.send({reinterpret_cast<const char*>(kSsl3Hello), sizeof(kSsl3Hello)});
  const std::string answer = client.read_all();
  ASSERT_FALSE(answer.empty());
  EXPECT_EQ(answer[0], '\x15');  // An alert, not a handshake record.
}

TEST_F(HttpsServerTest, OffersOneCurveAlone) {
  ASSERT_TRUE(Start());
  const auto offering = [](const char* groups) {
    return [groups](SSL_CTX* context) { SSL_CTX_set1_groups_list(context, groups); };
  };
  EXPECT_TRUE(Handshake(offering("P-256")));
  EXPECT_TRUE(Handshake(offering("X25519:P-256")));
  EXPECT_FALSE(Handshake(offering("X25519:P-384")));
}

TEST_F(HttpsServerTest, GoesOnWithoutTheCurve) {
  const Testing::OpenSslFault fault("EC_KEY_new_by_curve_name");
  ASSERT_TRUE(Start());
  EXPECT_THAT(
      OwnLines(),
      ElementsAre(InfoLine(L"SetupAndStartHttpsServer: Setting up Halvard to listen on IPv4 "
                           L"network."),
                  InfoLine(L"SetupAndStartHttpsServer: HV certificates are successfully "
                           L"set for HTTPs server."),
                  InfoLine(L"SetupAndStartHttpsServer: EC_KEY_new_by_curve_name with "
                           L"NID_X9_62_prime256v1 failed.")));
}

}  // namespace
}  // namespace Halvard::Security
