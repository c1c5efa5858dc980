// A directory server of one page, for tests that run where no real one can be had.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace WindowsApi {

/// Speaks LDAP, over TLS or without it, on a port of loopback. Its whole protocol: a bind (0x60)
/// gets a bind response (0x61) with a code, a search (0x63) an entry (0x64) if there is one and the
/// end (0x65) with a code, anything else ends the connection. One connection is served at a time.
class DirectoryStub {
 public:
  struct Attribute {
    std::string name;
    std::vector<std::string> values;
  };
  struct Answers {
    std::uint8_t bindCode = 0;
    std::uint8_t searchCode = 0;
    bool hasEntry = true;
    std::vector<Attribute> attributes{};
    bool hangsUp = false;  ///< In place of any answer.
    bool overTls = false;
  };

  explicit DirectoryStub(Answers answers);
  DirectoryStub(const DirectoryStub&) = delete;
  DirectoryStub& operator=(const DirectoryStub&) = delete;
  ~DirectoryStub();

  std::uint16_t Port() const { return port_; }

  /// \return The last request's bytes from its operation's tag on. To be read after the answer
  /// came.
  std::string LastRequest() const;

  /// \return The server's certificate, in DER.
  const std::string& Certificate() const;

 private:
  struct Sockets;

  void Serve();
  template <typename Stream>
  void Answer(Stream& stream);

  Answers answers_;
  std::unique_ptr<Sockets> sockets_;
  std::uint16_t port_ = 0;
  std::atomic<bool> ending_{false};
  std::thread thread_;
};

}  // namespace WindowsApi
