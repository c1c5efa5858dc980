#include "directory_stub.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>

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
std::optional<std::string> ReadElement(tcp::socket& socket) {
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

}  // namespace

struct DirectoryStub::Sockets {
  boost::asio::io_context context;
  tcp::acceptor acceptor{context, tcp::endpoint(boost::asio::ip::address_v4::loopback(), 0)};
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

void DirectoryStub::Serve() {
  while (true) {
    boost::system::error_code error;
    tcp::socket socket(sockets_->context);
    sockets_->acceptor.accept(socket, error);
    if (ending_ || error) return;
    while (const auto request = ReadElement(socket)) {
      // The number of the message has a tag, a length of one byte and that many more.
      const std::size_t idSize = 2 + static_cast<std::uint8_t>(request->at(1));
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
      boost::asio::write(socket, boost::asio::buffer(answer), error);
    }
  }
}

}  // namespace WindowsApi
