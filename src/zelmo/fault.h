// What a server answers when it refuses a call.
#pragma once

#include <string>
#include <utility>

#include "tunrak/exception.h"

namespace Zelmo {

class Fault : public Tunrak::Exception {
 public:
  /// \param type  "InvalidLogin", "NotAuthenticated" and the like; empty if the server named none.
  Fault(std::string type, const std::string& text) : Exception(text), type_(std::move(type)) {}

  const std::string& GetType() const { return type_; }

 private:
  std::string type_;
};

}  // namespace Zelmo
