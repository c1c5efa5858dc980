// Makes one OpenSSL function fail, or fflush, which writes what OpenSSL has put into a stream. The
// program is linked so that the agent's calls of these functions pass through here.
#pragma once

#include <string>

namespace Halvard::Testing {

/// Every call of the function, but for the first ones, fails until the end of the object.
class OpenSslFault {
 public:
  /// \param from  The first call that fails, counted from 1.
  explicit OpenSslFault(const std::string& function, int from = 1);
  ~OpenSslFault();
  OpenSslFault(const OpenSslFault&) = delete;
  OpenSslFault& operator=(const OpenSslFault&) = delete;
};

}  // namespace Halvard::Testing
