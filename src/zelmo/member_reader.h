// Reads structures out of the elements of an answer.
#pragma once

#include <optional>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "tunrak/date_time.h"
#include "zelmo/types.h"

namespace Zelmo {

/// One structure that is being read: the calls take its members in the order that the structure
/// has. A member that is missing, stands elsewhere, or holds something else than is asked for
/// throws Tunrak::Exception with its name.
class MemberReader {
 public:
  explicit MemberReader(pugi::xml_node structure);

  std::string Text(const char* name);
  std::optional<std::string> OptionalText(const char* name);
  std::vector<std::string> Texts(const char* name);
  Tunrak::System::DateTime Time(const char* name);
  MoRef Reference(const char* name);
  std::optional<MoRef> OptionalReference(const char* name);
  /// A member that is a structure itself; it is read by a reader of its own.
  pugi::xml_node Structure(const char* name);
  /// The next element if it has the name, else a null node.
  pugi::xml_node OptionalStructure(const char* name);
  std::vector<pugi::xml_node> Structures(const char* name);

  /// All members have been taken. \throws Tunrak::Exception  if there are more.
  void End() const;

 private:
  pugi::xml_node structure_;
  pugi::xml_node next_;
};

/// \return The character data of an element that holds nothing else.
/// \throws Tunrak::Exception  if it holds elements.
std::string TextOf(pugi::xml_node element);

/// \return The reference that an element holds.
MoRef ReferenceOf(pugi::xml_node element);

}  // namespace Zelmo
