#include <gmock/gmock.h>
#include <openssl/err.h>

#include <boost/asio/ssl/error.hpp>

#include "server_fixture.h"

namespace pion_test {
namespace {

using boost::system::system_error;
using pion::http::request_ptr;
using pion::tcp::connection_ptr;

class Tls : public server_fixture {
 protected:
  Tls() {
    server_->add_resource("/api", echo);
    use_tls();
  }

  std::string exchange(const std::string& bytes, int version = 0) {
    if (!server_->is_listening()) start();
    auto context = make_client_context(version);
    test_client client(server_->get_port(), &context);
    client.send(bytes);
    const std::string all = client.read_all();
    EXPECT_EQ(client.end(), boost::asio::error::eof) << "the server says goodbye";
    return all;
  }
};

constexpr const char* plain_request =
    "POST /api HTTP/1.1\r\nConnection: close\r\nContent-Length: 2\r\n\r\n{}";

TEST_F(Tls, ServesBothVersions) {
  EXPECT_TRUE(server_->get_ssl_flag());
  EXPECT_EQ(content_of(exchange(plain_request, TLS1_2_VERSION)), "POST /api {}");
  EXPECT_EQ(content_of(exchange(plain_request, TLS1_3_VERSION)), "POST /api {}");
}

TEST_F(Tls, GivesTheSameWhereverTheBytesAreCut) {
  const std::string whole = plain_request;
  start();
  for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
    auto context = make_client_context(version);
    for (std::size_t cut = 1; cut < whole.size(); ++cut) {
      test_client client(server_->get_port(), &context);
      client.send(whole.substr(0, cut));
      client.send(whole.substr(cut));
      ASSERT_EQ(content_of(client.read_all()), "POST /api {}") << version << " cut at " << cut;
    }
  }
}

TEST_F(Tls, CarriesLargeContentBothWays) {
  const std::string content(1000000, 'x');
  const std::string response = exchange(
      "POST /api HTTP/1.1\r\nConnection: close\r\nContent-Length: 1000000\r\n\r\n" + content);
  EXPECT_EQ(content_of(response), "POST /api " + content);
}

TEST_F(Tls, AnswersInOneRecord) {
  start();
  auto context = make_client_context(TLS1_2_VERSION);
  test_client client(server_->get_port(), &context);
  int records = 0;
  SSL_set_msg_callback(client.ssl(),
                       [](int sent, int, int type, const void*, size_t, SSL*, void* count) {
                         if (sent == 0 && type == SSL3_RT_HEADER) ++*static_cast<int*>(count);
                       });
  SSL_set_msg_callback_arg(client.ssl(), &records);
  client.send("GET /api HTTP/1.1\r\n\r\n");
  EXPECT_EQ(content_of(client.read_response()), "GET /api ");
  EXPECT_EQ(records, 1);
}

TEST_F(Tls, ResumesSessions) {
  start();
  for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
    auto context = make_client_context(version);
    SSL_CTX_set_session_cache_mode(context.native_handle(), SSL_SESS_CACHE_CLIENT);
    test_client first(server_->get_port(), &context);
    first.send(plain_request);
    first.read_all();
    EXPECT_EQ(SSL_session_reused(first.ssl()), 0);
    SSL_SESSION* session = SSL_get1_session(first.ssl());
    ASSERT_NE(SSL_SESSION_is_resumable(session), 0) << version;
    test_client second(server_->get_port(), &context, session);
    second.send(plain_request);
    EXPECT_EQ(content_of(second.read_all()), "POST /api {}");
    EXPECT_EQ(SSL_session_reused(second.ssl()), 1) << version;
    SSL_SESSION* renewed = SSL_get1_session(second.ssl());
    EXPECT_NE(SSL_SESSION_is_resumable(renewed), 0) << version;
    SSL_SESSION_free(renewed);
    SSL_SESSION_free(session);
  }
}

TEST_F(Tls, GivesNoTicketsIfTheContextForbidsThem) {
  SSL_CTX_set_options(server_->get_ssl_context_type().native_handle(), SSL_OP_NO_TICKET);
  SSL_CTX_set_session_cache_mode(server_->get_ssl_context_type().native_handle(),
                                 SSL_SESS_CACHE_OFF);
  start();
  auto context = make_client_context(TLS1_3_VERSION);
  test_client client(server_->get_port(), &context);
  client.send(plain_request);
  EXPECT_EQ(content_of(client.read_all()), "POST /api {}");
  EXPECT_EQ(SSL_SESSION_is_resumable(SSL_get0_session(client.ssl())), 0);
}

TEST_F(Tls, SettingsOfTheContextHold) {
  SSL_CTX_set_min_proto_version(server_->get_ssl_context_type().native_handle(), TLS1_3_VERSION);
  start();
  auto context = make_client_context(TLS1_2_VERSION);
  test_client client(server_->get_port(), &context);
  EXPECT_TRUE(client.handshake_failed());
}

TEST_F(Tls, DropsAPlainClientWithoutAByteAndGoesOn) {
  start();
  test_client plain(server_->get_port());
  plain.send("GET /api HTTP/1.1\r\n\r\n");
  EXPECT_EQ(plain.read_all(), "");
  EXPECT_FALSE(plain.timed_out());
  EXPECT_EQ(content_of(exchange(plain_request)), "POST /api {}");
}

TEST_F(Tls, RefusesOldVersionsWithAnAlert) {
  start();
  auto context = make_client_context();
  SSL_CTX_set_security_level(context.native_handle(), 0);
  SSL_CTX_set_min_proto_version(context.native_handle(), TLS1_VERSION);
  SSL_CTX_set_max_proto_version(context.native_handle(), TLS1_VERSION);
  test_client old(server_->get_port(), &context);
  EXPECT_TRUE(old.handshake_failed());
  EXPECT_EQ(old.end().category(), boost::asio::error::get_ssl_category());
  EXPECT_NE(old.end(), boost::asio::ssl::error::stream_truncated);
}

