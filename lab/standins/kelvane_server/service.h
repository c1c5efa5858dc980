// A SOAP service behind one path of the server.
#pragma once

#include <json/value.h>

#include <optional>
#include <string>
#include <string_view>

#include "members.h"
#include "soap_envelope.h"

namespace Lab::Kelvane {

struct ServiceAnswer {
  std::string results;                   ///< The result elements, or none.
  std::optional<std::string> newCookie;  ///< The value of a session's cookie to set.
};

class Service {
 public:
  virtual ~Service() = default;

  virtual std::string_view Path() const = 0;
  virtual std::string_view Space() const = 0;
  /// The value of the SOAPAction header, quotes included.
  virtual std::string_view Action() const = 0;

  /// Serves an operation. Throws SoapFault.
  /// \param cookie  The session's, empty for none.
  /// \param record  What the journal shall tell of the call is added to it, also before a fault.
  virtual ServiceAnswer Invoke(const SoapRequest& request, const std::string& cookie,
                               Json::Value& record) = 0;
};

/// Takes self off the arguments. Throws SoapFault when it isn't the object that has the operation.
void TakeSelf(Members& arguments, const Reference& expected);

}  // namespace Lab::Kelvane
