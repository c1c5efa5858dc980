// Writes structures as the elements of a request.
#pragma once

#include <cstdint>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "tunrak/date_time.h"
#include "zelmo/types.h"

namespace Zelmo {

/// One structure under construction: members are written in the order of the calls.
class MemberWriter {
 public:
  explicit MemberWriter(pugi::xml_node structure) : structure_(structure) {}

  /// \throws Tunrak::Exception  for a text with characters that XML lacks; the text isn't repeated.
  void Text(const char* name, const std::string& value);
  void Texts(const char* name, const std::vector<std::string>& values);
  void Boolean(const char* name, bool value);
  void Integer(const char* name, std::int32_t value);
  void Time(const char* name, Tunrak::System::DateTime value);
  void Reference(const char* name, const MoRef& value);

  /// \return The writer of a member that is a structure itself.
  MemberWriter Structure(const char* name);
  /// Names the structure's type, where it is derived from the member's.
  void SetDerivedType(const char* type);

 private:
  pugi::xml_node structure_;
};

}  // namespace Zelmo