TEST_F(Tls, StopCutsHalfDoneHandshakes) {
  for (int round = 0; round < 20; ++round) {
    server_->set_port(0);
    start();
    test_client silent(server_->get_port());
    test_client half(server_->get_port());
    half.send(std::string("\x16\x03\x01\x02\x00\x01\x00", 7));
    auto context = make_client_context();
    test_client done(server_->get_port(), &context);
    server_->stop();
    EXPECT_EQ(silent.read_all(), "");
    EXPECT_EQ(half.read_all(), "");
    EXPECT_FALSE(silent.timed_out() || half.timed_out());
  }
}

TEST_F(Tls, EndsOfClientsInTheMiddleDoNoHarm) {
  start();
  for (int i = 0; i < 30; ++i) {
    auto context = make_client_context();
    test_client client(server_->get_port(), &context);
    client.send("POST /api HTTP/1.1\r\nContent-Length: 100000\r\n\r\nhe");
    if (i % 3 == 0) client.abort();
    if (i % 3 == 1) client.end_sending();
  }
  EXPECT_EQ(content_of(exchange(plain_request)), "POST /api {}");
}

TEST_F(Tls, OrderlyEndInTheMiddleOfARequestIsAnsweredWithOne) {
  start();
  for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
    auto context = make_client_context(version);
    test_client client(server_->get_port(), &context);
    client.send("POST /api HTTP/1.1\r\nContent-Length: 5\r\n\r\nhe");
    EXPECT_FALSE(client.say_goodbye()) << "the server says it too";
  }
}

TEST_F(Tls, SlowReaderGetsEverything) {
  const std::string large(6000000, 'y');
  server_->add_resource("/large", [&](const request_ptr& asked, const connection_ptr& connection) {
    answer(asked, connection, large);
  });
  start();
  auto context = make_client_context();
  test_client slow(server_->get_port(), &context);
  slow.send("GET /large HTTP/1.1\r\nConnection: close\r\n\r\n");
  // Meanwhile the answer fills the buffers between the two and the server has to wait.
  EXPECT_EQ(content_of(exchange(plain_request)), "POST /api {}");
  EXPECT_EQ(content_of(slow.read_all()), large);
}

TEST_F(Tls, StopCutsAnAnswerUnderWay) {
  const std::string large(16000000, 'y');
  server_->add_resource("/large", [&](const request_ptr& asked, const connection_ptr& connection) {
    answer(asked, connection, large);
  });
  start();
  auto context = make_client_context();
  test_client slow(server_->get_port(), &context);
  slow.send("GET /large HTTP/1.1\r\nConnection: close\r\n\r\n");
  EXPECT_EQ(slow.read_until("\r\n\r\n").substr(0, 15), "HTTP/1.1 200 OK");
  server_->stop();
  EXPECT_LT(slow.read_all().size(), large.size());
  EXPECT_FALSE(slow.timed_out());
}

class KeyFile : public server_fixture {
 protected:
  boost::system::error_code load(const std::string& path) {
    try {
      server_->set_ssl_key_file(path);
      return {};
    } catch (const system_error& error) {
      EXPECT_TRUE(server_->get_ssl_flag());
      return error.code();
    }
  }
  boost::system::error_code load_text(const std::string& text) {
    return load(folder_.write("a certificate.pem", text));
  }

  test_certificate made_;
};

void expect_ssl_error(const boost::system::error_code& error, int library, int reason) {
  EXPECT_STREQ(error.category().name(), "asio.ssl");
  const auto code = static_cast<unsigned long>(error.value());
  EXPECT_EQ(ERR_GET_LIB(code), library) << error.message();
  EXPECT_EQ(ERR_GET_REASON(code), reason) << error.message();
}

TEST_F(KeyFile, MissingFileIsASystemError) {
  const auto error = load(folder_.path("nothing.pem"));
  EXPECT_STREQ(error.category().name(), "system");
  EXPECT_EQ(error.value(), 2);
}

TEST_F(KeyFile, FileWithoutACertificateHasNoStartLine) {
  for (const std::string& text : {std::string(), made_.der, made_.key}) {
    expect_ssl_error(load_text(text), ERR_LIB_PEM, PEM_R_NO_START_LINE);
  }
}

TEST_F(KeyFile, FileWithoutAKeyIsUnsupported) {
  expect_ssl_error(load_text(made_.certificate), ERR_LIB_OSSL_DECODER, ERR_R_UNSUPPORTED);
}

TEST_F(KeyFile, KeyOfAnotherCertificateDoesNotMatch) {
  expect_ssl_error(load_text(test_certificate().key + made_.certificate), ERR_LIB_X509,
                   X509_R_KEY_VALUES_MISMATCH);
}

TEST_F(KeyFile, EncryptedKeyFailsAtOnceWithoutAsking) {
  EXPECT_STREQ(load_text(made_.encrypted_key + made_.certificate).category().name(), "asio.ssl");
}

TEST_F(KeyFile, TakesBothOrdersAndAllFormsOfTheKey) {
  EXPECT_FALSE(load_text(made_.key + made_.certificate));
  EXPECT_FALSE(load_text(made_.certificate + made_.key));
  EXPECT_FALSE(load_text(made_.sec1_key + made_.certificate));
  EXPECT_FALSE(load_text(make_rsa_pkcs1_pem()));
}

TEST_F(KeyFile, FirstCertificateCounts) {
  const test_certificate other;
  EXPECT_FALSE(load_text(made_.certificate + other.certificate + made_.key + other.key));
}

}  // namespace
}  // namespace pion_test
