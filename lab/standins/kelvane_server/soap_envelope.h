// The SOAP envelope: taking an operation out of one, and putting an answer into one.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "soap_fault.h"

namespace Lab::Kelvane {

/// One operation as a client asks for it.
struct SoapRequest {
  std::unique_ptr<const pugi::xml_document> document;  ///< What the node below lies in.
  pugi::xml_node operation;                            ///< Its children are self and the arguments.

  std::string_view Name() const;
};

/// Reads an envelope with exactly one operation. Throws SoapFault for anything else.
/// \param space  The namespace that the operation must be in.
SoapRequest ReadEnvelope(std::string_view body, std::string_view space);

/// \param results  The result elements, or none.
std::string WriteResponse(std::string_view operation, std::string_view space,
                          std::string_view results);

std::string WriteFault(const SoapFault& fault, std::string_view space);

}  // namespace Lab::Kelvane
