// What a request that isn't served is answered with.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace Lab::Kelvane {

/// Ends a call; the connection answers it as a fault. Its text never holds what a client sent in a
/// place where a password may stand.
class SoapFault : public std::runtime_error {
 public:
  enum class Blame {
    kClient,  ///< The client said something wrong: the journal has the request as refused.
    kServer,  ///< A right request that can't be granted, as one with a wrong password.
  };

  /// \param type  Without "Fault" behind it, as "InvalidLogin".
  SoapFault(Blame blame, std::string type, const std::string& text)
      : std::runtime_error(text), blame_(blame), type_(std::move(type)) {}

  Blame Blames() const { return blame_; }
  const std::string& Type() const { return type_; }

 private:
  Blame blame_;
  std::string type_;
};

/// Refuses a request that isn't as agreed.
[[noreturn]] inline void Refuse(const std::string& text,
                                const std::string& type = "InvalidRequest") {
  throw SoapFault(SoapFault::Blame::kClient, type, text);
}

/// Answers a sound request with a fault.
[[noreturn]] inline void Deny(const std::string& type, const std::string& text) {
  throw SoapFault(SoapFault::Blame::kServer, type, text);
}

}  // namespace Lab::Kelvane
