#include "standins/soap_client.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/connect.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/write.hpp>

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <cstdio>

namespace Lab::Testing {
namespace {

namespace asio = boost::asio;

std::string HeaderOf(const std::string& head, const std::string& name) {
  const std::size_t begin = head.find("\r\n" + name + ": ");
  if (begin == std::string::npos) return {};
  const std::size_t value = begin + name.size() + 4;
  return head.substr(value, head.find("\r\n", value) - value);
}

}  // namespace

std::vector<std::string> HttpReply::Elements(const std::string& name) const {
  std::vector<std::string> texts;
  const std::string open = "<" + name;
  const std::string close = "</" + name + ">";
  for (std::size_t at = body.find(open); at != std::string::npos; at = body.find(open, at + 1)) {
    const char behind = body[at + open.size()];
    if (behind != '>' && behind != ' ') continue;
    const std::size_t begin = body.find('>', at) + 1;
    texts.push_back(body.substr(begin, body.find(close, begin) - begin));
  }
  return texts;
}

std::string HttpReply::Element(const std::string& name) const {
  const std::vector<std::string> texts = Elements(name);
  return texts.empty() ? "" : texts.front();
}

std::string HttpReply::Fault() const {
  const std::size_t begin = body.find("<detail><");
  if (begin == std::string::npos) return {};
  const std::size_t type = begin + std::string("<detail><").size();
  return body.substr(type, body.find("Fault xmlns=", type) - type);
}

std::string SoapCall::Envelope() const {
  return R"(<?xml version="1.0" encoding="UTF-8"?>)"
         R"(<soapenv:Envelope xmlns:soapenv="http://schemas.xmlsoap.org/soap/envelope/")"
         R"( xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance"><soapenv:Body><)" +
         operation + " xmlns=\"" + space + "\"><self type=\"" + selfType + "\">" + selfId +
         "</self>" + arguments + "</" + operation + "></soapenv:Body></soapenv:Envelope>";
}

std::string SoapCall::Bytes(const std::string& cookie) const {
  const std::string content = body.value_or(Envelope());
  std::string bytes = method + " " + path + " " + version + "\r\n";
  for (const auto& [name, value] : headers) bytes += name + ": " + value + "\r\n";
  if (!cookie.empty()) bytes += "Cookie: " + cookie + "\r\n";
  if (headers.count("Content-Length") == 0) {
    bytes += "Content-Length: " + std::to_string(content.size()) + "\r\n";
  }
  return bytes + "\r\n" + content;
}

SoapClient::SoapClient(std::uint16_t port, Way way)
    : context_(asio::ssl::context::tls_client), stream_(io_, context_) {
  stream_.next_layer().connect({asio::ip::make_address("127.0.0.1"), port});
  if (way == Way::kDirect) StartTls();
}

void SoapClient::StartTls() {
  stream_.handshake(asio::ssl::stream_base::client);
  tls_ = true;
}

std::string SoapClient::PeerThumbprint() {
  X509* certificate = SSL_get1_peer_certificate(stream_.native_handle());
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned size = 0;
  X509_digest(certificate, EVP_sha1(), digest, &size);
  X509_free(certificate);
  std::string text;
  for (unsigned i = 0; i < size; ++i) {
    char digits[4];
    (void)std::snprintf(digits, sizeof(digits), "%s%02X", i > 0 ? ":" : "", digest[i]);
    text += digits;
  }
  return text;
}

void SoapClient::Write(const std::string& bytes) {
  if (tls_) {
    asio::write(stream_, asio::buffer(bytes));
  } else {
    asio::write(stream_.next_layer(), asio::buffer(bytes));
  }
}

std::size_t SoapClient::ReadSome(char* buffer, std::size_t size, boost::system::error_code& error) {
  return tls_ ? stream_.read_some(asio::buffer(buffer, size), error)
              : stream_.next_layer().read_some(asio::buffer(buffer, size), error);
}

HttpReply SoapClient::Read() {
  const auto complete = [this](HttpReply& reply) {
    const std::size_t end = unread_.find("\r\n\r\n");
    if (end == std::string::npos) return false;
    reply.head = unread_.substr(0, end + 4);
    const std::string length = HeaderOf(reply.head, "Content-Length");
    const std::size_t size = length.empty() ? 0 : std::stoul(length);
    if (unread_.size() < reply.head.size() + size) return false;
    reply.body = unread_.substr(reply.head.size(), size);
    unread_.erase(0, reply.head.size() + size);
    return true;
  };
  HttpReply reply;
  while (!complete(reply)) {
    char buffer[16384];
    boost::system::error_code error;
    const std::size_t count = ReadSome(buffer, sizeof(buffer), error);
    if (error) throw boost::system::system_error(error);
    unread_.append(buffer, count);
  }
  reply.status = std::stoi(reply.head.substr(9, 3));
  return reply;
}

std::string SoapClient::ReadToEnd() {
  boost::system::error_code error;
  while (!error) {
    char buffer[16384];
    const std::size_t count = ReadSome(buffer, sizeof(buffer), error);
    unread_.append(buffer, count);
  }
  goodOrder_ = error == asio::error::eof;
  return unread_;
}

HttpReply SoapClient::Call(const SoapCall& call) {
  Write(call.Bytes(cookie_));
  HttpReply reply = Read();
  const std::string cookie = HeaderOf(reply.head, "Set-Cookie");
  if (!cookie.empty()) cookie_ = cookie.substr(0, cookie.find(';'));
  return reply;
}

HttpReply SoapClient::Login(const std::string& user, const std::string& password) {
  return Call(Testing::Login(user, password));
}

std::string Xml(const std::string& name, const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '&') {
      escaped += "&amp;";
    } else if (c == '<') {
      escaped += "&lt;";
    } else if (c == '>') {
      escaped += "&gt;";
    } else {
      escaped += c;
    }
  }
  return "<" + name + ">" + escaped + "</" + name + ">";
}

SoapCall RetrieveContent() { return {"RetrieveContent", "ServiceInstance", ""}; }

SoapCall Login(const std::string& user, const std::string& password) {
  return {"Login", "SessionManager",
          Xml("userName", user) + Xml("password", password) + Xml("locale", "en")};
}

SoapCall Logout() { return {"Logout", "SessionManager", ""}; }

}  // namespace Lab::Testing
