// Makes one function of the TLS library fail. The program is linked so that calls of these
// functions pass through here.
#pragma once

#include <string>

namespace Tunrak::Testing {

/// Every call of the function on this thread fails until the end of the object: SSL_CTX_new or
/// SSL_new.
class TlsFault {
 public:
  explicit TlsFault(const std::string& function);
  ~TlsFault();
  TlsFault(const TlsFault&) = delete;
  TlsFault& operator=(const TlsFault&) = delete;
};

}  // namespace Tunrak::Testing
