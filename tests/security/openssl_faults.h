// Makes one OpenSSL function fail. The program is linked so that the agent's calls of these
// functions pass through here.
#pragma once

#include <string>

namespace Halvard::Testing {

/// Every call of the function fails until the end of the object.
class OpenSslFault {
 public:
  explicit OpenSslFault(const std::string& function);
  ~OpenSslFault();
  OpenSslFault(const OpenSslFault&) = delete;
  OpenSslFault& operator=(const OpenSslFault&) = delete;
};

}  // namespace Halvard::Testing
