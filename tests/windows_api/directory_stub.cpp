#include "directory_stub.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/write.hpp>

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <mutex>
#include <optional>

namespace WindowsApi {
namespace {

using boost::asio::ip::tcp;

/// A tag, the length and the content; nothing here is longer than 65,535 bytes.
std::string Element(std::uint8_t tag, const std::string& content) {
  std::string bytes(1, static_cast<char>(tag));
  bytes += "\x82";
  bytes += static_cast<char>(content.size() >> 8);
  bytes += static_cast<char>(content.size() & 0xFF);
  return bytes + content;
}

std::string Text(const std::string& text) { return Element(0x04, text); }

std::string Message(const std::string& id, const std::string& operation) {
  return Element(0x30, id + operation);
}

/// Code, matched name, text.
std::string Result(std::uint8_t tag, std::uint8_t code) {
  const std::string enumerated("\x0A\x01", 2);
  return Element(tag, enumerated + static_cast<char>(code) + Text("") + Text(""));
}

std::string Entry(const std::vector<DirectoryStub::Attribute>& attributes) {
  std::string list;
  for (const DirectoryStub::Attribute& attribute : attributes) {
    std::string values;
    for (const std::string& value : attribute.values) values += Text(value);
    list += Element(0x30, Text(attribute.name) + Element(0x31, values));
  }
  return Element(0x64, Text("") + Element(0x30, list));
}

/// Reads one element. \return Its content; nothing at the end of the connection.
template <typename Stream>
std::optional<std::string> ReadElement(Stream& socket) {
  boost::system::error_code error;
  std::uint8_t head[2] = {};
  boost::asio::read(socket, boost::asio::buffer(head), error);
  if (error) return std::nullopt;
  std::size_t size = head[1];
  if (size >= 0x80) {
    std::vector<std::uint8_t> digits(size & 0x7F);
    boost::asio::read(socket, boost::asio::buffer(digits), error);
    size = 0;
    for (const std::uint8_t digit : digits) size = size << 8 | digit;
  }
  std::string content(size, '\0');
  if (!error) boost::asio::read(socket, boost::asio::buffer(content), error);
  if (error) return std::nullopt;
  return content;
}

struct FreeTls {
  void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
  void operator()(X509* certificate) const { X509_free(certificate); }
};

/// Gives a server a key and a certificate for it. \return The certificate, in DER.
std::string Certify(boost::asio::ssl::context& tls) {
  const std::unique_ptr<EVP_PKEY, FreeTls> key(EVP_EC_gen("P-256"));
  const std::unique_ptr<X509, FreeTls> certificate(X509_new());
  constexpr long kDay = 24 * 3600;
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -kDay);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), kDay);
  X509_set_pubkey(certificate.get(), key.get());
  X509_sign(certificate.get(), key.get(), EVP_sha256());
  SSL_CTX_use_certificate(tls.native_handle(), certificate.get());
  SSL_CTX_use_PrivateKey(tls.native_handle(), key.get());
  std::string der(static_cast<std::size_t>(i2d_X509(certificate.get(), nullptr)), '\0');
  auto* place = reinterpret_cast<unsigned char*>(der.data());
  i2d_X509(certificate.get(), &place);
  return der;
}

}  // namespace

struct DirectoryStub::Sockets {
  boost::asio::io_context context;
  tcp::acceptor acceptor{context, tcp::endpoint(boost::asio::ip::address_v4::loopback(), 0)};
  boost::asio::ssl::context tls{boost::asio::ssl::context::tls_server};
  const std::string certificate = Certify(tls);
  std::mutex mutex;
  std::string lastRequest;
};

DirectoryStub::DirectoryStub(Answers answers)
    : answers_(std::move(answers)),
      sockets_(std::make_unique<Sockets>()),
      port_(sockets_->acceptor.local_endpoint().port()),
      thread_([this] { Serve(); }) {}

DirectoryStub::~DirectoryStub() {
  ending_ = true;
  // A connection of our own wakes the thread that waits for one.
  boost::system::error_code ignored;
  tcp::socket socket(sockets_->context);
  socket.connect(sockets_->acceptor.local_endpoint(), ignored);
  thread_.join();
}

std::string DirectoryStub::LastRequest() const {
  const std::lock_guard lock(sockets_->mutex);
  return sockets_->lastRequest;
}

const std::string& DirectoryStub::Certificate() const { return sockets_->certificate; }

void DirectoryStub::Serve() {
  while (true) {
    boost::system::error_code error;
    boost::asio::ssl::stream<tcp::socket> socket(sockets_->context, sockets_->tls);
    sockets_->acceptor.accept(socket.next_layer(), error);
    if (ending_ || error) return;
    if (!answers_.overTls) {
      Answer(socket.next_layer());
      continue;
    }
    socket.handshake(boost::asio::ssl::stream_base::server, error);
    if (!error) Answer(socket);
  }
}

template <typename Stream>
void DirectoryStub::Answer(Stream& stream) {
  while (const auto request = ReadElement(stream)) {
    // The number of the message has a tag, a length of one byte and that many more.
    const std::size_t idSize =
        request->size() < 2 ? 2 : 2 + static_cast<std::uint8_t>(request->at(1));
    if (request->size() <= idSize) return;
    const std::string id = request->substr(0, idSize);
    const auto operation = static_cast<std::uint8_t>(request->at(idSize));
    {
      const std::lock_guard lock(sockets_->mutex);
      sockets_->lastRequest = request->substr(idSize);
    }
    std::string answer;
    if (operation == 0x60) answer = Message(id, Result(0x61, answers_.bindCode));
    if (operation == 0x63) {
      if (answers_.hasEntry) answer = Message(id, Entry(answers_.attributes));
      answer += Message(id, Result(0x65, answers_.searchCode));
    }
    if (answer.empty() || answers_.hangsUp) break;
    boost::system::error_code error;
    boost::asio::write(stream, boost::asio::buffer(answer), error);
  }
}

}  // namespace WindowsApi
