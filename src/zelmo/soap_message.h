// SOAP 1.1 envelopes.
#pragma once

#include <functional>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "zelmo/member_writer.h"
#include "zelmo/types.h"

namespace Zelmo {

/// Writes the arguments of a call.
using WriteArguments = std::function<void(MemberWriter& call)>;

/// \return The envelope of a call, as it is sent.
/// \throws Tunrak::Exception  if an argument can't be sent.
std::string WriteCall(const Version& version, const MoRef& self, const char* operation,
                      const WriteArguments& writeArguments);

/// An answer, parsed once. The elements live as long as the object.
class Answer {
 public:
  /// \throws Tunrak::Exception  if \p content is no SOAP envelope with one element in its body.
  explicit Answer(std::vector<char> content);
  Answer(const Answer&) = delete;
  Answer& operator=(const Answer&) = delete;

  bool IsFault() const;
  /// The fault's type, without "Fault" behind it; empty if the server named none.
  std::string FaultType() const;
  std::string FaultText() const;

  /// \return The call's results: none for an empty one, several for a list.
  /// \throws Tunrak::Exception  if this is no answer to \p operation.
  std::vector<pugi::xml_node> Results(const Version& version, const char* operation) const;

 private:
  std::vector<char> content_;  // The document's texts point into it.
  pugi::xml_document document_;
  pugi::xml_node body_;
};

}  // namespace Zelmo
